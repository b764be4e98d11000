/**
 * @file
 * Texts in other encodings than UTF-8.
 */
#pragma once

#include "engine/data/source.h"

#include <string_view>

namespace engine
{

/** Whether an encoding's name is UTF-8's, or that of a part of it. */
bool is_utf8_or_ascii(std::string_view encoding);

/** Whether any encoding that is known here would read the text alike. */
bool is_ascii(std::string_view text);

/**
 * Converts XML that says by its byte order mark or its declaration that it is in another encoding;
 * the declaration then names none. All characters stay in their lines and columns.
 * @throws InputError  An encoding that is not known, or text in UTF-16 that is not XML. What does
 *                     not keep to its encoding, or is no XML besides, is malformed.
 */
void convert_to_utf8(Source &source);

} // namespace engine
