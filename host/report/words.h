/**
 * @file
 * What a report calls the parts of an outcome.
 */
#pragma once

#include "checker/outcome.h"

#include <cstddef>
#include <string>

namespace host
{

/** Such as "1 rule" and "2 rules". */
std::string plural(std::size_t count, const std::string &noun);

/** Such as "not confirmed", for a sum of results. */
const char *words_for(Result result);

/** What a rule said, or that it said nothing: an operator must never face an empty reason. */
std::string text_of(const engine::Answer &answer);

/** How the plug-in died, in one sentence without its stop. */
std::string sentence(const Death &death);

/** What was skipped of one model. */
std::string skipped_text(const engine::SkippedNodes &nodes);

} // namespace host
