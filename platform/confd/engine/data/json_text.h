/**
 * @file
 * JSON made ready for libyang, which does not take all of it.
 */
#pragma once

#include "engine/data/attributes.h"

#include <optional>
#include <string>
#include <string_view>

namespace engine
{

/**
 * Checks the metadata, and writes characters beyond the 16-bit range, which are two escapes in
 * JSON, as themselves. Lines stay where they are.
 * @param text  The source's text without a byte order mark.
 * @return Nothing when the text can stay as it is.
 * @throws InputError  Malformed JSON, metadata that is not understood, half of a surrogate pair.
 */
std::optional<std::string> normalise_json(const Source &source, std::string_view text,
                                          Content content);

} // namespace engine
