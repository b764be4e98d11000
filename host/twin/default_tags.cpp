#include "twin/default_tags.h"

#include "twin/reply.h"
#include "twin/server_context.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace host::twin
{
namespace
{

bool is_true(const char *value)
{
    return std::strcmp(value, "true") == 0 || std::strcmp(value, "1") == 0;
}

/** A leaf whose value does not fit is an opaque node. */
bool is_tagged_opaque(const lyd_node *node)
{
    const auto *attribute = reinterpret_cast<const lyd_node_opaq *>(node)->attr;
    for (; attribute != nullptr; attribute = attribute->next) {
        if (attribute->name.module_ns != nullptr &&
            std::strcmp(attribute->name.module_ns, kDefaultNamespace) == 0) {
            return is_true(attribute->value);
        }
    }
    return false;
}

lyd_meta *tag_of(const lyd_node *node)
{
    return lyd_find_meta(node->meta, nullptr, "gpon-twin-default:default");
}

bool has_tag(const lyd_node *node)
{
    return node->schema == nullptr ? is_tagged_opaque(node) : tag_of(node) != nullptr;
}

std::vector<lyd_node *> tagged_below(const lyd_node *tree)
{
    std::vector<lyd_node *> tagged;
    for (const auto *top = tree; top != nullptr; top = top->next) {
        lyd_node *node = nullptr;
        LYD_TREE_DFS_BEGIN(const_cast<lyd_node *>(top), node)
        {
            if (has_tag(node)) {
                tagged.push_back(node);
            }
            LYD_TREE_DFS_END(const_cast<lyd_node *>(top), node);
        }
    }
    return tagged;
}

/** A tag may also say that the node is none. */
bool is_tagged_as_other(const lyd_node *node)
{
    return node->schema != nullptr && !is_true(lyd_get_meta_value(tag_of(node)));
}

std::string path_of(const lyd_node *node)
{
    const std::unique_ptr<char, void (*)(void *)> path(lyd_path(node, LYD_PATH_STD, nullptr, 0),
                                                       std::free);
    return path != nullptr ? path.get() : "";
}

[[noreturn]] void refuse(const char *tag, const lyd_node *node, const std::string &message)
{
    RpcError error{tag, message};
    error.info.emplace_back("bad-element", LYD_NAME(node));
    throw RpcFailure(std::move(error));
}

lyd_meta *own_operation(const lyd_node *node)
{
    return lyd_find_meta(node->meta, nullptr, "ietf-netconf:operation");
}

std::string operation_of(const lyd_node *node, const std::string &inherited)
{
    for (; node != nullptr; node = lyd_parent(node)) {
        if (const auto *operation = own_operation(node)) {
            return lyd_get_meta_value(operation);
        }
    }
    return inherited;
}

void make_removal(lyd_node *node, const EditOfDefaults &edit)
{
    const std::string operation = operation_of(node, edit.default_operation);
    if (operation != "merge" && operation != "replace" && operation != "create") {
        refuse("invalid-value", node,
               "A node that is tagged as default cannot have the operation " + operation + ".");
    }
    if (operation == "create" && edit.is_set(path_of(node))) {
        refuse("data-exists", node, "Cannot be created: it exists already.");
    }
    lyd_free_meta_single(tag_of(node));
    if (auto *own = own_operation(node)) {
        lyd_free_meta_single(own);
    }
    lyd_new_meta(nullptr, node, nullptr, "ietf-netconf:operation", "remove", 0, nullptr);
}

} // namespace

bool has_default_tags(const lyd_node *tree)
{
    return !tagged_below(tree).empty();
}

void resolve_default_tags(Tree &tree, const std::optional<EditOfDefaults> &edit)
{
    for (lyd_node *node : tagged_below(tree.get())) {
        if (is_tagged_as_other(node)) {
            lyd_free_meta_single(tag_of(node));
            continue;
        }
        if (node->schema == nullptr || (node->schema->nodetype & LYD_NODE_TERM) == 0 ||
            lyd_is_default(node) == 0) {
            refuse("invalid-value", node,
                   "The value that is tagged as the default is another one.");
        }
        if (edit) {
            make_removal(node, *edit);
            continue;
        }
        if (node == tree.get()) {
            static_cast<void>(tree.release());
            tree.reset(node->next);
        }
        lyd_free_tree(node);
    }
}

} // namespace host::twin
