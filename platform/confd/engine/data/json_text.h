/**
 * @file
 * JSON made ready for libyang, which does not take all of it.
 */
#pragma once

#include "engine/data/envelope.h"

#include <optional>
#include <string>

namespace engine
{

/**
 * Checks the metadata, writes characters beyond the 16-bit range, which are two escapes in JSON, as
 * themselves, and takes away what stands around the data, and nodes of other models. Lines stay
 * where they are.
 * @return Nothing when the text can stay as it is.
 * @throws InputError  Malformed JSON, metadata that is not understood, half of a surrogate pair;
 * see also Envelope.
 */
std::optional<std::string> normalise_json(const RawText &raw, Envelope &envelope);

} // namespace engine
