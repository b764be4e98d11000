/**
 * @file
 * Capabilities of the card that nobody has told.
 */
#pragma once

#include "checker/outcome.h"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace host
{

/**
 * The capabilities, by their names in a card's file, that were assumed and that a rule hangs on
 * which was asked. None when the card was given.
 */
std::vector<std::pair<std::string, nlohmann::ordered_json>>
assumed_capabilities(const Outcome &outcome);

} // namespace host
