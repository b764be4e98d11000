/**
 * @file
 * The figures of a card for a terminal.
 */
#pragma once

#include "headroom/survey.h"
#include "report/style.h"

#include <cstddef>
#include <iosfwd>

namespace host
{

struct HeadroomDetail {
    std::size_t width = 0;            /**< Of the window; 0: none. */
    bool all = false;                 /**< Nothing of a long list is left out. */
    const char *way_to_all = "--all"; /**< How to get that. */
};

void print_survey(std::ostream &out, const Survey &survey, const Style &style,
                  const HeadroomDetail &detail);

} // namespace host
