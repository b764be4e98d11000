/**
 * @file
 * The result of one card as a line of JSON, written and read.
 */
#pragma once

#include "checker/outcome.h"

#include <optional>
#include <string>
#include <string_view>

namespace host
{

/** With what every line begins. */
inline constexpr std::string_view kResultLineStart = "{\"name\":";

/**
 * The report of a check behind the card's name and the hash of what it depends on. It holds no
 * times: the same inputs give the same line.
 * @return Without its newline.
 */
std::string result_line(const std::string &name, const std::string &inputs, const Outcome &outcome);

/** A line that was read. */
struct ResultLine {
    std::string name;
    std::string inputs;
    Outcome outcome;
};

/** @return Nothing: it is no such line. */
std::optional<ResultLine> parse_result_line(std::string_view line);

} // namespace host
