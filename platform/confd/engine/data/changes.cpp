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
using Entries = std::vector<const lyd_node *>;

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

Entries entries_of(Run run)
{
    Entries entries;
    for (; run.first != run.end; run.first = run.first->next) {
        entries.push_back(run.first);
    }
    return entries;
}

void add(const SchemaNode &schema, ChangeKind kind, const lyd_node *before, const lyd_node *after,
         Changes &changes)
{
    changes.push_back({&schema, kind, before, after});
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

/** Gathers changes, level by level. */
class Comparison
{
public:
    /** @param log  Of a change in place; null: the configurations have no node in common. */
    explicit Comparison(const UndoLog *log = nullptr) : m_log(log) {}

    void runs(const SchemaNode &schema, Run before, Run after, Changes &changes) const;
    /** What came and went below a node that is in both (null: at the top). */
    Changes touched_below(const lyd_node *parent) const;

private:
    /** What came and went of one schema node below a node that is in both. */
    struct Touched {
        Entries created;
        Entries removed;
        Entries inner;
    };

    void inside(const SchemaNode &schema, const lyd_node *before, const lyd_node *after,
                ChangeKind kind, Changes &changes) const;
    void leaves(const SchemaNode &schema, const lyd_node *before, const lyd_node *after,
                Changes &changes) const;
    void leaf_lists(const SchemaNode &schema, const Entries &before, const Entries &after,
                    Changes &changes) const;
    void containers(const SchemaNode &schema, const lyd_node *before, const lyd_node *after,
                    Changes &changes) const;
    void sorted_lists(const SchemaNode &schema, Run before, Run after, Changes &changes) const;
    void user_ordered_lists(const SchemaNode &schema, const Entries &before, const Entries &after,
                            Changes &changes) const;
    void touched_runs(const SchemaNode &schema, const lyd_node *parent, Touched touched,
                      Changes &changes) const;
    void touched_entries(const SchemaNode &schema, Touched &&touched, Changes &changes) const;

    const UndoLog *m_log;
};

/**
 * Compares what is below a node, in one pass over both sides: both have their nodes in schema
 * order. Either side may be missing. Without changes there, only a move is worth telling.
 */
void Comparison::inside(const SchemaNode &schema, const lyd_node *before, const lyd_node *after,
                        ChangeKind kind, Changes &changes) const
{
    Changes below;
    if (before == after) {
        below = touched_below(before);
    } else {
        const lyd_node *old_child = lyd_child_no_keys(before);
        const lyd_node *new_child = lyd_child_no_keys(after);
        for (const auto *child = schema.first_child(); child; child = child->next_sibling()) {
            const Run old_run = run_of(*child, old_child);
            const Run new_run = run_of(*child, new_child);
            runs(*child, old_run, new_run, below);
            old_child = old_run.end;
            new_child = new_run.end;
        }
    }
    if (!below.empty() || kind == ChangeKind::kMoved) {
        changes.push_back({&schema, kind, before, after, {}, std::move(below)});
    }
}

void Comparison::leaves(const SchemaNode &schema, const lyd_node *before, const lyd_node *after,
                        Changes &changes) const
{
    if (before == nullptr) {
        add(schema, ChangeKind::kCreated, nullptr, after, changes);
    } else if (after == nullptr) {
        add(schema, ChangeKind::kDeleted, before, nullptr, changes);
    } else if (!same_value(before, after)) {
        add(schema, ChangeKind::kValue, before, after, changes);
    }
}

void Comparison::leaf_lists(const SchemaNode &schema, const Entries &before, const Entries &after,
                            Changes &changes) const
{
    if (before.empty() || after.empty()) {
        if (before.size() != after.size()) {
            leaves(schema, before.empty() ? nullptr : before.front(),
                   after.empty() ? nullptr : after.front(), changes);
            changes.back().entries_before = before;
        }
        return;
    }
    // Where the order has no meaning, an entry counts as the same wherever it stands.
    bool same = before.size() == after.size();
    for (std::size_t i = 0; same && i < before.size(); ++i) {
        same = same_value(before[i], after[i]) ||
               (!schema.is_user_ordered() && counterpart(after.front(), before[i]) != nullptr);
    }
    if (!same) {
        add(schema, ChangeKind::kValue, before.front(), after.front(), changes);
        changes.back().entries_before = before;
    }
}

void Comparison::containers(const SchemaNode &schema, const lyd_node *before, const lyd_node *after,
                            Changes &changes) const
{
    if (schema.is_presence() && (before == nullptr || after == nullptr)) {
        leaves(schema, before, after, changes);
        return;
    }
    inside(schema, before, after, ChangeKind::kInside, changes);
}

void Comparison::sorted_lists(const SchemaNode &schema, Run before, Run after,
                              Changes &changes) const
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
            inside(schema, old_entry, new_entry, ChangeKind::kInside, changes);
        }
        old_entry = order <= 0 ? old_entry->next : old_entry;
        new_entry = order >= 0 ? new_entry->next : new_entry;
    }
}

/** Deleted entries first, then the candidate's in their order. */
void Comparison::user_ordered_lists(const SchemaNode &schema, const Entries &before,
                                    const Entries &after, Changes &changes) const
{
    std::unordered_map<const lyd_node *, std::size_t> old_places; // by the entry in the candidate
    Entries old_entries;
    for (const lyd_node *entry : before) {
        const lyd_node *match = after.empty() ? nullptr : counterpart(after.front(), entry);
        if (match == nullptr) {
            add(schema, ChangeKind::kDeleted, entry, nullptr, changes);
        } else {
            old_places.emplace(match, old_entries.size());
            old_entries.push_back(entry);
        }
    }
    std::vector<std::size_t> places; // former places of the entries in both, in the new order
    for (const lyd_node *entry : after) {
        const auto found = old_places.find(entry);
        if (found != old_places.end()) {
            places.push_back(found->second);
        }
    }
    const std::vector<bool> stays = longest_increasing(places);
    std::size_t next = 0;
    for (const lyd_node *entry : after) {
        if (old_places.find(entry) == old_places.end()) {
            add(schema, ChangeKind::kCreated, nullptr, entry, changes);
            continue;
        }
        inside(schema, old_entries[places[next]], entry,
               stays[next] ? ChangeKind::kInside : ChangeKind::kMoved, changes);
        ++next;
    }
}

void Comparison::runs(const SchemaNode &schema, Run before, Run after, Changes &changes) const
{
    if (before.empty() && after.empty()) {
        return;
    }
    const auto *old_node = before.empty() ? nullptr : before.first;
    const auto *new_node = after.empty() ? nullptr : after.first;
    if (schema.is_leaf_list()) {
        leaf_lists(schema, entries_of(before), entries_of(after), changes);
    } else if (schema.is_list() && schema.is_user_ordered()) {
        user_ordered_lists(schema, entries_of(before), entries_of(after), changes);
    } else if (schema.is_list()) {
        sorted_lists(schema, before, after, changes);
    } else if (schema.is_container()) {
        containers(schema, old_node, new_node, changes);
    } else {
        leaves(schema, old_node, new_node, changes);
    }
}

Changes Comparison::touched_below(const lyd_node *parent) const
{
    const auto *touched = m_log != nullptr ? m_log->touched(parent) : nullptr;
    if (touched == nullptr) {
        return {};
    }
    std::unordered_map<const SchemaNode *, Touched> by_schema;
    for (const lyd_node *node : touched->created) {
        Touched &here = by_schema[Schema::of(node)];
        if (!m_log->is_removed(node)) {
            here.created.push_back(node);
        }
    }
    for (const lyd_node *node : touched->removed) {
        by_schema[Schema::of(node)].removed.push_back(node);
    }
    for (const lyd_node *node : touched->inner) {
        if (!m_log->is_removed(node)) {
            by_schema[Schema::of(node)].inner.push_back(node);
        }
    }
    for (const SchemaNode *moved : touched->moved) {
        by_schema[moved];
    }
    Changes changes;
    const auto tell = [&](const SchemaNode *schema) {
        const auto found = by_schema.find(schema);
        if (found != by_schema.end()) {
            touched_runs(*schema, parent, std::move(found->second), changes);
        }
    };
    if (parent == nullptr) {
        const auto &tops = m_log->tree().schema().tops();
        std::for_each(tops.begin(), tops.end(), tell);
        return changes;
    }
    for (const auto *child = Schema::of(parent)->first_child(); child != nullptr;
         child = child->next_sibling()) {
        tell(child);
    }
    return changes;
}

void Comparison::touched_runs(const SchemaNode &schema, const lyd_node *parent, Touched touched,
                              Changes &changes) const
{
    const auto after = [&] {
        const auto *first = first_instance(m_log->tree().root(), parent, schema);
        return entries_of(run_of(schema, first));
    };
    if (schema.is_leaf_list()) {
        leaf_lists(schema, m_log->entries_before(parent, schema), after(), changes);
    } else if (schema.is_list() && schema.is_user_ordered()) {
        user_ordered_lists(schema, m_log->entries_before(parent, schema), after(), changes);
    } else if (schema.is_list()) {
        touched_entries(schema, std::move(touched), changes);
    } else {
        const auto *same = touched.inner.empty() ? nullptr : touched.inner.front();
        const auto *before = touched.removed.empty() ? same : touched.removed.front();
        const auto *now = touched.created.empty() ? same : touched.created.front();
        if (before != nullptr || now != nullptr) {
            schema.is_container() ? containers(schema, before, now, changes)
                                  : leaves(schema, before, now, changes);
        }
    }
}

/** Of a list in key order. */
void Comparison::touched_entries(const SchemaNode &schema, Touched &&touched,
                                 Changes &changes) const
{
    const auto is_before = [&schema](const lyd_node *a, const lyd_node *b) {
        return compare_keys(schema, a, b) < 0;
    };
    auto &[created, removed, inner] = touched;
    created.insert(created.end(), inner.begin(), inner.end());
    removed.insert(removed.end(), inner.begin(), inner.end());
    std::sort(created.begin(), created.end(), is_before);
    std::sort(removed.begin(), removed.end(), is_before);
    auto old_entry = removed.begin();
    auto new_entry = created.begin();
    while (old_entry != removed.end() || new_entry != created.end()) {
        if (new_entry == created.end() ||
            (old_entry != removed.end() && is_before(*old_entry, *new_entry))) {
            add(schema, ChangeKind::kDeleted, *old_entry++, nullptr, changes);
        } else if (old_entry == removed.end() || is_before(*new_entry, *old_entry)) {
            add(schema, ChangeKind::kCreated, nullptr, *new_entry++, changes);
        } else {
            inside(schema, *old_entry++, *new_entry++, ChangeKind::kInside, changes);
        }
    }
}

} // namespace

std::vector<Change> compare(const Datastore &committed, const Datastore &candidate)
{
    Changes changes;
    const Comparison comparison;
    for (const SchemaNode *top : committed.schema().tops()) {
        comparison.runs(*top, run_of(*top, first_instance(committed.root(), nullptr, *top)),
                        run_of(*top, first_instance(candidate.root(), nullptr, *top)), changes);
    }
    return changes;
}

std::vector<Change> changes_of(const UndoLog &log)
{
    return Comparison(&log).touched_below(nullptr);
}

} // namespace engine
