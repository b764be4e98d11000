#include "engine/schema/schema.h"

#include <algorithm>

namespace engine
{
namespace
{

bool is_encrypted(const confd_type &type)
{
    return type.encrypted || std::any_of(type.members.begin(), type.members.end(), is_encrypted);
}

bool ends_with(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

} // namespace

const SchemaNode *SchemaNode::child(std::string_view child_name) const
{
    const SchemaNode *node = first_child();
    while (node != nullptr && node->name != child_name) {
        node = node->next_sibling();
    }
    return node;
}

bool SchemaNode::is_presence() const
{
    return is_container() && (yang->flags & LYS_PRESENCE) != 0;
}

bool SchemaNode::is_user_ordered() const
{
    return (is_list() || is_leaf_list()) && (yang->flags & LYS_ORDBY_USER) != 0;
}

bool SchemaNode::is_key() const
{
    return (yang->flags & LYS_KEY) != 0 && is_leaf();
}

std::string SchemaNode::path() const
{
    return (up() != nullptr ? up()->path() : "") + "/" + name;
}

Schema::Schema()
{
    static std::uint64_t last_number = 0;
    m_number = ++last_number;
}

Schema::~Schema()
{
    for (const auto &node : m_nodes) {
        node->probe.reset(); // Its values are the context's.
        node->pattern.reset();
    }
    ly_ctx_destroy(m_context);
}

const SchemaNode *Schema::top(std::string_view name) const
{
    const auto found = std::find_if(m_tops.begin(), m_tops.end(),
                                    [name](const SchemaNode *node) { return node->name == name; });
    return found != m_tops.end() ? *found : nullptr;
}

const char *Schema::name_of(std::uint32_t tag) const
{
    const auto found = m_names.find(tag);
    return found != m_names.end() ? found->second.c_str() : nullptr;
}

bool is_secret(const SchemaNode &node)
{
    const confd_type &type = node.type_storage;
    return is_encrypted(type) || (type.vtype == C_BUF && ends_with(node.name, "password"));
}

const SchemaNode *shared_by(const ValidationPoint &point, const Dependency &dependency)
{
    // A point asked once is about the list itself, so only what is above it is shared.
    const bool is_list_itself = point.once && dependency.common == point.node;
    return is_list_itself ? point.node->up() : dependency.common;
}

} // namespace engine
