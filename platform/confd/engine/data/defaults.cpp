#include "engine/data/defaults.h"

#include "engine/data/entries.h"
#include "engine/data/normalise.h"
#include "engine/schema/schema_rules.h"

#include <string>
#include <utility>

namespace engine
{
namespace
{

bool is_plain_container(const lysc_node *schema)
{
    return schema->nodetype == LYS_CONTAINER && (schema->flags & LYS_PRESENCE) == 0;
}

/** Texts of the defaults of a leaf or leaf-list. */
std::vector<std::string> defaults_of(const lysc_node *schema)
{
    std::vector<std::string> texts;
    const auto *context = schema->module->ctx;
    if (schema->nodetype == LYS_LEAF) {
        const auto *value = reinterpret_cast<const lysc_node_leaf *>(schema)->dflt;
        if (value != nullptr) {
            texts.emplace_back(lyd_value_get_canonical(context, value));
        }
    } else if (schema->nodetype == LYS_LEAFLIST) {
        lyd_value **values = reinterpret_cast<const lysc_node_leaflist *>(schema)->dflts;
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(values, i)
        {
            texts.emplace_back(lyd_value_get_canonical(context, values[i]));
        }
    }
    return texts;
}

/** libyang takes a node that is added for one that was set: it clears the flags of those above. */
class KeepFlags
{
public:
    explicit KeepFlags(lyd_node *node)
    {
        for (; node != nullptr; node = lyd_parent(node)) {
            m_flags.emplace_back(node, node->flags);
        }
    }
    ~KeepFlags()
    {
        for (const auto &[node, flags] : m_flags) {
            node->flags = flags;
        }
    }
    KeepFlags(const KeepFlags &) = delete;
    KeepFlags &operator=(const KeepFlags &) = delete;

private:
    std::vector<std::pair<lyd_node *, std::uint32_t>> m_flags;
};

/** From the model: slower than from a pattern. */
std::vector<lyd_node *> make_default(lyd_node *parent, const SchemaNode &schema)
{
    const lysc_node &yang = *schema.yang;
    std::vector<lyd_node *> added;
    lyd_node *node = nullptr;
    const KeepFlags keep(parent);
    if (is_plain_container(&yang)) {
        require_placed(lyd_new_inner(parent, yang.module, yang.name, 0, &node));
        added.push_back(node);
    }
    for (const std::string &text : defaults_of(&yang)) {
        require_placed(lyd_new_term_canon(parent, yang.module, yang.name, text.c_str(), 0, &node));
        added.push_back(node);
    }
    for (lyd_node *one : added) {
        one->flags = LYD_DEFAULT;
        add_defaults_below(one);
    }
    return added;
}

lyd_node *find(lyd_node *siblings, const lysc_node *schema)
{
    while (siblings != nullptr && siblings->schema != schema) {
        siblings = siblings->next;
    }
    return siblings;
}

bool is_in(const lysc_node *schema, const lysc_node *above)
{
    while (schema != nullptr && schema != above) {
        schema = schema->parent;
    }
    return schema != nullptr;
}

void add_missing(lyd_node *parent, const lysc_node *schema);

/** Adds what is missing of the case that was chosen, or else of the default one. */
void add_to_choice(lyd_node *parent, const lysc_node *choice)
{
    const auto *by_default = reinterpret_cast<const lysc_node_choice *>(choice)->dflt;
    const lysc_node *chosen = by_default != nullptr ? &by_default->node : nullptr;
    for (const auto *child = lyd_child(parent); child != nullptr; child = child->next) {
        if (is_in(child->schema, choice)) {
            chosen = child->schema;
            while (chosen->parent != choice) {
                chosen = chosen->parent;
            }
            break;
        }
    }
    const lysc_node *schema = nullptr;
    while (chosen != nullptr &&
           (schema = lys_getnext(schema, chosen, nullptr, LYS_GETNEXT_WITHCHOICE)) != nullptr) {
        add_missing(parent, schema);
    }
}

void add_missing(lyd_node *parent, const lysc_node *schema)
{
    if (schema->nodetype == LYS_CHOICE) {
        add_to_choice(parent, schema);
    } else if (is_supplied(schema) && find(lyd_child(parent), schema) == nullptr) {
        add_default(parent, *Schema::of(schema));
    }
}

} // namespace

std::vector<lyd_node *> add_default(lyd_node *parent, const SchemaNode &schema)
{
    if (schema.pattern != nullptr) {
        lyd_node *copy = nullptr;
        require_placed(lyd_dup_single(schema.pattern.get(),
                                      reinterpret_cast<lyd_node_inner *>(parent),
                                      LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS, &copy));
        return {copy};
    }
    auto added = make_default(parent, schema);
    if (added.size() == 1) {
        lyd_node *copy = nullptr;
        require_placed(
            lyd_dup_single(added.front(), nullptr, LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS, &copy));
        schema.pattern.reset(copy);
    }
    return added;
}

void add_defaults_below(lyd_node *node)
{
    const SchemaNode *schema = Schema::of(node);
    if (schema == nullptr || schema->first_child() == nullptr) {
        return;
    }
    for (lyd_node *child = lyd_child_no_keys(node); child != nullptr; child = child->next) {
        add_defaults_below(child);
    }
    for (const lysc_node *supplied : schema->supplied) {
        add_missing(node, supplied);
    }
}

void add_defaults(Datastore &tree)
{
    for (lyd_node *node = tree.m_root; node != nullptr; node = node->next) {
        add_defaults_below(node);
    }
    for (const SchemaNode *top : tree.schema().tops()) {
        if (is_supplied(top->yang) && find(tree.m_root, top->yang) == nullptr) {
            for (lyd_node *added : add_default(nullptr, *top)) {
                require_placed(lyd_insert_sibling(tree.m_root, added, &tree.m_root));
            }
        }
    }
    if (tree.schema().has_leaf_list_defaults()) {
        order_by_keys(tree.m_root); // They come in the model's order.
    }
}

} // namespace engine
