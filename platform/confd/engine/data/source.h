/**
 * @file
 * The text of a configuration or an edit, from a file or from a program.
 */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace engine
{

enum class Format { kXml, kJson };

/** XML or JSON, by the first character that is not a blank. */
Format format_of(std::string_view text);

/** How a text is to be taken, besides what it says itself. */
struct Reading {
    bool skip_foreign = false;       /**< Nodes of other models are skipped, not refused. */
    std::string default_operation{}; /**< Of an edit without <edit-config>; empty: merge. */
};

/** A text with the name under which errors mention it. */
struct Source {
    std::string name;
    std::string text;
    Reading reading{};
};

/** Where in a text a byte is. */
struct TextPlace {
    unsigned line = 1;
    std::size_t column = 1; /**< In characters of UTF-8. */
};
/** What is not known. */
inline constexpr TextPlace kNowhere{0, 0};
TextPlace place_of(std::string_view text, std::size_t offset);

/** The text without a byte order mark; it still ends with the source's NUL. */
std::string_view without_mark(const std::string &text);

/** @throws InputError  The text holds a NUL byte or is not UTF-8; it says where. */
void require_utf8(const Source &source);

/** For who gave a text in an encoding that is not understood. */
inline constexpr const char *kEncodingHint = "save the file as UTF-8";

/** "UTF-16" or "UTF-32" for a text that begins as one in it does; null for all else. */
const char *wide_encoding(std::string_view text);

inline bool is_wide(std::string_view text)
{
    return wide_encoding(text) != nullptr;
}

} // namespace engine
