#include "shell/edit_text.h"

#include "engine/data/xml_parts.h"

#include <algorithm>
#include <string_view>

namespace host::shell
{
namespace
{

using engine::SchemaNode;

constexpr const char *kDelete = "delete";

/** As text or in an attribute. */
std::string escaped(std::string_view text)
{
    std::string out;
    engine::write_escaped(out, text, engine::Where::kAttribute);
    return out;
}

/** The attribute that names an entry next to which another is put. */
std::string beside_text(const EditNode &edit)
{
    if (edit.beside.empty()) {
        return "";
    }
    std::string keys;
    for (std::size_t i = 0; i < edit.beside.size(); ++i) {
        const char quote = edit.beside[i].find('\'') == std::string::npos ? '\'' : '"';
        keys += "[" + edit.node->key_nodes[i]->name + "=" + quote + edit.beside[i] + quote + "]";
    }
    return " yang:key=\"" + escaped(keys) + "\"";
}

void print(const EditNode &edit, std::string &text, const std::string &attributes)
{
    const std::string &name = edit.node->name;
    text += "<" + name + attributes;
    text += edit.operation.empty() ? "" : " nc:operation=\"" + edit.operation + "\"";
    text += edit.place.empty() ? "" : " yang:insert=\"" + edit.place + "\"" + beside_text(edit);
    text += ">" + escaped(edit.value.value_or(""));
    for (std::size_t i = 0; i < edit.keys.size(); ++i) {
        const std::string &key = edit.node->key_nodes[i]->name;
        text += "<" + key + ">" + escaped(edit.keys[i]) + "</" + key + ">";
    }
    for (const auto &below : edit.below) {
        print(below, text, "");
    }
    text += "</" + name + ">\n";
}

bool needs_value(const SchemaNode &node)
{
    return node.is_leaf_list() || (node.is_leaf() && !node.is_empty_leaf());
}

void require_settable(const PathSteps &steps)
{
    const SchemaNode &node = *steps.back().node;
    require_keys(steps, false);
    if (needs_value(node)) {
        throw CommandError(node.name + " needs a value");
    }
    if (node.is_container() && !node.is_presence()) {
        throw CommandError(steps.size() == 1 ? "what is to be set?"
                                             : node.name + " has no value: name a node in it");
    }
}

/** Paths with values, in the order of the words. */
struct Setting {
    PathSteps steps;
    std::optional<std::string> value;
};

std::vector<Setting> read_settings(const engine::Schema &schema, const PathSteps &base,
                                   const Words &words)
{
    std::vector<Setting> settings;
    const auto start = words.empty() ? std::nullopt : read_report_path(schema, words.front());
    PathReader reader(start.value_or(base));
    bool is_told = false; // What the path leads to now stands among the settings.
    for (std::size_t i = start ? 1 : 0; i < words.size(); ++i) {
        const bool is_value = reader.expects() == Expects::kValue;
        if (is_value && reader.node().is_leaf_list()) {
            settings.push_back({reader.steps(), words[i]});
            is_told = true;
            continue;
        }
        if (is_value && !reader.node().is_empty_leaf()) {
            settings.push_back({reader.steps(), words[i]});
            reader.leave();
            is_told = true;
            continue;
        }
        if (is_value) {
            settings.push_back({reader.steps(), std::nullopt});
            reader.leave();
        }
        reader.take(words[i]);
        is_told = false;
    }
    if (!is_told) {
        require_settable(reader.steps());
        settings.push_back({reader.steps(), std::nullopt});
    }
    for (const auto &setting : settings) {
        require_keys(setting.steps, false);
        if (setting.value == engine::kMaskedValue &&
            engine::is_secret(*setting.steps.back().node)) {
            throw CommandError("*** stands in place of a secret, and is none",
                               "`show | secrets` shows it");
        }
    }
    return settings;
}

EditNode &child_of(std::vector<EditNode> &nodes, const PathStep &step)
{
    // A leaf-list has an entry for each value.
    if (nodes.empty() || nodes.back().node != step.node || nodes.back().keys != step.keys ||
        step.node->is_leaf_list()) {
        nodes.push_back({});
        nodes.back().node = step.node;
        nodes.back().keys = step.keys;
    }
    return nodes.back();
}

/** A leaf that is deleted has to be named, and one of its values will do. */
void mark_deleted(EditNode &edit, const lyd_node *node, const char *operation)
{
    edit.operation = operation;
    if (needs_value(*edit.node)) {
        edit.value = lyd_get_value(node);
    }
}

[[noreturn]] void refuse_missing(const PathSteps &steps)
{
    throw CommandError(words_of(steps) + ": there is none in the candidate");
}

bool is_set(const lyd_node *node)
{
    return (node->flags & LYD_DEFAULT) == 0;
}

/** Plain containers cannot be deleted, what is in them can. */
void delete_below(EditTree &edit, const lyd_node *node)
{
    const SchemaNode &schema = *engine::Schema::of(node);
    if (schema.is_container() && !schema.is_presence()) {
        for (const auto *child = lyd_child(node); child != nullptr; child = child->next) {
            delete_below(edit, child);
        }
    } else if (is_set(node)) {
        mark_deleted(edit.add(steps_of(node)), node, kDelete);
    }
}

} // namespace

EditNode &EditTree::add(const PathSteps &steps)
{
    auto *nodes = &m_tops;
    EditNode *node = nullptr;
    for (const auto &step : steps) {
        node = &child_of(*nodes, step);
        nodes = &node->below;
    }
    return *node;
}

std::string EditTree::text() const
{
    std::string text;
    for (const auto &top : m_tops) {
        print(top, text,
              std::string(" xmlns=\"") + top.node->yang->module->ns +
                  "\" xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\""
                  " xmlns:yang=\"urn:ietf:params:xml:ns:yang:1\"");
    }
    return text;
}

EditTree edit_of_set(const engine::Schema &schema, const PathSteps &base, const Words &words)
{
    const auto settings = read_settings(schema, base, words);
    // Leaves of one entry are added next to each other, so that it stands in the edit once.
    std::vector<std::vector<PathSteps>> paths;
    std::size_t most = 0;
    for (const auto &setting : settings) {
        paths.push_back(expanded(setting.steps));
        most = std::max(most, paths.back().size());
    }
    EditTree edit;
    for (std::size_t i = 0; i < most; ++i) {
        for (std::size_t k = 0; k < settings.size(); ++k) {
            if (i < paths[k].size()) {
                edit.add(paths[k][i]).value = settings[k].value;
            }
        }
    }
    return edit;
}

EditTree edit_of_delete(const engine::Datastore &candidate, const PathSteps &base,
                        const Words &words)
{
    Words path = words;
    std::optional<std::string> value; // Of a leaf-list.
    if (path.empty()) {
        throw CommandError("what is to be deleted?", "delete PATH");
    }
    PathSteps steps;
    try {
        steps = read_path(candidate.schema(), base, path);
    } catch (const CommandError &) {
        value = path.back();
        path.pop_back();
        steps = path.empty() ? base : read_path(candidate.schema(), base, path);
        if (!steps.back().node->is_leaf_list()) {
            throw;
        }
    }
    require_keys(steps, true);
    EditTree edit;
    for (const auto &one : expanded(steps)) {
        for (const auto *node : find_nodes(candidate, one)) {
            if (!value || *value == lyd_get_value(node)) {
                delete_below(edit, node);
            }
        }
    }
    if (edit.empty()) {
        refuse_missing(steps);
    }
    return edit;
}

EditTree edit_of_move(const engine::Datastore &candidate, const PathSteps &base, const Words &words)
{
    constexpr const char *kHint = "move PATH first|last|before KEY|after KEY";
    PathReader reader(base);
    std::size_t i = 0;
    const auto has_entry = [&reader] {
        return reader.node().is_user_ordered() && reader.expects() == Expects::kName;
    };
    while (i < words.size() && !has_entry()) {
        reader.take(words[i++]);
    }
    if (!has_entry()) {
        throw CommandError(reader.node().name + " has no order of its own",
                           "only entries of lists that a user orders can be moved");
    }
    if (i == words.size()) {
        throw CommandError("where to?", kHint);
    }
    const std::string &place = words[i];
    const Words beside(words.begin() + static_cast<std::ptrdiff_t>(i) + 1, words.end());
    const bool is_beside = place == "before" || place == "after";
    if ((!is_beside && place != "first" && place != "last") ||
        beside.size() != (is_beside ? reader.node().key_nodes.size() : 0)) {
        throw CommandError(place + " is no place", kHint);
    }
    if (find_nodes(candidate, reader.steps()).empty()) {
        refuse_missing(reader.steps());
    }
    EditTree edit;
    EditNode &moved = edit.add(reader.steps());
    moved.place = place;
    moved.beside = beside;
    return edit;
}

} // namespace host::shell
