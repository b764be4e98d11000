#include "engine/data/source.h"

#include "engine/data/error.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace engine
{
namespace
{

using namespace std::string_view_literals;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

[[noreturn]] void fail(Fault fault, const std::string &source, const TextPlace &place,
                       const std::string &message, const std::string &hint)
{
    throw InputError(
        {{fault, source, place.line, "", message, hint, static_cast<unsigned>(place.column)}});
}

/** Whether eight bytes are all ASCII. */
bool is_ascii(const char *bytes)
{
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return (word & 0x8080808080808080U) == 0;
}

/** Length of the character that begins there; 0 when it is not UTF-8. */
std::size_t character_length(std::string_view text)
{
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const auto continues = [&](std::size_t i) { return (byte(i) & 0xC0U) == 0x80U; };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return continues(1) ? 2 : 0;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        const bool is_overlong = first == 0xE0 && byte(1) < 0xA0;
        const bool is_surrogate = first == 0xED && byte(1) > 0x9F;
        return continues(1) && continues(2) && !is_overlong && !is_surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool is_overlong = first == 0xF0 && byte(1) < 0x90;
        const bool is_beyond = first == 0xF4 && byte(1) > 0x8F;
        return continues(1) && continues(2) && continues(3) && !is_overlong && !is_beyond ? 4 : 0;
    }
    return 0;
}

/** Offset of the first byte that is not UTF-8; the text's length when all are. */
std::size_t find_not_utf8(std::string_view text)
{
    std::size_t at = 0;
    while (at < text.size()) {
        if (at + sizeof(std::uint64_t) <= text.size() && is_ascii(text.data() + at)) {
            at += sizeof(std::uint64_t);
            continue;
        }
        const std::size_t length = character_length(text.substr(at));
        if (length == 0) {
            return at;
        }
        at += length;
    }
    return at;
}

bool is_utf16(std::string_view text)
{
    const bool has_nul = text.size() >= 2 && (text[0] == '\0') != (text[1] == '\0');
    return is_wide(text) || has_nul;
}

} // namespace

Format format_of(std::string_view text)
{
    const auto begin = text.substr(0, 3) == kByteOrderMark ? kByteOrderMark.size() : 0;
    const auto first = text.find_first_not_of(" \t\r\n", begin);
    return first != std::string_view::npos && text[first] == '{' ? Format::kJson : Format::kXml;
}

const char *wide_encoding(std::string_view text)
{
    if (text.substr(0, 4) == "\xFF\xFE\0\0"sv || text.substr(0, 4) == "\0\0\xFE\xFF"sv) {
        return "UTF-32";
    }
    for (const auto begin : {"\xFF\xFE"sv, "\xFE\xFF"sv, "<\0"sv, "\0<"sv}) {
        if (text.substr(0, begin.size()) == begin) {
            return "UTF-16";
        }
    }
    return nullptr;
}

TextPlace place_of(std::string_view text, std::size_t offset)
{
    const auto before = text.substr(0, offset);
    const auto newline = before.rfind('\n');
    const auto line = before.substr(newline == std::string_view::npos ? 0 : newline + 1);
    TextPlace place;
    place.line += static_cast<unsigned>(std::count(before.begin(), before.end(), '\n'));
    place.column += static_cast<std::size_t>(std::count_if(line.begin(), line.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    }));
    return place;
}

std::string_view without_mark(const std::string &text)
{
    const std::string_view whole = text;
    return whole.substr(0, 3) == kByteOrderMark ? whole.substr(kByteOrderMark.size()) : whole;
}

void require_utf8(const Source &source)
{
    const std::string_view text = source.text;
    const auto nul = std::min(text.find('\0'), text.size());
    const auto fault = std::min(find_not_utf8(text.substr(0, nul)), nul);
    if (fault == text.size()) {
        return;
    }
    if (is_utf16(text)) {
        fail(Fault::kMalformed, source.name, TextPlace{}, "The text is UTF-16", kEncodingHint);
    }
    const auto place = place_of(text, fault);
    if (fault == nul) {
        fail(Fault::kMalformed, source.name, place, "NUL byte", "the file is not a text");
    }
    std::array<char, 8> byte{};
    std::snprintf(byte.data(), byte.size(), "0x%02X",
                  static_cast<unsigned>(static_cast<unsigned char>(text[fault])));
    fail(Fault::kMalformed, source.name, place, "Not UTF-8: byte " + std::string(byte.data()),
         kEncodingHint);
}

} // namespace engine
