#include "report/printable.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace host
{
namespace
{

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

/** Characters that nobody sees, or that change how others are seen. */
constexpr std::array<Range, 13> kHidden{{
    {0x00, 0x1f},
    {0x7f, 0x9f},      // DEL, C1.
    {0xad, 0xad},      // Soft hyphen.
    {0x61c, 0x61c},    // Arabic letter mark.
    {0x180e, 0x180e},  // Mongolian vowel separator.
    {0x200b, 0x200f},  // Zero width; marks of direction.
    {0x2028, 0x202e},  // Separators of lines and paragraphs; embeddings and overrides.
    {0x2060, 0x206f},  // Invisible operators; isolates.
    {0xfe00, 0xfe0f},  // Variation selectors.
    {0xfeff, 0xfeff},  // Byte order mark.
    {0xfff9, 0xfffb},  // Annotations.
    {0xfffe, 0xffff},  // No characters; XML cannot carry them.
    {0xe0000, 0xe0fff} // Tags.
}};

/** Bytes of a character that begins with this one; 0: none does. */
std::size_t length_after(unsigned char lead)
{
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xc2 && lead < 0xe0) {
        return 2;
    }
    if (lead >= 0xe0 && lead < 0xf0) {
        return 3;
    }
    return lead >= 0xf0 && lead < 0xf5 ? 4 : 0;
}

/** Whether a second byte goes with the first: no longer form than needed, surrogate or excess. */
bool fits(unsigned char lead, unsigned char second)
{
    switch (lead) {
    case 0xe0:
        return second >= 0xa0;
    case 0xed:
        return second < 0xa0;
    case 0xf0:
        return second >= 0x90;
    case 0xf4:
        return second < 0x90;
    default:
        return true;
    }
}

/** How many bytes at the start are a character, or the beginning of one; 0: none. */
std::size_t good_bytes(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = std::min(length_after(lead), text.size());
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xc0U) != 0x80 || (i == 1 && !fits(lead, byte))) {
            return 0;
        }
    }
    return length;
}

std::uint32_t code_point(std::string_view character)
{
    constexpr std::array<std::uint32_t, 5> kLeadBits{0, 0x7f, 0x1f, 0x0f, 0x07};
    std::uint32_t code =
        static_cast<unsigned char>(character.front()) & kLeadBits[character.size()];
    for (const char byte : character.substr(1)) {
        code = code << 6U | (static_cast<unsigned char>(byte) & 0x3fU);
    }
    return code;
}

std::string escaped(const char *format, std::uint32_t number)
{
    std::array<char, 16> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), format, number));
    return text.data();
}

void append(std::string &out, std::string_view character, bool keeps_newlines)
{
    const std::uint32_t code = code_point(character);
    const bool is_layout = code == '\t' || (code == '\n' && keeps_newlines);
    const bool is_hidden = std::any_of(kHidden.begin(), kHidden.end(), [code](const Range &range) {
        return code >= range.first && code <= range.last;
    });
    if (is_layout || !is_hidden) {
        out += character;
    } else {
        out += code < 0x80 ? escaped("\\x%02x", code) : escaped("\\u{%x}", code);
    }
}

/** Takes from the front of the text; what is left is the beginning of a character. */
std::string take_printable(std::string_view &text, bool keeps_newlines)
{
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const std::size_t good = good_bytes(text);
        if (good > 0 && good < length_after(static_cast<unsigned char>(text.front()))) {
            break;
        }
        if (good == 0) {
            out += escaped("\\x%02x", static_cast<unsigned char>(text.front()));
        } else {
            append(out, text.substr(0, good), keeps_newlines);
        }
        text.remove_prefix(std::max<std::size_t>(good, 1));
    }
    return out;
}

std::string all_printable(std::string_view text, bool keeps_newlines)
{
    std::string out = take_printable(text, keeps_newlines);
    for (const char byte : text) {
        out += escaped("\\x%02x", static_cast<unsigned char>(byte));
    }
    return out;
}

} // namespace

std::string printable(std::string_view text)
{
    return all_printable(text, false);
}

std::string printable_lines(std::string_view text)
{
    return all_printable(text, true);
}

std::string PrintableStream::take(std::string_view piece)
{
    const std::string text = std::exchange(m_rest, {}).append(piece);
    std::string_view left = text;
    std::string out = take_printable(left, true);
    m_rest = left;
    return out;
}

std::string PrintableStream::end()
{
    return printable_lines(std::exchange(m_rest, {}));
}

} // namespace host
