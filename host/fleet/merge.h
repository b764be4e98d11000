/**
 * @file
 * The results of several runs put together.
 */
#pragma once

#include "fleet/card_list.h"
#include "fleet/result_file.h"

#include <cstddef>
#include <string>
#include <vector>

namespace host
{

/** A result in one of several files. */
struct PartResult {
    std::size_t part = 0;
    StoredResult result;
};

/**
 * Finds the one result of each card, in the order of the list.
 * @throws engine::InputError  A card has none, or more than one; a result is of no card; a line is
 *                             no result. It names cards, files and lines.
 */
std::vector<PartResult> merge_results(const CardList &list, std::vector<ResultReader> &parts);

} // namespace host
