/**
 * @file
 * A configuration as it was before a change that was made to it in place.
 */
#pragma once

#include "engine/data/path.h"
#include "engine/data/undo_log.h"

#include <cstddef>
#include <string>

namespace engine
{

/**
 * Reads a tree. With an undo log, reads what was there before the change: nodes that came are not
 * seen, nodes that went are. A step down costs the same either way.
 */
class TreeView
{
public:
    /** The tree as it is. */
    TreeView(const Datastore &tree) : m_tree(tree) {}
    /** The tree as it was before the change. @param log  Null: as it is. */
    TreeView(const Datastore &tree, const UndoLog *log) : m_tree(tree), m_log(log) {}

    const Schema &schema() const { return m_tree.schema(); }
    /** First node of the tree as it is. */
    const lyd_node *root() const { return m_tree.root(); }

    /** As engine::find_node, find_parent and missing_above. */
    const lyd_node *find_node(const Path &path) const;
    const lyd_node *find_parent(const Path &path) const;
    std::string missing_above(const Path &path) const;

    /** Entries of a list below a node of this configuration (null: at the top). */
    std::size_t count(const lyd_node *parent, const SchemaNode &list) const;

    /** The node of the same path as a node of any tree; null when it is not there. */
    const lyd_node *counterpart(const lyd_node *node) const;

private:
    const lyd_node *child(const lyd_node *parent, const Path::Step &step) const;
    const lyd_node *step(const lyd_node *parent, const Path &path, std::size_t number) const;

    const Datastore &m_tree;
    const UndoLog *m_log = nullptr;
};

} // namespace engine
