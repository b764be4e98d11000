#include "engine/data/model_check.h"

#include "engine/data/entries.h"
#include "engine/data/path.h"
#include "engine/data/value.h"
#include "engine/schema/yang_log.h"

#include <algorithm>

namespace engine
{
namespace
{

bool exists(const lyd_node *siblings, const lysc_node *schema)
{
    lyd_node *match = nullptr;
    return siblings != nullptr &&
           lyd_find_sibling_val(siblings, schema, nullptr, 0, &match) == LY_SUCCESS;
}

template <typename List>
bool has_right_size(const lyd_node *siblings, const List &list)
{
    lyd_node *first = nullptr;
    if (siblings != nullptr) {
        lyd_find_sibling_val(siblings, &list.node, nullptr, 0, &first);
    }
    std::size_t count = 0;
    for (const lyd_node *entry = first; entry != nullptr; entry = following_entry(entry)) {
        ++count;
    }
    return count >= list.min && (list.max == 0 || count <= list.max);
}

bool keeps_constraint(const lyd_node *siblings, const lysc_node *schema);

bool is_chosen(const lyd_node *siblings, const lysc_node *one)
{
    const lysc_node *schema = nullptr;
    while ((schema = lys_getnext(schema, one, nullptr, 0)) != nullptr) {
        if (exists(siblings, schema)) {
            return true;
        }
    }
    return false;
}

bool keeps_choice(const lyd_node *siblings, const lysc_node *choice)
{
    const lysc_node *chosen = nullptr;
    for (const auto *one = lysc_node_child(choice); one != nullptr; one = one->next) {
        if (is_chosen(siblings, one)) {
            if (chosen != nullptr) {
                return false;
            }
            chosen = one;
        }
    }
    if (chosen == nullptr) {
        return (choice->flags & LYS_MAND_TRUE) == 0;
    }
    const lysc_node *schema = nullptr;
    while ((schema = lys_getnext(schema, chosen, nullptr, LYS_GETNEXT_WITHCHOICE)) != nullptr) {
        if (!keeps_constraint(siblings, schema)) {
            return false;
        }
    }
    return true;
}

bool keeps_constraint(const lyd_node *siblings, const lysc_node *schema)
{
    switch (schema->nodetype) {
    case LYS_LIST:
        return has_right_size(siblings, *reinterpret_cast<const lysc_node_list *>(schema));
    case LYS_LEAFLIST:
        return has_right_size(siblings, *reinterpret_cast<const lysc_node_leaflist *>(schema));
    case LYS_CHOICE:
        return keeps_choice(siblings, schema);
    default:
        return (schema->flags & LYS_MAND_TRUE) == 0 || exists(siblings, schema);
    }
}

bool keep_constraints(const lyd_node *siblings, const std::vector<const lysc_node *> &constraints)
{
    return std::all_of(constraints.begin(), constraints.end(), [siblings](const lysc_node *schema) {
        return keeps_constraint(siblings, schema);
    });
}

bool keeps_musts(const lyd_node *node)
{
    lysc_must *musts = lysc_node_musts(node->schema);
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(musts, i)
    {
        ly_bool holds = 0;
        const auto result =
            lyd_eval_xpath3(node, node->schema->module, lyxp_get_expr(musts[i].cond),
                            LY_VALUE_SCHEMA_RESOLVED, musts[i].prefixes, nullptr, &holds);
        require_memory(result);
        if (result != LY_SUCCESS || holds == 0) {
            return false;
        }
    }
    return true;
}

/** Whether the node behind is the same one again. Entries in key order stand next to each other. */
bool is_repeated(const lyd_node *node)
{
    const lyd_node *next = following_entry(node);
    if (next == nullptr) {
        return false;
    }
    const SchemaNode &schema = *Schema::of(node);
    if (schema.is_user_ordered()) {
        lyd_node *match = nullptr;
        lyd_find_sibling_first(node, node, &match);
        lyd_node *other = nullptr;
        lyd_find_sibling_first(next, next, &other);
        return match != node || other != next;
    }
    if (schema.is_leaf_list()) {
        return compare_terms(node, next) == 0;
    }
    const lyd_node *key = lyd_child(node);
    const lyd_node *next_key = lyd_child(next);
    for (std::size_t i = 0; i < schema.key_nodes.size(); ++i) {
        if (compare_terms(key, next_key) != 0) {
            return false;
        }
        key = key->next;
        next_key = next_key->next;
    }
    return true; // So is a leaf or container, which has no keys.
}

/** A node with all that is below it. */
bool keeps_rules_below(const lyd_node *node)
{
    const SchemaNode *schema = Schema::of(node);
    if (schema == nullptr || (schema->has_musts && !keeps_musts(node))) {
        return false;
    }
    if (schema->first_child() == nullptr) {
        return true;
    }
    const lyd_node *children = lyd_child(node);
    if (!keep_constraints(children, schema->constraints)) {
        return false;
    }
    for (const lyd_node *child = children; child != nullptr; child = child->next) {
        if (is_repeated(child) || !keeps_rules_below(child)) {
            return false;
        }
    }
    return true;
}

} // namespace

bool keeps_rules(const Datastore &tree)
{
    if (!keep_constraints(tree.root(), tree.schema().rules().top_constraints)) {
        return false;
    }
    for (const lyd_node *node = tree.root(); node != nullptr; node = node->next) {
        if (is_repeated(node) || !keeps_rules_below(node)) {
            return false;
        }
    }
    return true;
}

bool keeps_rules(const UndoLog &log)
{
    const Datastore &tree = log.tree();
    return log.each_touched([&](const lyd_node *node, const UndoLog::Touched &touched) {
        const SchemaNode *schema = node != nullptr ? Schema::of(node) : nullptr;
        if (schema != nullptr && schema->has_musts && !keeps_musts(node)) {
            return false;
        }
        const auto &constraints =
            schema != nullptr ? schema->constraints : tree.schema().rules().top_constraints;
        const bool is_level = !touched.created.empty() || !touched.removed.empty();
        if (is_level &&
            !keep_constraints(node != nullptr ? lyd_child(node) : tree.root(), constraints)) {
            return false;
        }
        return std::all_of(touched.created.begin(), touched.created.end(),
                           [&log](const lyd_node *created) {
                               return log.is_removed(created) ||
                                      (!is_repeated(created) && keeps_rules_below(created));
                           });
    });
}

bool is_read_afar(const UndoLog &log)
{
    const auto is_read = [](const lyd_node *node) { return Schema::of(node)->is_read_afar; };
    return !log.each_touched([&](const lyd_node *, const UndoLog::Touched &touched) {
        return std::none_of(touched.created.begin(), touched.created.end(), is_read) &&
               std::none_of(touched.removed.begin(), touched.removed.end(), is_read) &&
               std::none_of(touched.moved.begin(), touched.moved.end(),
                            [](const SchemaNode *schema) { return schema->is_read_afar; });
    });
}

void apply(const UndoLog &log, ReferenceIndex &index)
{
    log.each_touched([&](const lyd_node *, const UndoLog::Touched &touched) {
        for (const lyd_node *node : touched.removed) {
            index.remove(node);
        }
        for (const lyd_node *node : touched.created) {
            if (!log.is_removed(node)) {
                index.add(node);
            }
        }
        return true;
    });
}

void take_back(const UndoLog &log, ReferenceIndex &index)
{
    log.each_touched([&](const lyd_node *, const UndoLog::Touched &touched) {
        for (const lyd_node *node : touched.created) {
            if (!log.is_removed(node)) {
                index.remove(node);
            }
        }
        for (const lyd_node *node : touched.removed) {
            index.add(node);
        }
        return true;
    });
}

} // namespace engine
