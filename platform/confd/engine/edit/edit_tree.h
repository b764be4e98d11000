/**
 * @file
 * An edit as it was written: a tree of nodes with operations. For the edit's own files only.
 */
#pragma once

#include "engine/data/attributes.h"
#include "engine/data/datastore.h"
#include "engine/data/error.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace engine
{

/** What an edit wants of a node. */
enum class Operation { kMerge, kReplace, kCreate, kDelete, kRemove, kNone };

inline bool is_deletion(Operation operation)
{
    return operation == Operation::kDelete || operation == Operation::kRemove;
}

/** Owns a tree with all its siblings. */
using OwnedTree = std::unique_ptr<lyd_node, decltype(&lyd_free_all)>;

struct EditTree {
    /** Nodes of the model, but for leaves to delete that were written without a value: those are
     *  opaque nodes. Null when there is nothing to do. */
    OwnedTree root{nullptr, lyd_free_all};
    /** Of nodes that have none and inherit none. */
    Operation default_operation = Operation::kMerge;
};

/** An opaque node as what it is. */
const lyd_node_opaq &as_opaque(const lyd_node *node);

/** Whether a name of an opaque node or attribute is one of NETCONF's own. */
bool is_netconf(const ly_opaq_name &name, LY_VALUE_FORMAT format, const char *wanted);

/** Nothing for a name that no operation has. */
std::optional<Operation> operation_named(const char *name);

/** The operation that the node itself carries, if any. */
std::optional<Operation> own_operation(const lyd_node *node);

/** Name of an operation that the node itself carries, known or not; null when there is none. */
const char *operation_text(const lyd_node *node);

/** Schema node of a node of an edit, opaque or not; null for what the model does not know. */
const SchemaNode *schema_of(const Schema &schema, const lyd_node *node);

/** Brace notation, for opaque nodes as well. */
std::string edit_path(const lyd_node *node);

} // namespace engine
