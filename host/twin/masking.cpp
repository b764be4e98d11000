#include "twin/masking.h"

#include <stdexcept>

namespace host::twin
{
namespace
{

/** The path that engine::SchemaNode::path gives, of a node of any context. */
std::string path_of(const lysc_node *node)
{
    std::string path;
    for (; node != nullptr; node = node->parent) {
        if ((node->nodetype & (LYS_CHOICE | LYS_CASE)) == 0) {
            path.insert(0, std::string("/") + node->name);
        }
    }
    return path;
}

/** Opaque nodes stand behind those of the model. */
void replace(lyd_node *node)
{
    lyd_node *masked = nullptr;
    if (lyd_new_opaq2(lyd_parent(node), LYD_CTX(node), node->schema->name, engine::kMaskedValue,
                      nullptr, node->schema->module->ns, &masked) != LY_SUCCESS) {
        throw std::runtime_error("libyang could not mask a value");
    }
    lyd_free_tree(node);
}

} // namespace

Masking::Masking(const engine::Schema &schema)
{
    for (std::size_t i = 0; i < schema.node_count(); ++i) {
        const engine::SchemaNode &node = schema.node(i);
        if ((node.is_leaf() || node.is_leaf_list()) && engine::is_secret(node)) {
            m_paths.insert(node.path());
            m_names.insert(node.name);
            m_ns = node.yang->module->ns;
        }
    }
}

bool Masking::is_secret(const lyd_node *node) const
{
    return node->schema != nullptr && m_names.count(node->schema->name) != 0 &&
           m_ns == node->schema->module->ns && m_paths.count(path_of(node->schema)) != 0;
}

bool Masking::has_secrets(const lyd_node *tree) const
{
    for (; tree != nullptr; tree = tree->next) {
        if (is_secret(tree) || has_secrets(lyd_child_no_keys(tree))) {
            return true;
        }
    }
    return false;
}

void Masking::mask(lyd_node *tree) const
{
    for (lyd_node *next = nullptr; tree != nullptr; tree = next) {
        next = tree->next;
        if (is_secret(tree)) {
            replace(tree);
        } else {
            mask(lyd_child_no_keys(tree));
        }
    }
}

bool Masking::is_masked(std::string_view xml) const
{
    const std::string end = std::string(">") + engine::kMaskedValue + "</";
    for (auto found = xml.find(end); found != std::string_view::npos;
         found = xml.find(end, found + 1)) {
        auto name = xml.substr(found + end.size());
        name = name.substr(0, name.find('>'));
        name.remove_prefix(name.find(':') + 1); // Without a prefix: npos + 1, which is nothing.
        if (m_names.count(std::string(name)) != 0) {
            return true;
        }
    }
    return false;
}

} // namespace host::twin
