/**
 * @file
 * Paths: schema nodes with keys, the data nodes that they lead to, their text in braces.
 */
#pragma once

#include "engine/data/place.h"

#include <string>
#include <vector>

namespace engine
{

/** A path that the schema knows. */
struct Path {
    struct Step {
        const SchemaNode *node = nullptr;
        std::vector<std::string> keys; /**< By the key leaves' own types; empty: none were given. */
        PlaceId place = kRootPlace;    /**< Where the path leads up to here. */
    };
    std::vector<Step> steps;

    /** The last step's node. */
    const SchemaNode *schema() const { return steps.back().node; }
    /** As the operator knows it. */
    std::string text() const;
};

/** Finds nodes of one tree in a way of its own. */
class EntryFinder
{
public:
    virtual ~EntryFinder() = default;
    /** As engine::find_first. */
    virtual const lyd_node *find_first(const lyd_node *siblings, const SchemaNode &node) = 0;
    /** @param first  The list's first entry. @return Null when there is none with these keys. */
    virtual const lyd_node *find(const lyd_node *first, const Path::Step &step) = 0;
};

/**
 * Finds the data node of a path. For a path that ends in a list without keys this is null: see
 * find_parent.
 * @param index  Of this tree; may be null, then libyang looks for entries.
 * @throws Error  CONFD_ERR_BADPATH when a list above the end has no keys.
 */
const lyd_node *find_node(const lyd_node *root, const Path &path, EntryFinder *index = nullptr);

/** Finds the data node above the path's last step. Null when it is not there. */
const lyd_node *find_parent(const lyd_node *root, const Path &path, EntryFinder *index = nullptr);

/** First instance of a schema node among siblings, by way of libyang's hash; null: there is none.
 */
const lyd_node *find_first(const lyd_node *siblings, const SchemaNode &node);

/** Finds an entry of a list by the step's keys, by way of libyang's hash; null: there is none. */
const lyd_node *find_entry(const lyd_node *siblings, const Path::Step &step);

/**
 * Path of the first list entry or presence container above the path's last step that is not
 * there; empty when all are.
 */
std::string missing_above(const lyd_node *root, const Path &path, EntryFinder *index = nullptr);

/** Finds a node among siblings, by its schema node and keys; a list without keys is not found. */
const lyd_node *find_child(const lyd_node *siblings, const Path::Step &step);

/** First entry of a list or leaf-list below a node (null: at the top); null when there is none. */
const lyd_node *first_instance(const lyd_node *root, const lyd_node *parent,
                               const SchemaNode &list);

/** The next entry of the same list. */
const lyd_node *next_instance(const lyd_node *entry);

/** Brace notation. */
std::string path_text(const lyd_node *node);
std::string list_path_text(const lyd_node *parent, const SchemaNode &list);

/** Keys of a list entry, the value of a leaf-list's; nothing for other nodes. */
std::vector<std::string> key_texts(const lyd_node *entry);

/** The node of the same path in another tree; null when it is not there. */
const lyd_node *find_same(const lyd_node *root, const lyd_node *node);

/** Keys as they stand in a path, such as {1 1 3}; empty when there are none. */
std::string braces(const std::vector<std::string> &keys);

/**
 * A key value as it stands in braces: itself, or quoted when it has a blank, a brace or a quote in
 * front, or is empty. Inside quotes a backslash stands before a quote or a backslash.
 */
std::string quote_key(const std::string &key);

} // namespace engine
