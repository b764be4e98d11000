#include "api/change_walk.h"

#include "engine/data/error.h"
#include "engine/data/keypath.h"
#include "engine/data/value.h"

#include <algorithm>

namespace api
{

using engine::Change;
using engine::ChangeKind;
using engine::OwnedValue;
using engine::Path;
using engine::Schema;
using engine::SchemaNode;

namespace
{

/** A keypath that frees its texts. */
class OwnedKeypath
{
public:
    explicit OwnedKeypath(const lyd_node *node) { engine::fill_keypath(m_keypath, node); }
    ~OwnedKeypath() { engine::free_keypath(m_keypath); }
    OwnedKeypath(const OwnedKeypath &) = delete;
    OwnedKeypath &operator=(const OwnedKeypath &) = delete;
    confd_hkeypath_t *get() { return &m_keypath; }

private:
    confd_hkeypath_t m_keypath;
};

/**
 * Whether a node of a created or deleted subtree is a change of its own. Keys are told by their
 * entry, further entries of a leaf-list by the first; nobody has set a default.
 */
bool counts(const lyd_node *node)
{
    const SchemaNode *schema = Schema::of(node);
    return schema != nullptr && !schema->is_key() && (node->flags & LYD_DEFAULT) == 0 &&
           !(schema->is_leaf_list() && node->prev->next != nullptr &&
             node->prev->schema == node->schema);
}

/** What is in a created or deleted subtree, as changes of the same kind. */
std::vector<Change> contents(const Change &change)
{
    const bool is_created = change.kind == ChangeKind::kCreated;
    std::vector<Change> result;
    for (const lyd_node *node = lyd_child(change.node()); node != nullptr; node = node->next) {
        if (counts(node)) {
            Change child;
            child.schema = Schema::of(node);
            child.kind = change.kind;
            (is_created ? child.after : child.before) = node;
            result.push_back(std::move(child));
        }
    }
    return result;
}

/** Calls with what changed below a change. */
template <typename Call>
bool with_children(const Change &change, Call call)
{
    const bool is_subtree =
        change.kind == ChangeKind::kCreated || change.kind == ChangeKind::kDeleted;
    return is_subtree ? call(contents(change)) : call(change.children);
}

/** Whether a change's node has these keys; no keys mean all entries. */
bool has_keys(const Change &change, const std::vector<std::string> &keys)
{
    const lyd_node *leaf = lyd_child(change.node());
    return std::all_of(keys.begin(), keys.end(), [&leaf](const std::string &key) {
        const bool is_equal = leaf != nullptr && key == lyd_get_value(leaf);
        leaf = leaf != nullptr ? leaf->next : nullptr;
        return is_equal;
    });
}

/** What is reported for a list entry or presence container. */
std::vector<confd_iter_op> operations_on_inner_node(const Change &change)
{
    switch (change.kind) {
    case ChangeKind::kCreated:
        return {MOP_CREATED};
    case ChangeKind::kDeleted:
        return {MOP_DELETED};
    case ChangeKind::kMoved:
        return change.children.empty() ? std::vector<confd_iter_op>{MOP_MOVED_AFTER}
                                       : std::vector<confd_iter_op>{MOP_MOVED_AFTER, MOP_MODIFIED};
    default:
        return change.schema->is_list() ? std::vector<confd_iter_op>{MOP_MODIFIED}
                                        : std::vector<confd_iter_op>{};
    }
}

/** What is reported for a change, in this order. */
std::vector<confd_iter_op> operations(const Change &change)
{
    const SchemaNode &schema = *change.schema;
    if (schema.is_list() || schema.is_presence()) {
        return operations_on_inner_node(change);
    }
    if (schema.is_container() || schema.is_key()) {
        return {};
    }
    if (change.kind == ChangeKind::kDeleted) {
        return {MOP_DELETED};
    }
    return {schema.is_empty_leaf() ? MOP_CREATED : MOP_VALUE_SET};
}

} // namespace

bool ChangeWalk::go_to(const std::vector<Change> &changes, const Path &path, std::size_t step)
{
    const Path::Step &wanted = path.steps[step];
    const bool is_last = step + 1 == path.steps.size();
    return std::all_of(changes.begin(), changes.end(), [&](const Change &change) {
        if (change.schema != wanted.node || !has_keys(change, wanted.keys)) {
            return true;
        }
        return is_last ? visit(change)
                       : with_children(change, [&](const std::vector<Change> &children) {
                             return go_to(children, path, step + 1);
                         });
    });
}

bool ChangeWalk::visit(const Change &change)
{
    maapi_iter_ret answer = ITER_RECURSE;
    for (const confd_iter_op operation : operations(change)) {
        answer = tell(change, operation);
        if (answer == ITER_STOP) {
            return false;
        }
    }
    if (answer == ITER_CONTINUE) {
        return true;
    }
    return with_children(change, [this](const std::vector<Change> &children) {
        return std::all_of(children.begin(), children.end(),
                           [this](const Change &child) { return visit(child); });
    });
}

maapi_iter_ret ChangeWalk::tell(const Change &change, confd_iter_op operation)
{
    OwnedKeypath keypath(change.node());
    if (operation != MOP_VALUE_SET) {
        return m_iter(keypath.get(), operation, nullptr, nullptr, m_state);
    }
    const OwnedValue value(change.schema->is_leaf_list() ? engine::list_value_of(change.after)
                                                         : engine::value_of(change.after));
    confd_value_t shown = value.get();
    return m_iter(keypath.get(), operation, nullptr, &shown, m_state);
}

} // namespace api
