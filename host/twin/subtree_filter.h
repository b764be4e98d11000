/**
 * @file
 * Subtree filters (RFC 6241, section 6).
 */
#pragma once

#include "twin/selection.h"

#include <string>
#include <utility>
#include <vector>

namespace host::twin
{

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

    /**
     * Takes what libyang made of <filter>: an anyxml or opaque node. Attributes that its modules do
     * not know are not in it any more.
     * @throws FilterError
     */
    static SubtreeFilter from(const lyd_node *filter);

    /** What it selects of a tree. @param data  First sibling at the top; may be null. */
    Selection select(const lyd_node *data) const;

    const std::vector<FilterNode> &nodes() const { return m_nodes; }

private:
    std::vector<FilterNode> m_nodes;
};

} // namespace host::twin
