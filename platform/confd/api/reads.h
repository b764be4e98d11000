/**
 * @file
 * Reads that the calls for transactions and for the committed configuration share.
 */
#pragma once

#include "api/session.h"

namespace api
{

/**
 * Whether a node exists. A plain container does where the nodes above it do.
 * @param extent  How much of it the caller depends on.
 * @throws engine::Error  CONFD_ERR_BADPATH: a list without keys.
 */
bool exists(const View &view, const engine::Path &path,
            engine::ReadExtent extent = engine::ReadExtent::kNode);

/** A list without keys, by the node above it. */
struct ListPlace {
    const engine::SchemaNode &list;
    engine::PlaceId place;  /**< Of all entries. */
    const lyd_node *parent; /**< Null: the list is at the top, or nowhere. */
    bool exists;            /**< Whether the node above is there. */
};

/**
 * @throws engine::Error  CONFD_ERR_BADPATH: no list, or keys behind it; CONFD_ERR_NOEXISTS: an
 *                        entry or a presence container above it is not there.
 */
ListPlace find_list(const View &view, const engine::Path &path);

/** Entries of a list. @throws As find_list. */
int count_entries(const View &view, const engine::Path &path);

/**
 * Finds a leaf, or the first entry of a leaf-list.
 * @throws engine::Error  CONFD_ERR_BADTYPE: neither; CONFD_ERR_NOEXISTS: not set.
 */
const lyd_node *find_leaf(const View &view, const engine::Path &path);

/** Value of a leaf, or all of a leaf-list's as a C_LIST. @throws As find_leaf. */
confd_value_t read_leaf(const View &view, const engine::Path &path);

/**
 * Value of a leaf that must be of this type.
 * @throws engine::Error  As find_leaf; CONFD_ERR_BADTYPE also for another type, set or not.
 */
confd_value_t read_leaf(const View &view, const engine::Path &path, confd_vtype type);

/**
 * Finds the node that XPath expressions start from.
 * @throws engine::Error  CONFD_ERR_BADPATH: a list without keys; CONFD_ERR_NOEXISTS.
 */
const lyd_node *find_context(const View &view, const engine::Path &path);

/** Throws the CONFD_ERR_NOEXISTS that tells what is not there: the node or something above it. */
[[noreturn]] void fail_absent(const View &view, const engine::Path &path);

} // namespace api
