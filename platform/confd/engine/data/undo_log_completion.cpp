/** What a change in place needs besides: key order, and the defaults that YANG supplies. */
#include "engine/data/defaults.h"
#include "engine/data/entries.h"
#include "engine/data/normalise.h"
#include "engine/data/undo_log.h"
#include "engine/schema/schema_rules.h"

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
        if (record.kind == Kind::kCreated && !is_removed(record.node)) {
            add_defaults_below(record.node);
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
    lyd_node *siblings = parent != nullptr ? lyd_child(parent) : m_tree.m_root;
    if (!is_supplied(schema) || find_child(siblings, schema) != nullptr) {
        return;
    }
    save_flags(parent);
    for (lyd_node *added : engine::add_default(parent, *Schema::of(schema))) {
        if (parent == nullptr) {
            link(added, nullptr);
        }
        note({Kind::kCreated, added, parent, nullptr, nullptr});
    }
}

} // namespace engine
