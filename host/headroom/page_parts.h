/**
 * @file
 * Pieces of markup that the sections of the page are made of.
 */
#pragma once

#include "headroom/fullness.h"
#include "headroom/survey.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace host
{

/** A section with its heading and the anchor of the table of contents. */
std::string section(const std::string &id, const std::string &title, const std::string &inside);

/** Heads of columns: title, and whether numbers stand below. */
using Heads = std::vector<std::pair<std::string, bool>>;

/**
 * A table in a region that scrolls where the window is narrow, and can be reached by keyboard for
 * it.
 * @param caption  Text; it also names the region.
 */
std::string table(const std::string &caption, const Heads &heads, const std::string &rows);

/** A cell; one of numbers is aligned on the right. */
std::string cell(const std::string &markup, bool is_number = false);
/** The head of a row. */
std::string row_head(const std::string &text);
/** A row, marked if something in it has changed. */
std::string row(const std::string &cells, bool has_changed = false);

/** A figure as a bar in which the limit is drawn, with its number and percentage. */
std::string bar(std::uint64_t value, std::uint64_t limit, const std::string &unit);

/** A bar, beside the one before the change where that differs. */
std::string bars(const std::uint64_t *before, std::uint64_t after, std::uint64_t limit,
                 const std::string &unit);

/** A text, behind what it was before where that differs. */
std::string before_after(const std::string *before, const std::string &after);

/** What a rule says, with its text. */
std::string verdict_markup(const RuleVerdict &verdict);

} // namespace host
