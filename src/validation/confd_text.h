/** Values of the framework as text. */
#pragma once

#include <confd_lib.h>

#include <string>

/** Copies the bytes of a text value. */
inline std::string text_of(const unsigned char *bytes, unsigned int size)
{
    return std::string(reinterpret_cast<const char *>(bytes), size);
}

/** Prints a value without type information, as operators know it from keys and references. */
std::string print_value(const confd_value_t &value);

/** Prints a keypath in brace notation. */
std::string print_keypath(const confd_hkeypath_t &keypath);
