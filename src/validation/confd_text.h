/**
 * @file
 * Values of the framework as text.
 */
#pragma once

#include <confd_lib.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

/** Copies the bytes of a text value. */
inline std::string text_of(const unsigned char *bytes, unsigned int size)
{
    return std::string(reinterpret_cast<const char *>(bytes), size);
}

/** The texts one after the other: for each of thousands of entries one allocation counts. */
std::string joined(std::initializer_list<std::string_view> texts);

/**
 * Prints a value without type information, as operators know it from keys and references.
 * A text longer than 8191 characters is cut.
 */
std::string print_value(const confd_value_t &value);
/** As print_value(), for a key in a message: cut to 48 characters. */
std::string print_key(const confd_value_t &key);

/** Bytes of the buffer that print_keypath() uses. */
constexpr std::size_t kKeypathTextSize = 1024;

/** Prints a keypath in brace notation, cut to 1023 characters. */
std::string print_keypath(const confd_hkeypath_t &keypath);
/** As print_keypath(), cut to 255 characters. */
std::string print_short_keypath(const confd_hkeypath_t &keypath);
/** As print_keypath(), cut to 8191 characters. */
std::string print_long_keypath(const confd_hkeypath_t &keypath);
