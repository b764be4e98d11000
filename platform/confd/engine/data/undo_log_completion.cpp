/** What a change in place needs besides: key order, and the defaults that YANG supplies. */
#include "engine/data/entries.h"
#include "engine/data/normalise.h"
#include "engine/data/undo_log.h"
#include "engine/schema/yang_log.h"

#include <map>
#include <utility>

namespace engine
{
namespace
{

lyd_node *find_child(lyd_node *siblings, const lysc_node *schema)
{
    lyd_node *match = nullptr;
    if (siblings != nullptr) {
        lyd_find_sibling_val(siblings, schema, nullptr, 0, &match);
    }
    return match;
}

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

} // namespace

void UndoLog::order()
{
    std::map<std::pair<lyd_node *, const lysc_node *>, std::vector<lyd_node *>> lists;
    for (const Record &record : m_records) {
        if (record.kind != Kind::kCreated || is_removed(record.node)) {
            continue;
        }
        if (lyd_node *child = lyd_child(record.node); child != nullptr) {
            order_by_keys(child);
        }
        if (is_system_ordered(record.node)) {
            lists[{record.parent, record.node->schema}].push_back(record.node);
        }
    }
    for (const auto &[place, created] : lists) {
        order_entries(place.first, created);
    }
}

/** A few entries look for their places from the end; for many, the level is sorted. */
void UndoLog::order_entries(lyd_node *parent, const std::vector<lyd_node *> &created)
{
    constexpr std::size_t kFew = 16;
    if (created.size() <= kFew) {
        for (lyd_node *entry : created) {
            order_entry(entry);
        }
    } else if (parent == nullptr) {
        order_siblings(m_tree.m_root);
    } else {
        lyd_node *first = lyd_child(parent);
        order_siblings(first);
    }
}

void UndoLog::order_entry(lyd_node *node)
{
    lyd_node *behind = nullptr;
    for (lyd_node *other = previous_entry(node); other != nullptr && is_before(node, other);
         other = previous_entry(other)) {
        behind = other;
    }
    if (behind != nullptr) {
        place_entry(node, behind, true);
        m_tree.m_root = m_tree.m_root == behind ? node : m_tree.m_root;
    }
}

void UndoLog::add_defaults()
{
    std::vector<lyd_node *> places;
    const std::size_t count = m_records.size(); // Defaults come with those that they need.
    for (std::size_t i = 0; i < count; ++i) {
        const Record &record = m_records[i];
        if (places.empty() || places.back() != record.parent) {
            places.push_back(record.parent);
        }
        if (record.kind == Kind::kCreated && !is_removed(record.node) &&
            (record.node->schema->nodetype & LYD_NODE_INNER) != 0) {
            require_memory(lyd_new_implicit_tree(record.node, LYD_IMPLICIT_NO_STATE, nullptr));
        }
    }
    for (lyd_node *parent : places) {
        complete(parent, parent != nullptr ? parent->schema : nullptr);
    }
}

/** @param schema_parent  Of the nodes to complete: a case, or the parent's own schema node. */
void UndoLog::complete(lyd_node *parent, const lysc_node *schema_parent)
{
    const auto *module = m_tree.schema().module()->compiled;
    const lysc_node *schema = nullptr;
    while ((schema = lys_getnext(schema, schema_parent, module, LYS_GETNEXT_WITHCHOICE)) !=
           nullptr) {
        if ((schema->flags & LYS_CONFIG_R) != 0) {
            continue;
        }
        if (schema->nodetype == LYS_CHOICE) {
            settle_choice(parent, schema);
        } else {
            add_default(parent, schema);
        }
    }
}

/** Of the cases without anything set, the default one stays if no other was chosen. */
void UndoLog::settle_choice(lyd_node *parent, const lysc_node *choice)
{
    const auto siblings = [&] { return parent != nullptr ? lyd_child(parent) : m_tree.root(); };
    const auto *cases = reinterpret_cast<const lysc_node_choice *>(choice)->cases;
    const lysc_node *chosen = nullptr;
    std::vector<lyd_node *> defaults;
    for (const lysc_node *one = &cases->node; one != nullptr; one = one->next) {
        const lysc_node *schema = nullptr;
        while ((schema = lys_getnext(schema, one, nullptr, 0)) != nullptr) {
            lyd_node *node = find_child(siblings(), schema);
            chosen = node != nullptr && (node->flags & LYD_DEFAULT) == 0 ? one : chosen;
            if (node != nullptr) {
                defaults.push_back(node);
            }
        }
    }
    if (chosen == nullptr) {
        const auto *by_default = reinterpret_cast<const lysc_node_choice *>(choice)->dflt;
        chosen = by_default != nullptr ? &by_default->node : nullptr;
    }
    const auto is_in = [](const lysc_node *schema, const lysc_node *above) {
        while (schema != nullptr && schema != above) {
            schema = schema->parent;
        }
        return schema != nullptr;
    };
    for (lyd_node *node : defaults) {
        const lysc_node *schema = node->schema;
        if (chosen != nullptr && is_in(schema, chosen)) {
            continue;
        }
        while (lyd_node *left = find_child(siblings(), schema)) {
            remove(left);
        }
    }
    if (chosen != nullptr) {
        complete(parent, chosen);
    }
}

void UndoLog::add_default(lyd_node *parent, const lysc_node *schema)
{
    const bool is_container = is_plain_container(schema);
    const auto texts = defaults_of(schema);
    const auto *siblings = parent != nullptr ? lyd_child(parent) : m_tree.root();
    if ((!is_container && texts.empty()) ||
        find_child(const_cast<lyd_node *>(siblings), schema) != nullptr) {
        return;
    }
    save_flags(parent);
    // libyang takes the node for one that was set, as long as it does not know better.
    std::vector<std::pair<lyd_node *, std::uint32_t>> flags;
    for (lyd_node *above = parent; above != nullptr; above = lyd_parent(above)) {
        flags.emplace_back(above, above->flags);
    }
    std::vector<lyd_node *> added;
    lyd_node *node = nullptr;
    if (is_container) {
        require_placed(lyd_new_inner(parent, schema->module, schema->name, 0, &node));
        added.push_back(node);
    }
    for (const std::string &text : texts) {
        require_placed(
            lyd_new_term_canon(parent, schema->module, schema->name, text.c_str(), 0, &node));
        added.push_back(node);
    }
    for (const auto &[above, before] : flags) {
        above->flags = before;
    }
    for (lyd_node *one : added) {
        one->flags = LYD_DEFAULT;
        if (parent == nullptr) {
            link(one, nullptr);
        }
        if (is_container) {
            require_memory(lyd_new_implicit_tree(one, LYD_IMPLICIT_NO_STATE, nullptr));
        }
        note({Kind::kCreated, one, parent, nullptr, nullptr});
    }
}

} // namespace engine
