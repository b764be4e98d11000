/**
 * @file
 * Takes the data out of JSON that holds more. For json_text.cpp only.
 */
#pragma once

#include "engine/data/envelope.h"

#include <optional>
#include <string>

namespace engine
{

/**
 * Writes blanks over what stands around the data, and over members of other models: what is left
 * stays where it is.
 * @return Nothing when there is only data.
 * @throws InputError  See normalise_json.
 */
std::optional<std::string> cut_out_data(const RawText &raw, Envelope &envelope);

/** @throws InputError  With what the parser says. @param position  Of the last byte it read. */
[[noreturn]] void fail_as_malformed(const Source &source, std::string_view text,
                                    std::size_t position, std::string_view failure);

} // namespace engine
