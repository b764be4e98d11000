/**
 * @file
 * Objections and warnings for people.
 */
#pragma once

#include "report/finding.h"
#include "report/style.h"

#include <iosfwd>
#include <vector>

namespace host
{

/** How much of a long list is shown. */
struct TextDetail {
    bool full = false;     /**< All of it. */
    bool new_only = false; /**< What the running configuration draws as well is counted only. */
};

/** `file:line:column: `, as far as it is known; empty when nothing is. */
std::string location_text(const FileLocation &location, const Style &style);

/**
 * Prints the remarks among the findings as `file:line:column: rejected: text`, below that where in
 * the card, why, and what to do. What a rule says several times is printed once.
 */
void print_remarks(std::ostream &out, const std::vector<Finding> &findings, const Style &style,
                   const TextDetail &detail);

} // namespace host
