/**
 * @file
 * What makes one configuration of another, as an edit.
 */
#pragma once

#include "engine/data/datastore.h"
#include "engine/data/undo_log.h"
#include "twin/event_bodies.h"

#include <string>
#include <unordered_set>
#include <vector>

namespace host::twin
{

/**
 * Nodes of a tree that may differ from the tree that it was copied from. Comparing the two looks
 * nowhere else, so that a commit takes no longer on a large card.
 */
class Touched
{
public:
    /** Before the log is kept. */
    void add(const engine::UndoLog &log);
    /** There may be differences anywhere. */
    void add_everything() { m_is_everything = true; }
    void add(const Touched &other);
    void clear();

    bool empty() const { return !m_is_everything && m_inner.empty(); }
    bool is_everything() const { return m_is_everything; }
    /** Whether something may differ right below a node that both trees have (null: at the top), or
     *  further down. */
    bool has_inside(const lyd_node *node) const { return m_inner.count(node) != 0; }
    /** Whether the node came with a change, so that all of it may differ. */
    bool is_new(const lyd_node *node) const { return m_created.count(node) != 0; }

private:
    /** Addresses: one that another node has by now costs a comparison, no more. */
    std::unordered_set<const lyd_node *> m_inner;
    std::unordered_set<const lyd_node *> m_created;
    bool m_is_everything = false;
};

/** What leads from one configuration to another. */
struct TreeEdit {
    /** In XML with NETCONF operations; empty: there is no difference. */
    std::string text;
    /** What it says, node by node; of many changes only that there are some. */
    std::vector<ConfigEdit> places;
};

/**
 * The edit that makes `after` of `before`: it gives the same configuration wherever `before` is the
 * configuration. A value that is set to its default is another than one that YANG supplies.
 * @param touched  Of `after`.
 */
TreeEdit edit_between(const engine::Datastore &before, const engine::Datastore &after,
                      const Touched &touched);

} // namespace host::twin
