/**
 * @file
 * The report of a check for programs.
 */
#pragma once

#include "checker/outcome.h"

#include <nlohmann/json.hpp>

namespace host
{

/**
 * The report as docs/check-output.schema.json describes it.
 * @param with_explanation  With every request, the sums of each rule, and times.
 */
nlohmann::ordered_json json_report(const Outcome &outcome, bool with_explanation);

/** The faults of an input, as in the report. */
nlohmann::ordered_json json_problems(const std::vector<engine::Problem> &problems);
/** What was skipped in the inputs, as in the report. */
nlohmann::ordered_json json_skipped(const std::vector<SkippedPart> &skipped);

/**
 * Text of a JSON document; what is no UTF-8 in it is replaced.
 * @param for_terminal  It is ASCII: nothing in it steers a terminal.
 */
std::string print_json(const nlohmann::ordered_json &json, bool for_terminal);

/** The same on one line. */
std::string print_json_line(const nlohmann::ordered_json &json, bool for_terminal);

} // namespace host
