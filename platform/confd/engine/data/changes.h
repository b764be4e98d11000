/**
 * @file
 * What differs between the committed configuration and a candidate.
 */
#pragma once

#include "engine/data/datastore.h"
#include "engine/data/undo_log.h"

#include <vector>

namespace engine
{

enum class ChangeKind {
    kInside,  /**< The node is in both; something below it changed. */
    kCreated, /**< The node and all below it are only in the candidate. */
    kDeleted, /**< The node and all below it are only in the committed configuration. */
    kValue,   /**< A leaf has another value, or a leaf-list other entries (one change for all of
                 them). */
    kMoved    /**< A user-ordered entry stands behind another one than before; changes below may
                 follow. */
};

/**
 * A changed node. Nodes above a change are in the tree as kInside. A created or deleted subtree is
 * one change without children: what is in it is in the data. A default that YANG supplies counts as
 * a value: a leaf that goes from true to its default false has changed its value, a leaf that is
 * now written out with the value that the default gave has not. Plain containers are neither
 * created nor deleted: their children are.
 */
struct Change {
    const SchemaNode *schema = nullptr;
    ChangeKind kind = ChangeKind::kInside;
    const lyd_node *before = nullptr; /**< In the committed configuration; null when created. */
    const lyd_node *after =
        nullptr; /**< In the candidate; null when deleted. For a leaf-list, the first entry. */
    /** Of a leaf-list, all in the committed configuration: they may stand in no tree any more. */
    std::vector<const lyd_node *> entries_before{};
    std::vector<Change> children{}; /**< In schema order, list entries in key order. */

    /** The node in the candidate, or else in the committed configuration. */
    const lyd_node *node() const { return after != nullptr ? after : before; }
};

/** Compares two checked configurations; linear in their size. */
std::vector<Change> compare(const Datastore &committed, const Datastore &candidate);

/**
 * What a change in place amounts to: the same that comparing copies of the configuration would
 * tell. Takes as long as what came and went is large. A node that is in both is the same one.
 */
std::vector<Change> changes_of(const UndoLog &log);

} // namespace engine
