#include "engine/schema/schema_rules.h"

#include <algorithm>
#include <cstring>

namespace engine
{
namespace
{

bool is_constraint(const lysc_node *node)
{
    switch (node->nodetype) {
    case LYS_LIST: {
        const auto *list = reinterpret_cast<const lysc_node_list *>(node);
        return list->min != 0 || list->max != 0;
    }
    case LYS_LEAFLIST: {
        const auto *list = reinterpret_cast<const lysc_node_leaflist *>(node);
        return list->min != 0 || list->max != 0;
    }
    case LYS_CHOICE:
        return true; // At most one case is chosen.
    default:
        return (node->flags & LYS_MAND_TRUE) != 0;
    }
}

std::vector<const lysc_node *> constraints_below(const Schema &schema, const lysc_node *parent)
{
    std::vector<const lysc_node *> constraints;
    const lysc_node *node = nullptr;
    while ((node = lys_getnext(node, parent, schema.module()->compiled, LYS_GETNEXT_WITHCHOICE)) !=
           nullptr) {
        if (is_constraint(node)) {
            constraints.push_back(node);
        }
    }
    return constraints;
}

std::vector<const lysc_node *> supplied_below(const lysc_node *parent)
{
    std::vector<const lysc_node *> supplied;
    const lysc_node *node = nullptr;
    while ((node = lys_getnext(node, parent, nullptr, LYS_GETNEXT_WITHCHOICE)) != nullptr) {
        if ((node->flags & LYS_CONFIG_R) == 0 &&
            (node->nodetype == LYS_CHOICE || is_supplied(node))) {
            supplied.push_back(node);
        }
    }
    return supplied;
}

/** Whether values of the type are good by themselves, or else looked up in our index. */
bool is_covered(const lysc_type *type)
{
    if (type->basetype != LY_TYPE_UNION) {
        return type->plugin->validate == nullptr;
    }
    lysc_type *const *members = reinterpret_cast<const lysc_type_union *>(type)->types;
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(members, i)
    {
        // Our index does not look into unions.
        if (members[i]->basetype == LY_TYPE_LEAFREF || !is_covered(members[i])) {
            return false;
        }
    }
    return true;
}

bool has_extension_rules(const lysc_node *node)
{
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(node->exts, i)
    {
        if (node->exts[i].def->plugin != nullptr) {
            return true;
        }
    }
    return false;
}

bool is_covered(const lysc_node *node)
{
    if ((node->flags & LYS_CONFIG_R) != 0 || has_extension_rules(node)) {
        return false;
    }
    switch (node->nodetype) {
    case LYS_LIST:
        return reinterpret_cast<const lysc_node_list *>(node)->uniques == nullptr;
    case LYS_LEAF: {
        const auto *type = reinterpret_cast<const lysc_node_leaf *>(node)->type;
        const auto *leafref = reinterpret_cast<const lysc_type_leafref *>(type);
        const bool is_optional =
            type->basetype == LY_TYPE_LEAFREF && leafref->require_instance == 0;
        return is_optional || is_covered(type);
    }
    case LYS_LEAFLIST:
        return is_covered(reinterpret_cast<const lysc_node_leaflist *>(node)->type);
    default:
        return true;
    }
}

bool is_at_or_below(const lysc_node *node, const lysc_node *above)
{
    while (node != nullptr && node != above) {
        node = node->parent;
    }
    return node != nullptr;
}

struct FreeSet {
    void operator()(ly_set *set) const { ly_set_free(set, nullptr); }
};

/** Schema nodes outside of a node that its `must` statements look at. */
class FarReads
{
public:
    /** @return Whether it is known what the statements look at. */
    bool read(const lysc_node *node)
    {
        lysc_must *musts = lysc_node_musts(node);
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(musts, i)
        {
            if (!read(node, musts[i])) {
                return false;
            }
        }
        return true;
    }

    const std::vector<const lysc_node *> &nodes() const { return m_nodes; }

private:
    bool read(const lysc_node *node, const lysc_must &must)
    {
        ly_set *found = nullptr;
        const auto result = lys_find_expr_atoms(node, node->module, must.cond, must.prefixes,
                                                LYS_FIND_XP_SCHEMA, &found);
        const std::unique_ptr<ly_set, FreeSet> atoms(found);
        if (result != LY_SUCCESS || std::strstr(lyxp_get_expr(must.cond), "deref") != nullptr) {
            return false;
        }
        for (std::uint32_t i = 0; i < atoms->count; ++i) {
            if (!is_at_or_below(atoms->snodes[i], node)) {
                m_nodes.push_back(atoms->snodes[i]);
            }
        }
        return true;
    }

    std::vector<const lysc_node *> m_nodes;
};

} // namespace

bool is_supplied(const lysc_node *node)
{
    switch (node->nodetype) {
    case LYS_CONTAINER:
        return (node->flags & LYS_PRESENCE) == 0;
    case LYS_LEAF:
        return reinterpret_cast<const lysc_node_leaf *>(node)->dflt != nullptr;
    case LYS_LEAFLIST:
        return reinterpret_cast<const lysc_node_leaflist *>(node)->dflts != nullptr;
    default:
        return false;
    }
}

ModelRules read_rules(const Schema &schema, const std::vector<std::unique_ptr<SchemaNode>> &nodes)
{
    ModelRules rules;
    rules.are_covered = !schema.has_when();
    rules.top_constraints = constraints_below(schema, nullptr);
    FarReads far;
    for (const auto &node : nodes) {
        rules.are_covered = rules.are_covered && is_covered(node->yang) && far.read(node->yang);
        node->has_musts = lysc_node_musts(node->yang) != nullptr;
        if (node->is_container() || node->is_list()) {
            node->constraints = constraints_below(schema, node->yang);
            node->supplied = supplied_below(node->yang);
        }
    }
    for (const auto &node : nodes) {
        node->is_read_afar =
            std::any_of(far.nodes().begin(), far.nodes().end(), [&node](const lysc_node *read) {
                return is_at_or_below(read, node->yang) || is_at_or_below(node->yang, read);
            });
    }
    return rules;
}

} // namespace engine
