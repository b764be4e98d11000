#include "engine/data/changes.h"

#include "engine/data/path.h"
#include "engine/data/value.h"
#include "engine/schema/yang_log.h"

#include <algorithm>
#include <cstddef>
#include <unordered_map>

namespace engine
{
namespace
{

using Changes = std::vector<Change>;

/** The nodes of one schema node among siblings: from `first` to before `end`. */
struct Run {
    const lyd_node *first;
    const lyd_node *end;
    bool empty() const { return first == end; }
};

Run run_of(const SchemaNode &schema, const lyd_node *from)
{
    const lyd_node *end = from;
    while (end != nullptr && end->schema == schema.yang) {
        end = end->next;
    }
    return {from, end};
}

void add(const SchemaNode &schema, ChangeKind kind, const lyd_node *before, const lyd_node *after,
         Changes &changes)
{
    changes.push_back({&schema, kind, before, after, {}});
}

bool same_value(const lyd_node *a, const lyd_node *b)
{
    // Nearly all leaves are the same on both sides, and then libyang keeps one text for them.
    const lyd_value &value_a = reinterpret_cast<const lyd_node_term *>(a)->value;
    const lyd_value &value_b = reinterpret_cast<const lyd_node_term *>(b)->value;
    const bool is_one_text =
        value_a._canonical != nullptr && value_a._canonical == value_b._canonical;
    return (is_one_text && value_a.realtype == value_b.realtype) ||
           lyd_compare_single(a, b, 0) == LY_SUCCESS;
}

/** Orders two entries of a list by their keys. */
int compare_keys(const SchemaNode &list, const lyd_node *a, const lyd_node *b)
{
    const lyd_node *key_a = lyd_child(a);
    const lyd_node *key_b = lyd_child(b);
    for (std::size_t i = 0; i < list.key_nodes.size(); ++i) {
        const int order = compare_terms(key_a, key_b);
        if (order != 0) {
            return order;
        }
        key_a = key_a->next;
        key_b = key_b->next;
    }
    return 0;
}

/** The counterpart of a list or leaf-list entry among other siblings; null when there is none. */
const lyd_node *counterpart(const lyd_node *siblings, const lyd_node *entry)
{
    lyd_node *match = nullptr;
    const LY_ERR result =
        siblings != nullptr ? lyd_find_sibling_first(siblings, entry, &match) : LY_ENOTFOUND;
    require_memory(result);
    return result == LY_SUCCESS ? match : nullptr;
}

/** For each number whether it belongs to one longest increasing subsequence. */
std::vector<bool> longest_increasing(const std::vector<std::size_t> &numbers)
{
    constexpr auto kNone = static_cast<std::size_t>(-1);
    std::vector<std::size_t> tails; // position of the smallest last number, by length
    std::vector<std::size_t> previous(numbers.size(), kNone);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto place = std::lower_bound(
            tails.begin(), tails.end(), numbers[i],
            [&](std::size_t position, std::size_t number) { return numbers[position] < number; });
        if (place != tails.begin()) {
            previous[i] = *std::prev(place);
        }
        if (place == tails.end()) {
            tails.push_back(i);
        } else {
            *place = i;
        }
    }
    std::vector<bool> belongs(numbers.size(), false);
    for (std::size_t i = tails.empty() ? kNone : tails.back(); i != kNone; i = previous[i]) {
        belongs[i] = true;
    }
    return belongs;
}

void compare_runs(const SchemaNode &schema, Run before, Run after, Changes &changes);

/**
 * Compares what is below a node, in one pass over both sides: both have their nodes in schema
 * order. Either side may be missing. Without changes there, only a move is worth telling.
 */
void compare_inside(const SchemaNode &schema, const lyd_node *before, const lyd_node *after,
                    ChangeKind kind, Changes &changes)
{
    Changes below;
    const lyd_node *old_child = lyd_child_no_keys(before);
    const lyd_node *new_child = lyd_child_no_keys(after);
    for (const SchemaNode *child = schema.first_child(); child; child = child->next_sibling()) {
        const Run old_run = run_of(*child, old_child);
        const Run new_run = run_of(*child, new_child);
        compare_runs(*child, old_run, new_run, below);
        old_child = old_run.end;
        new_child = new_run.end;
    }
    if (!below.empty() || kind == ChangeKind::kMoved) {
        changes.push_back({&schema, kind, before, after, std::move(below)});
    }
}

void compare_leaves(const SchemaNode &schema, Run before, Run after, Changes &changes)
{
    if (before.empty()) {
        add(schema, ChangeKind::kCreated, nullptr, after.first, changes);
    } else if (after.empty()) {
        add(schema, ChangeKind::kDeleted, before.first, nullptr, changes);
    } else if (!same_value(before.first, after.first)) {
        add(schema, ChangeKind::kValue, before.first, after.first, changes);
    }
}

void compare_leaf_lists(const SchemaNode &schema, Run before, Run after, Changes &changes)
{
    if (before.empty() || after.empty()) {
        compare_leaves(schema, before, after, changes);
        return;
    }
    // Where the order has no meaning, an entry counts as the same wherever it stands.
    const lyd_node *old_entry = before.first;
    const lyd_node *new_entry = after.first;
    bool same = true;
    while (same && old_entry != before.end && new_entry != after.end) {
        same = same_value(old_entry, new_entry) ||
               (!schema.is_user_ordered() && counterpart(after.first, old_entry) != nullptr);
        old_entry = old_entry->next;
        new_entry = new_entry->next;
    }
    if (!same || old_entry != before.end || new_entry != after.end) {
        add(schema, ChangeKind::kValue, before.first, after.first, changes);
    }
}

void compare_containers(const SchemaNode &schema, Run before, Run after, Changes &changes)
{
    if (schema.is_presence() && (before.empty() || after.empty())) {
        compare_leaves(schema, before, after, changes);
        return;
    }
    compare_inside(schema, before.empty() ? nullptr : before.first,
                   after.empty() ? nullptr : after.first, ChangeKind::kInside, changes);
}

void compare_sorted_lists(const SchemaNode &schema, Run before, Run after, Changes &changes)
{
    const lyd_node *old_entry = before.first;
    const lyd_node *new_entry = after.first;
    while (old_entry != before.end || new_entry != after.end) {
        int order = 0;
        if (old_entry == before.end) {
            order = 1;
        } else if (new_entry == after.end) {
            order = -1;
        } else {
            order = compare_keys(schema, old_entry, new_entry);
        }
        if (order < 0) {
            add(schema, ChangeKind::kDeleted, old_entry, nullptr, changes);
        } else if (order > 0) {
            add(schema, ChangeKind::kCreated, nullptr, new_entry, changes);
        } else {
            compare_inside(schema, old_entry, new_entry, ChangeKind::kInside, changes);
        }
        old_entry = order <= 0 ? old_entry->next : old_entry;
        new_entry = order >= 0 ? new_entry->next : new_entry;
    }
}

/** Deleted entries first, then the candidate's in their order. */
void compare_user_ordered_lists(const SchemaNode &schema, Run before, Run after, Changes &changes)
{
    std::unordered_map<const lyd_node *, std::size_t> old_places; // by the entry in the candidate
    std::vector<const lyd_node *> old_entries;
    for (const lyd_node *entry = before.first; entry != before.end; entry = entry->next) {
        const lyd_node *match = after.empty() ? nullptr : counterpart(after.first, entry);
        if (match == nullptr) {
            add(schema, ChangeKind::kDeleted, entry, nullptr, changes);
        } else {
            old_places.emplace(match, old_entries.size());
            old_entries.push_back(entry);
        }
    }
    std::vector<std::size_t> places; // former places of the entries in both, in the new order
    for (const lyd_node *entry = after.first; entry != after.end; entry = entry->next) {
        const auto found = old_places.find(entry);
        if (found != old_places.end()) {
            places.push_back(found->second);
        }
    }
    const std::vector<bool> stays = longest_increasing(places);
    std::size_t next = 0;
    for (const lyd_node *entry = after.first; entry != after.end; entry = entry->next) {
        if (old_places.find(entry) == old_places.end()) {
            add(schema, ChangeKind::kCreated, nullptr, entry, changes);
            continue;
        }
        compare_inside(schema, old_entries[places[next]], entry,
                       stays[next] ? ChangeKind::kInside : ChangeKind::kMoved, changes);
        ++next;
    }
}

void compare_runs(const SchemaNode &schema, Run before, Run after, Changes &changes)
{
    if (before.empty() && after.empty()) {
        return;
    }
    if (schema.is_leaf_list()) {
        compare_leaf_lists(schema, before, after, changes);
    } else if (schema.is_list() && schema.is_user_ordered()) {
        compare_user_ordered_lists(schema, before, after, changes);
    } else if (schema.is_list()) {
        compare_sorted_lists(schema, before, after, changes);
    } else if (schema.is_container()) {
        compare_containers(schema, before, after, changes);
    } else {
        compare_leaves(schema, before, after, changes);
    }
}

} // namespace

std::vector<Change> compare(const Datastore &committed, const Datastore &candidate)
{
    Changes changes;
    for (const SchemaNode *top : committed.schema().tops()) {
        compare_runs(*top, run_of(*top, first_instance(committed.root(), nullptr, *top)),
                     run_of(*top, first_instance(candidate.root(), nullptr, *top)), changes);
    }
    return changes;
}

} // namespace engine
