#include "bundle/value_text.h"

#include "bundle/secret_map.h"

#include <cctype>
#include <cstdio>

namespace host
{
namespace
{

unsigned long code_of(const std::string &character)
{
    const auto lead = static_cast<unsigned char>(character[0]);
    if (character.size() == 1) {
        return lead;
    }
    unsigned long code = lead & (0x7fU >> character.size());
    for (std::size_t i = 1; i < character.size(); ++i) {
        code = code << 6U | (static_cast<unsigned char>(character[i]) & 0x3fU);
    }
    return code;
}

/** A reference to a character, in so many bytes if that is possible. */
std::string reference(const std::string &character, std::size_t size, bool is_json)
{
    constexpr std::size_t kMarks = 3; // &#;
    const unsigned long code = code_of(character);
    char text[32];
    if (is_json && code < 0x10000) {
        std::snprintf(text, sizeof(text), "\\u%04lx", code);
        return text;
    }
    const std::string digits = std::to_string(code);
    if (is_json || size < kMarks + digits.size()) {
        return character;
    }
    return "&#" + std::string(size - kMarks - digits.size(), '0') + digits + ";";
}

} // namespace

void ValueText::add(std::size_t offset, std::size_t size, std::string character)
{
    m_characters.push_back({offset, size, std::move(character)});
}

std::string ValueText::text() const
{
    std::string text;
    for (const Character &each : m_characters) {
        text += each.text;
    }
    return text;
}

void ValueText::rewrite(std::string_view value, bool is_json, std::vector<Change> &changes) const
{
    std::size_t at = 0;
    for (const Character &each : m_characters) {
        if (at >= value.size()) {
            return;
        }
        const std::size_t size = character_size(value, at);
        const std::string now(value.substr(at, size));
        at += size;
        if (now != each.text) {
            const bool is_plain = each.size == each.text.size();
            changes.push_back(
                {each.offset, each.size, is_plain ? now : reference(now, each.size, is_json)});
        }
    }
}

std::string with_changes(std::string_view text, const std::vector<ValueText::Change> &changes)
{
    std::string changed;
    changed.reserve(text.size());
    std::size_t at = 0;
    for (const auto &change : changes) {
        changed.append(text.substr(at, change.offset - at)).append(change.written);
        at = change.offset + change.size;
    }
    return changed.append(text.substr(at));
}

std::string blanked(std::string text)
{
    for (char &letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        letter = std::isdigit(byte) != 0 ? '0' : std::isalpha(byte) != 0 ? 'x' : letter;
    }
    return text;
}

std::string utf8_of(unsigned long code)
{
    const auto rest = [code](unsigned shift) {
        return static_cast<char>(0x80U | ((code >> shift) & 0x3fU));
    };
    if (code < 0x80) {
        return {static_cast<char>(code)};
    }
    if (code < 0x800) {
        return {static_cast<char>(0xc0U | (code >> 6U)), rest(0)};
    }
    if (code < 0x10000) {
        return {static_cast<char>(0xe0U | (code >> 12U)), rest(6), rest(0)};
    }
    return {static_cast<char>(0xf0U | ((code >> 18U) & 7U)), rest(12), rest(6), rest(0)};
}

} // namespace host
