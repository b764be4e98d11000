/**
 * @file
 * The options of a check, kept.
 */
#pragma once

#include "cli/check_options.h"

#include <nlohmann/json.hpp>

namespace host
{

/** The options that a report depends on, and back. @throws nlohmann::json::exception */
nlohmann::ordered_json json_options(const CheckOptions &options);
CheckOptions read_options(const nlohmann::json &json);

} // namespace host
