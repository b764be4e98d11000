/**
 * @file
 * The figures of a card as a page for a browser.
 */
#pragma once

#include "headroom/survey.h"

#include <string>

namespace host
{

/** One file that refers to no other and has no script: HTML with its style. */
std::string page_of(const Survey &survey);

} // namespace host
