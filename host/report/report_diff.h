/**
 * @file
 * What a change does, for people and for programs.
 */
#pragma once

#include "checker/difference.h"
#include "report/style.h"

#include <iosfwd>
#include <nlohmann/json.hpp>

namespace host
{

/**
 * Prints a tree: `+` stands before what was created, `-` before what was deleted, and `~` before
 * what has changed or moved. What lies above has no mark, and as much of it as can be is one line.
 * The last line tells how much it is.
 */
void print_differences(std::ostream &out, const std::vector<Difference> &differences,
                       const Style &style);

/** The same tree without marks, for what contents_of tells. */
void print_contents(std::ostream &out, const std::vector<Difference> &contents, const Style &style);

/** One element for each node that was created, deleted, changed or moved, with its path. */
nlohmann::ordered_json json_differences(const std::vector<Difference> &differences);

} // namespace host
