#include "bundle/secret_map.h"

#include "engine/data/crypto.h"

#include <algorithm>
#include <cctype>

namespace host
{
namespace
{

constexpr std::string_view kClearMark = "$0$";
constexpr std::string_view kStoredMark = "$8$";

bool is_lower(char letter)
{
    return letter >= 'a' && letter <= 'z';
}
bool is_upper(char letter)
{
    return letter >= 'A' && letter <= 'Z';
}
bool is_digit(char letter)
{
    return letter >= '0' && letter <= '9';
}

std::string in_lower_case(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
        return is_upper(letter) ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return text;
}

/** The letters of one kind, of which one stands in place of another. */
constexpr std::string_view kLower = "abcdefghijklmnopqrstuvwxyz";
constexpr std::string_view kDigits = "0123456789";
/** Signs that mean nothing in XML, JSON, names of entries, or a stored secret. */
constexpr std::string_view kSigns = "!#()*+,-.:;=?@^_|~";

std::string_view kind_of(char letter)
{
    return is_lower(letter)                                ? kLower
           : is_digit(letter)                              ? kDigits
           : kSigns.find(letter) != std::string_view::npos ? kSigns
                                                           : std::string_view();
}

bool is_continued(char letter)
{
    return (static_cast<unsigned char>(letter) & 0xc0U) == 0x80U;
}

/** How many letters may stand at a place; 1: the letter stays. */
std::size_t choices_at(const std::string &text, std::size_t at)
{
    constexpr std::size_t kLastBytes = 64; // Of a character with several.
    if (is_continued(text[at])) {
        return at + 1 == text.size() || !is_continued(text[at + 1]) ? kLastBytes : 1;
    }
    return std::max<std::size_t>(kind_of(text[at]).size(), 1);
}

/** Puts another letter of its kind in place of one. @return Whether that is behind the last. */
bool shift(std::string &text, std::size_t at, std::size_t by)
{
    const std::size_t choices = choices_at(text, at);
    const std::string_view kind = kind_of(text[at]);
    const std::size_t number = is_continued(text[at]) ? static_cast<unsigned char>(text[at]) - 0x80U
                               : kind.empty()         ? 0
                                                      : kind.find(text[at]);
    const std::size_t next = (number + by) % choices;
    if (is_continued(text[at]) && choices > 1) {
        text[at] = static_cast<char>(0x80U + next);
    } else if (!kind.empty()) {
        text[at] = kind[next];
    }
    return number + by >= choices;
}

/** The next text of the same kinds of letters, as a counter goes on. */
void advance(std::string &text)
{
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (!shift(text, at, 1)) {
            return;
        }
    }
}

} // namespace

std::size_t character_size(std::string_view text, std::size_t at)
{
    const auto lead = static_cast<unsigned char>(text[at]);
    const std::size_t size = lead < 0xc0 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    return std::min(size, text.size() - at);
}

SecretMap::SecretMap() : m_random(std::random_device()()) {}

void SecretMap::add(std::string_view stored)
{
    std::string secret(stored);
    if (stored.starts_with(kClearMark)) {
        secret.erase(0, kClearMark.size());
    } else if (stored.starts_with(kStoredMark)) {
        const auto text = engine::decrypt(stored);
        secret = text ? *text : "";
    }
    if (secret.empty()) {
        return;
    }
    if (secret.size() >= kShortest) {
        m_lengths.insert(secret.size());
    }
    m_folded.insert(in_lower_case(secret));
    m_secrets.insert(std::move(secret));
}

bool SecretMap::is_free(const std::string &folded) const
{
    return m_taken.count(folded) == 0 && m_folded.count(folded) == 0;
}

std::string SecretMap::made_up(const std::string &folded)
{
    std::string text = folded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t choices = choices_at(text, at);
        if (choices > 1) {
            shift(text, at, 1 + random_below(choices - 1)); // Another one at each place.
        }
    }
    const std::string first = text;
    while (!is_free(text)) {
        advance(text);
        if (text == first) { // All short ones are secrets: any that is not taken.
            while (m_taken.count(text) != 0) {
                advance(text);
            }
            break;
        }
    }
    m_taken.insert(text);
    return text;
}

std::string SecretMap::clear(const std::string &secret)
{
    const std::string folded = in_lower_case(secret);
    auto known = m_made_up.find(folded);
    if (known == m_made_up.end()) {
        known = m_made_up.emplace(folded, made_up(folded)).first;
    }
    std::string text = known->second;
    for (std::size_t i = 0; i < text.size(); ++i) {
        text[i] = is_upper(secret[i]) ? static_cast<char>(text[i] - 'a' + 'A') : text[i];
    }
    return text;
}

/** What nobody can decrypt stays so: base64 if it is that, and no longer. */
std::string SecretMap::unreadable(std::string stored)
{
    constexpr std::size_t kGroup = 4; // The last one may be filled up, in one way only.
    for (std::size_t at = kStoredMark.size(); at + kGroup < stored.size(); ++at) {
        const auto kind = kind_of(stored[at]);
        if (kind == kLower || kind == kDigits) {
            shift(stored, at, random_below(kind.size()));
        }
    }
    return stored;
}

std::string SecretMap::replaced(std::string_view stored)
{
    if (stored.starts_with(kClearMark)) {
        return std::string(kClearMark) + clear(std::string(stored.substr(kClearMark.size())));
    }
    if (!stored.starts_with(kStoredMark)) {
        return clear(std::string(stored));
    }
    const auto [known, is_new] = m_encrypted.try_emplace(std::string(stored));
    if (is_new) {
        const auto text = engine::decrypt(stored);
        known->second = text ? engine::encrypt(clear(*text)) : unreadable(std::string(stored));
    }
    return known->second;
}

std::string SecretMap::replaced_within(std::string text)
{
    for (std::size_t at = 0; at < text.size();) {
        std::size_t found = 0; // The longest one counts.
        for (const std::size_t length : m_lengths) {
            if (at + length <= text.size() && m_secrets.count(text.substr(at, length)) != 0) {
                found = length;
            }
        }
        if (found > 0) {
            text.replace(at, found, clear(text.substr(at, found)));
        }
        at += std::max<std::size_t>(found, 1);
    }
    return text;
}

} // namespace host
