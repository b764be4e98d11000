#include "shell/path_words.h"

#include "engine/data/closest_name.h"
#include "engine/data/error.h"
#include "engine/data/path.h"
#include "engine/data/path_reader.h"

#include <algorithm>

namespace host::shell
{
namespace
{

using engine::SchemaNode;

std::vector<std::string> names_below(const SchemaNode &node)
{
    std::vector<std::string> names;
    for (const auto *child : children_of(node)) {
        names.push_back(child->name);
    }
    return names;
}

bool is_number(const SchemaNode &key)
{
    const auto type = key.yang->nodetype == LYS_LEAF ? key.type_storage.vtype : C_NOEXISTS;
    switch (type) {
    case C_INT8:
    case C_INT16:
    case C_INT32:
    case C_INT64:
    case C_UINT8:
    case C_UINT16:
    case C_UINT32:
    case C_UINT64:
        return true;
    default:
        return false;
    }
}

/** The numbers of a key, or the key itself. */
Words values_of_key(const SchemaNode &key, const std::string &word)
{
    const auto numbers = is_number(key) ? numbers_in(word) : Words();
    return numbers.size() > 1 ? numbers : Words{word};
}

/** All entries' keys of a step. */
std::vector<Words> expanded_keys(const PathStep &step)
{
    std::vector<Words> entries{{}};
    for (std::size_t i = 0; i < step.keys.size(); ++i) {
        const Words values = values_of_key(*step.node->key_nodes[i], step.keys[i]);
        std::vector<Words> longer;
        for (const auto &keys : entries) {
            for (const auto &value : values) {
                longer.push_back(keys);
                longer.back().push_back(value);
            }
        }
        entries = std::move(longer);
    }
    return entries;
}

} // namespace

std::vector<const SchemaNode *> children_of(const SchemaNode &node)
{
    std::vector<const SchemaNode *> children;
    for (const auto *child = node.first_child(); child != nullptr; child = child->next_sibling()) {
        children.push_back(child);
    }
    return children;
}

PathSteps top_of(const engine::Schema &schema)
{
    return {{schema.tops().front(), {}}};
}

Expects PathReader::expects() const
{
    const PathStep &last = m_steps.back();
    if (last.node->is_list() && last.keys.size() < last.node->key_nodes.size()) {
        return Expects::kKey;
    }
    return last.node->is_leaf() || last.node->is_leaf_list() ? Expects::kValue : Expects::kName;
}

const SchemaNode &PathReader::next_key() const
{
    return *node().key_nodes[m_steps.back().keys.size()];
}

void PathReader::take(const std::string &word)
{
    switch (expects()) {
    case Expects::kKey:
        m_steps.back().keys.push_back(word);
        return;
    case Expects::kValue:
        throw CommandError(word + ": nothing may follow " + node().name);
    case Expects::kName:
        break;
    }
    const auto *child = node().child(word);
    if (child == nullptr || child->is_key()) {
        throw CommandError(child != nullptr ? word + " is a key, and stands behind the list's name"
                                            : word + ": there is no such node in " + node().path(),
                           child != nullptr ? "" : engine::did_you_mean(word, names_below(node())));
    }
    m_steps.push_back({child, {}});
}

std::optional<PathSteps> read_report_path(const engine::Schema &schema, const std::string &word)
{
    if (word.empty() || word.front() != '/') {
        return std::nullopt;
    }
    try {
        PathSteps steps;
        for (const auto &step : engine::read_path(schema, word)->steps) {
            steps.push_back({step.node, step.keys});
        }
        return steps;
    } catch (const engine::Error &failure) {
        throw CommandError(failure.what());
    }
}

PathSteps read_path(const engine::Schema &schema, const PathSteps &base, const Words &words)
{
    const auto start = words.empty() ? std::nullopt : read_report_path(schema, words.front());
    PathReader reader(start.value_or(base));
    for (std::size_t i = start ? 1 : 0; i < words.size(); ++i) {
        reader.take(words[i]);
    }
    return reader.steps();
}

void require_keys(const PathSteps &steps, bool allows_whole_list)
{
    for (const auto &step : steps) {
        const auto wanted = step.node->key_nodes.size();
        const bool may_be_whole = allows_whole_list && &step == &steps.back() && step.keys.empty();
        if (step.node->is_list() && step.keys.size() < wanted && !may_be_whole) {
            throw CommandError(step.node->name + " needs its key " +
                               step.node->key_nodes[step.keys.size()]->name);
        }
    }
}

std::vector<PathSteps> expanded(const PathSteps &steps)
{
    std::vector<PathSteps> paths{{}};
    for (const auto &step : steps) {
        const auto entries = expanded_keys(step);
        std::vector<PathSteps> longer;
        for (const auto &path : paths) {
            for (const auto &keys : entries) {
                longer.push_back(path);
                longer.back().push_back({step.node, keys});
            }
        }
        paths = std::move(longer);
    }
    return paths;
}

bool has_ranges(const PathSteps &steps)
{
    return std::any_of(steps.begin(), steps.end(),
                       [](const PathStep &step) { return expanded_keys(step).size() > 1; });
}

std::vector<const lyd_node *> find_nodes(const engine::Datastore &tree, const PathSteps &steps)
{
    const lyd_node *parent = nullptr;
    const lyd_node *siblings = tree.root();
    for (const auto &step : steps) {
        const bool is_last = &step == &steps.back();
        if (is_last && ((step.node->is_list() && step.keys.empty()) || step.node->is_leaf_list())) {
            std::vector<const lyd_node *> entries;
            for (const auto *entry = engine::first_instance(tree.root(), parent, *step.node);
                 entry != nullptr; entry = engine::next_instance(entry)) {
                entries.push_back(entry);
            }
            return entries;
        }
        const bool has_keys = step.keys.size() == step.node->key_nodes.size();
        parent = has_keys ? engine::find_child(siblings, {step.node, step.keys}) : nullptr;
        if (parent == nullptr) {
            return {};
        }
        siblings = lyd_child(parent);
    }
    return {parent};
}

std::string words_of(const PathSteps &steps)
{
    std::string text;
    for (std::size_t i = 1; i < steps.size(); ++i) {
        text += (text.empty() ? "" : " ") + steps[i].node->name;
        for (const auto &key : steps[i].keys) {
            text += " " + quoted(key);
        }
    }
    return text;
}

PathSteps steps_of(const lyd_node *node)
{
    PathSteps steps;
    for (; node != nullptr; node = lyd_parent(node)) {
        const SchemaNode &schema = *engine::Schema::of(node);
        steps.push_back({&schema, schema.is_list() ? engine::key_texts(node) : Words()});
    }
    std::reverse(steps.begin(), steps.end());
    return steps;
}

} // namespace host::shell
