/**
 * @file
 * A choice of nodes of a tree, and copies of it.
 */
#pragma once

#include "engine/schema/yang.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_set>

namespace host::twin
{

struct FreeTree {
    void operator()(lyd_node *tree) const { lyd_free_all(tree); }
};
/** A tree with all its siblings. */
using Tree = std::unique_ptr<lyd_node, FreeTree>;

/** Nodes of one tree that are to be told. The tree must not change as long as it is used. */
class Selection
{
public:
    /** Selects a node with all below it. */
    void add_whole(const lyd_node *node);
    /** Selects a node for the sake of what is selected below it. */
    void add_inner(const lyd_node *node) { m_inner.insert(node); }
    bool empty() const { return m_whole.empty(); }

    /**
     * Copies what is selected, with the keys of list entries on the way. Flags of defaults are
     * kept.
     * @param data  First sibling at the top of the tree; may be null.
     * @return Null when nothing is selected.
     */
    Tree copy(const lyd_node *data) const;

private:
    void copy_children(const lyd_node *from, lyd_node *to) const;

    std::unordered_set<const lyd_node *> m_whole;
    std::unordered_set<const lyd_node *> m_inner;
};

/** A filter that cannot be evaluated. */
class FilterError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/**
 * Evaluates an XPath expression at the top of a tree.
 * @param xpath  Prefixes are names of modules; a name without one is of the module of the first
 *               node.
 * @throws FilterError  It is no expression, or its result is no set of nodes.
 */
Selection select_xpath(const lyd_node *data, const std::string &xpath);

} // namespace host::twin
