/**
 * @file
 * Subtree filters (RFC 6241, section 6).
 */
#pragma once

#include "engine/schema/yang.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace host::twin
{

struct FreeTree {
    void operator()(lyd_node *tree) const { lyd_free_all(tree); }
};
/** A tree with all its siblings. */
using Tree = std::unique_ptr<lyd_node, FreeTree>;

/** An element of a filter. Without children it selects, or with text it matches content. */
struct FilterNode {
    struct Attribute {
        std::string ns;
        std::string name;
        std::string value;
    };

    std::string ns; /**< Namespace; empty: nodes of any namespace. */
    std::string name;
    std::vector<Attribute> attributes;
    std::string text; /**< Without blanks around it. */
    std::vector<FilterNode> children;
};

class SubtreeFilter
{
public:
    /** @param nodes  The elements below <filter>; none selects nothing. */
    explicit SubtreeFilter(std::vector<FilterNode> nodes) : m_nodes(std::move(nodes)) {}

    /** Reads the elements from XML. @throws FilterError  Broken XML. */
    static SubtreeFilter parse(std::string_view xml);
    /** Takes what libyang made of <filter>: an anyxml or opaque node. @throws FilterError */
    static SubtreeFilter from(const lyd_node *filter);

    /**
     * Copies the selected nodes, with what leads to them and the keys of list entries. Flags of
     * defaults are kept.
     * @param data  First sibling of a tree; may be null.
     * @return Null when nothing is selected.
     */
    Tree select(const lyd_node *data) const;

    const std::vector<FilterNode> &nodes() const { return m_nodes; }

private:
    std::vector<FilterNode> m_nodes;
};

/** A filter that cannot be read. */
class FilterError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace host::twin
