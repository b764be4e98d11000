/**
 * @file
 * The report of a check for programs, read again.
 */
#pragma once

#include "checker/outcome.h"

#include <nlohmann/json.hpp>

#include <optional>

namespace host
{

/**
 * What json_report was given, as far as the report tells of it.
 * @return Nothing: it is no such report, or its result does not follow from the rest.
 */
std::optional<Outcome> read_json_report(const nlohmann::json &report);

} // namespace host
