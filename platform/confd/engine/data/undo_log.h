/**
 * @file
 * A change made to a tree in place: it can be told, looked behind, and undone.
 */
#pragma once

#include "engine/data/datastore.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace engine
{

/**
 * Inserts, removes and moves nodes of a tree and remembers how it was. Removed nodes live on until
 * the change is kept, and know their parent, so that paths lead to them; what was in them is as it
 * was. Only the tops of what came or went are remembered.
 */
class UndoLog
{
public:
    explicit UndoLog(Datastore &tree) : m_tree(tree) {}
    /** Undoes what was not kept. */
    ~UndoLog() { undo(); }
    UndoLog(const UndoLog &) = delete;
    UndoLog &operator=(const UndoLog &) = delete;

    Datastore &tree() { return m_tree; }
    const Datastore &tree() const { return m_tree; }

    /** Inserts a node that stands in no tree, at the place that the schema gives it; behind the
     *  entries of its list. @param parent  Null: at the top. */
    void insert(lyd_node *node, lyd_node *parent);
    /** A node that was created in this change, below another such node, is freed. */
    void remove(lyd_node *node);
    /** Moves an entry of a list next to another one. */
    void move(lyd_node *node, lyd_node *sibling, bool before);

    /** Brings what was created into key order. */
    void order();
    /** Adds the defaults that what came needs, and those that take the place of what went. */
    void add_defaults();

    /** Makes the tree what it was before. */
    void undo();
    /** Leaves the tree as it is. */
    void keep();

    /** What came and went right below a node that was there before (null: at the top). */
    struct Touched {
        std::vector<const lyd_node *> created; /**< Those removed again are not in the tree. */
        std::vector<const lyd_node *> removed; /**< In the order in which they went. */
        std::vector<const lyd_node *> inner;   /**< Nodes with changes below them. */
        std::vector<const SchemaNode *> moved; /**< Lists with entries at other places. */
        /** By key_of. */
        std::unordered_map<std::string, const lyd_node *> removed_by_key;
    };
    /** Null when there was no change below the node. */
    const Touched *touched(const lyd_node *parent) const;
    /** Calls with each such node and what came and went, until an answer is false. @return The last
     *  answer. */
    template <typename Call>
    bool each_touched(const Call &call) const
    {
        return std::all_of(m_touched.begin(), m_touched.end(), [&](const auto &one) {
            return is_removed(one.first) || call(one.first, one.second);
        });
    }
    bool is_created(const lyd_node *node) const { return m_created.count(node) != 0; }
    bool is_removed(const lyd_node *node) const { return m_removed.count(node) != 0; }
    bool empty() const { return m_records.empty(); }

    /** The entries of a list or leaf-list as they stood, below a node that was there before. */
    std::vector<const lyd_node *> entries_before(const lyd_node *parent,
                                                 const SchemaNode &list) const;

    /** What tells a node from its siblings: schema node and keys (for a leaf-list, its value). */
    static std::string key_of(const SchemaNode &schema, const std::vector<std::string> &keys);

private:
    enum class Kind { kCreated, kRemoved, kMoved };
    struct Record {
        Kind kind;
        lyd_node *node;
        lyd_node *parent;
        lyd_node *before; /**< Neighbours when it went; null where the list ends. */
        lyd_node *behind;
    };

    bool is_inside_created(const lyd_node *node) const;
    void note(Record record);
    void touch(lyd_node *node);
    void save_flags(lyd_node *node);
    void unlink(lyd_node *node);
    void link(lyd_node *node, lyd_node *parent);
    void link_back(const Record &record);
    void undo(const Record &record);
    void undo_inside(const lyd_node *node);
    void order_entry(lyd_node *node);
    void order_entries(lyd_node *parent, const std::vector<lyd_node *> &created);
    void complete(lyd_node *parent, const lysc_node *schema_parent);
    void settle_choice(lyd_node *parent, const lysc_node *choice);
    void add_default(lyd_node *parent, const lysc_node *schema);

    Datastore &m_tree;
    std::vector<Record> m_records;
    std::unordered_map<const lyd_node *, Touched> m_touched;
    std::unordered_set<const lyd_node *> m_created;
    std::unordered_set<const lyd_node *> m_removed;
    std::unordered_map<lyd_node *, std::uint32_t> m_flags; /**< Of nodes above a change. */
};

} // namespace engine
