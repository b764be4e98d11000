/**
 * @file
 * Reads one leaf as text.
 */
#pragma once

#include <string>

/**
 * Reads the leaf `base` + `leaf` of the transaction as printable text, if it exists.
 * @param base, leaf  Put together as they stand: `leaf` brings its slash. The path is handed on as
 *                    a format: no `%`.
 * @param out         A `std::string *`; keeps its contents when the leaf is absent or cannot be
 *                    read, so the caller presets it.
 */
void GetStrFromConfd(int maapi_sock, int thandle, std::string base, std::string leaf, void *out);
