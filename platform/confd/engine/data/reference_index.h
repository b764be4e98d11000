/**
 * @file
 * Which values leafrefs refer to, and which of them exist.
 */
#pragma once

#include "engine/data/datastore.h"

#include <cstddef>
#include <unordered_map>

namespace engine
{

/**
 * Counts, for each value that a leafref may name, the leaves that hold it and the leafrefs that
 * name it. It is kept in step with a tree: values are known by the place of their text, which
 * libyang keeps once for all nodes, as long as one of them exists.
 */
class ReferenceIndex
{
public:
    /** Counts a node with all that is below it. */
    void add(const lyd_node *node) { count(node, 1); }
    /** It is still below its parent, or at least knows it. */
    void remove(const lyd_node *node) { count(node, -1); }

    /** Whether a leafref names a value that no leaf has. */
    bool has_dangling() const { return m_dangling != 0; }

private:
    struct Key {
        const ReferenceTarget *target;
        const lyd_node *shared; /**< Instance of the node that the leafref and its target share. */
        const char *value;
        bool operator==(const Key &other) const
        {
            return target == other.target && shared == other.shared && value == other.value;
        }
    };
    struct Hash {
        std::size_t operator()(const Key &key) const;
    };
    struct Count {
        int leaves = 0;
        int leafrefs = 0;
        bool is_dangling() const { return leafrefs > 0 && leaves == 0; }
    };

    void count(const lyd_node *node, int step);
    void count(const Key &key, int Count::*what, int step);

    std::unordered_map<Key, Count, Hash> m_counts;
    std::size_t m_dangling = 0;
};

/** The index of a whole tree. */
ReferenceIndex references_of(const Datastore &tree);

/** Whether a leafref that libyang does not check refers to nothing. */
inline bool has_dangling_references(const Datastore &tree)
{
    return references_of(tree).has_dangling();
}

} // namespace engine
