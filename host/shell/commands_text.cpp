#include "shell/commands_text.h"

#include "engine/data/path.h"
#include "shell/path_words.h"

#include <algorithm>

namespace host::shell
{
namespace
{

using engine::Change;
using engine::ChangeKind;
using engine::Schema;
using engine::SchemaNode;

bool is_supplied(const lyd_node *node)
{
    return (node->flags & LYD_DEFAULT) != 0;
}

std::string path_of(const lyd_node *node)
{
    return words_of(steps_of(node));
}

std::string value_of(const lyd_node *node, Secrets secrets)
{
    const SchemaNode &schema = *Schema::of(node);
    if (schema.is_empty_leaf()) {
        return "";
    }
    const bool is_masked = engine::is_secret(schema) && secrets == Secrets::kMasked;
    return " " + quoted(is_masked ? engine::kMaskedValue : lyd_get_value(node));
}

/** Where an entry of an ordered list stands. Commands come in the order of the entries, so what
 *  stands in front is in its place already. */
void add_move(const lyd_node *entry, Words &commands)
{
    const auto *before = entry->prev; // Of the first node, the last one.
    std::string place = " first";
    if (before->next != nullptr && before->schema == entry->schema) {
        place = " after";
        for (const auto &key : engine::key_texts(before)) {
            place += " " + quoted(key);
        }
    }
    commands.push_back("move " + path_of(entry) + place);
}

void add_deletion(const lyd_node *node, Words &commands)
{
    const bool has_value = Schema::of(node)->is_leaf_list();
    commands.push_back("delete " + path_of(node) +
                       (has_value ? value_of(node, Secrets::kShown) : ""));
}

/** A leaf-list: what went, then what came. */
void add_values(const Change &change, Secrets secrets, Words &commands)
{
    const SchemaNode &schema = *change.schema;
    if (!schema.is_leaf_list()) {
        if (is_supplied(change.after)) {
            add_deletion(change.after, commands);
        } else {
            add_commands(change.after, secrets, commands);
        }
        return;
    }
    Words after;
    for (const auto *one = change.after; one != nullptr; one = engine::next_instance(one)) {
        after.emplace_back(lyd_get_value(one));
    }
    Words before;
    for (const auto *one : change.entries_before) {
        before.emplace_back(lyd_get_value(one));
    }
    const std::string path = path_of(change.node());
    const auto add = [&](const char *command, const Words &from, const Words &without) {
        for (const auto &value : from) {
            if (std::find(without.begin(), without.end(), value) == without.end()) {
                commands.push_back(command + path + " " + quoted(value));
            }
        }
    };
    add("delete ", before, after);
    add("set ", after, before);
}

void add_deletions(const std::vector<Change> &changes, Words &commands)
{
    for (const auto &change : changes) {
        if (change.kind == ChangeKind::kDeleted && !is_supplied(change.before)) {
            if (change.schema->is_leaf_list()) {
                add_values(change, Secrets::kShown, commands);
            } else {
                add_deletion(change.before, commands);
            }
        }
        add_deletions(change.children, commands);
    }
}

void add_additions(const std::vector<Change> &changes, Secrets secrets, Words &commands)
{
    for (const auto &change : changes) {
        const bool is_new = change.kind == ChangeKind::kCreated && !is_supplied(change.after);
        if (change.kind == ChangeKind::kValue || (is_new && change.schema->is_leaf_list())) {
            add_values(change, secrets, commands);
        } else if (is_new) {
            add_commands(change.after, secrets, commands);
        }
        if (change.schema->is_user_ordered() && change.schema->is_list() &&
            (is_new || change.kind == ChangeKind::kMoved)) {
            add_move(change.after, commands);
        }
        add_additions(change.children, secrets, commands);
    }
}

} // namespace

void add_commands(const lyd_node *node, Secrets secrets, Words &commands)
{
    const SchemaNode &schema = *Schema::of(node);
    if (is_supplied(node) || schema.is_key()) {
        return;
    }
    const bool is_plain = schema.is_container() && !schema.is_presence();
    const auto *first = lyd_child_no_keys(node);
    if (!is_plain && (schema.is_leaf() || schema.is_leaf_list())) {
        commands.push_back("set " + path_of(node) + value_of(node, secrets));
        return;
    }
    const std::size_t count = commands.size();
    if (schema.is_user_ordered() || schema.is_presence()) {
        commands.push_back("set " + path_of(node));
    }
    for (; first != nullptr; first = first->next) {
        add_commands(first, secrets, commands);
    }
    if (!is_plain && commands.size() == count) {
        commands.push_back("set " + path_of(node));
    }
}

void add_commands(const std::vector<Change> &changes, Secrets secrets, Words &commands)
{
    // What goes makes room at all levels first: setting a node takes away those of other cases of
    // its choice.
    add_deletions(changes, commands);
    add_additions(changes, secrets, commands);
}

} // namespace host::shell
