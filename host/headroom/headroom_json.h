/**
 * @file
 * The figures of a card for programs.
 */
#pragma once

#include "headroom/survey.h"

#include <nlohmann/json.hpp>

namespace host
{

/** As docs/headroom-output.schema.json describes it. */
nlohmann::ordered_json json_survey(const Survey &survey);

} // namespace host
