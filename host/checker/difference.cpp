#include "checker/difference.h"

#include "engine/data/path.h"

namespace host
{
namespace
{

using engine::Change;
using engine::ChangeKind;
using engine::Schema;
using engine::SchemaNode;
using Kind = Difference::Kind;
using Nodes = std::vector<const lyd_node *>;

bool is_supplied(const lyd_node *node)
{
    return (node->flags & LYD_DEFAULT) != 0;
}

std::string step_of(const lyd_node *node)
{
    const SchemaNode &schema = *Schema::of(node);
    return schema.name + (schema.is_list() ? engine::braces(engine::key_texts(node)) : "");
}

Nodes entries_from(const lyd_node *first)
{
    Nodes entries;
    for (; first != nullptr; first = engine::next_instance(first)) {
        entries.push_back(first);
    }
    return entries;
}

/** @param entries  Of a leaf-list, if they are not those in the tree. */
std::vector<std::string> values_of(const SchemaNode &schema, const lyd_node *node,
                                   const Nodes &entries = {}, bool shows_secrets = false)
{
    std::vector<std::string> values;
    const bool has_value = schema.is_leaf_list() || (schema.is_leaf() && !schema.is_empty_leaf());
    if (node != nullptr && has_value) {
        const auto nodes = !schema.is_leaf_list() ? Nodes{node}
                           : entries.empty()      ? entries_from(node)
                                                  : entries;
        for (const auto *one : nodes) {
            const bool is_masked = engine::is_secret(schema) && !shows_secrets;
            values.emplace_back(is_masked ? engine::kMaskedValue : lyd_get_value(one));
        }
    }
    return values;
}

Difference whole(const lyd_node *node, Kind kind, bool shows_secrets = false,
                 const Nodes &entries = {});

/** All below a node that came or went with it. */
std::vector<Difference> all_below(const lyd_node *node, Kind kind, bool shows_secrets)
{
    std::vector<Difference> below;
    const SchemaNode *last = nullptr;
    for (const auto *child = lyd_child_no_keys(node); child != nullptr; child = child->next) {
        const SchemaNode &schema = *Schema::of(child);
        const bool is_told = schema.is_leaf_list() && &schema == last;
        last = &schema;
        if (!is_told && !is_supplied(child)) {
            below.push_back(whole(child, kind, shows_secrets));
        }
    }
    return below;
}

Difference whole(const lyd_node *node, Kind kind, bool shows_secrets, const Nodes &entries)
{
    const SchemaNode &schema = *Schema::of(node);
    Difference difference;
    difference.kind = kind;
    difference.step = step_of(node);
    difference.is_secret = engine::is_secret(schema);
    difference.is_leaf_list = schema.is_leaf_list();
    (kind == Kind::kCreated ? difference.after : difference.before) =
        values_of(schema, node, entries, shows_secrets);
    difference.below = all_below(node, kind, shows_secrets);
    return difference;
}

/** The entry in front of another one of its list; empty: there is none. */
std::string step_before(const lyd_node *entry)
{
    const auto *before = entry->prev; // Of the first node, the last one.
    return before->next != nullptr && before->schema == entry->schema ? step_of(before) : "";
}

Difference difference_of(const Change &change)
{
    const SchemaNode &schema = *change.schema;
    if (change.kind == ChangeKind::kCreated) {
        return whole(change.after, Kind::kCreated);
    }
    if (change.kind == ChangeKind::kDeleted) {
        return whole(change.before, Kind::kDeleted, false, change.entries_before);
    }
    Difference difference;
    difference.step = step_of(change.node()); // A plain container may be on one side only.
    if (change.kind == ChangeKind::kValue) {
        difference.kind = Kind::kChanged;
        difference.before = values_of(schema, change.before, change.entries_before);
        difference.after = values_of(schema, change.after);
        difference.is_secret = engine::is_secret(schema);
        difference.is_leaf_list = schema.is_leaf_list();
        difference.is_default = is_supplied(change.after);
    } else if (change.kind == ChangeKind::kMoved) {
        difference.kind = Kind::kMoved;
        difference.behind = step_before(change.after);
    }
    difference.below = differences_of(change.children);
    return difference;
}

/** A value that YANG supplies comes and goes with what an edit says: it need not be told. */
bool is_untold(const Change &change)
{
    return (change.kind == ChangeKind::kCreated || change.kind == ChangeKind::kDeleted) &&
           is_supplied(change.node());
}

void add(const std::vector<Difference> &differences, DifferenceCounts &counts)
{
    for (const auto &difference : differences) {
        switch (difference.kind) {
        case Kind::kCreated:
            ++counts.created;
            continue;
        case Kind::kDeleted:
            ++counts.deleted;
            continue;
        case Kind::kChanged:
            ++counts.changed;
            break;
        case Kind::kMoved:
            ++counts.moved;
            break;
        case Kind::kInside:
            break;
        }
        add(difference.below, counts);
    }
}

} // namespace

std::vector<Difference> differences_of(const std::vector<Change> &changes)
{
    std::vector<Difference> differences;
    for (const auto &change : changes) {
        if (!is_untold(change)) {
            differences.push_back(difference_of(change));
        }
    }
    return differences;
}

Difference contents_of(const lyd_node *node, bool shows_secrets)
{
    return whole(node, Kind::kInside, shows_secrets);
}

DifferenceCounts count(const std::vector<Difference> &differences)
{
    DifferenceCounts counts;
    add(differences, counts);
    return counts;
}

} // namespace host
