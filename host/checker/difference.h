/**
 * @file
 * What a change amounts to, as people are told of it: free of the configurations that it lies
 * between.
 */
#pragma once

#include "engine/data/changes.h"

#include <string>
#include <vector>

namespace host
{

/** A node that was created, deleted, changed or moved, or that lies above one. */
struct Difference {
    enum class Kind { kInside, kCreated, kDeleted, kChanged, kMoved };

    Kind kind = Kind::kInside;
    std::string step; /**< Name with keys, such as gpon{1 1 3}. */
    /** The value of a leaf, all values of a leaf-list, or none; secrets are masked. */
    std::vector<std::string> before;
    std::vector<std::string> after;
    bool is_leaf_list = false;
    bool is_secret = false;
    bool is_default = false; /**< The value after the change is the one that YANG supplies. */
    std::string behind;      /**< Where a moved entry stands now; empty: in front. */
    std::vector<Difference> below;
};

/**
 * All differences, in the order of the data model. What was created or deleted is told with all
 * that is in it, but for keys and for values that YANG supplies.
 */
std::vector<Difference> differences_of(const std::vector<engine::Change> &changes);

/** What a node holds, told as a difference that is none; without values that YANG supplies.
 *  @param shows_secrets  They are not masked. */
Difference contents_of(const lyd_node *node, bool shows_secrets);

/** How many subtrees were created, deleted, changed and moved. */
struct DifferenceCounts {
    std::size_t created = 0;
    std::size_t deleted = 0;
    std::size_t changed = 0;
    std::size_t moved = 0;
};
DifferenceCounts count(const std::vector<Difference> &differences);

} // namespace host
