/**
 * @file
 * What the rules read of the configuration.
 */
#pragma once

#include "checker/outcome.h"

#include <iosfwd>
#include <nlohmann/json.hpp>

namespace host
{

/**
 * Prints what was noted, or nothing.
 * @param in_full  Each place with its keys; otherwise schema nodes, with how many places.
 */
void print_reads(std::ostream &out, const Outcome &outcome, bool in_full);

/** What a rule read, by schema node. */
nlohmann::ordered_json json_reads(const Outcome &outcome, const std::string &rule);

} // namespace host
