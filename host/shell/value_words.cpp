#include "shell/value_words.h"

#include "engine/data/allowed_values.h"
#include "engine/data/path.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>

namespace host::shell
{
namespace
{

using engine::SchemaNode;

std::string one_line(const char *text)
{
    std::string line;
    for (const char *c = text != nullptr ? text : ""; *c != '\0'; ++c) {
        const bool is_blank = *c == ' ' || *c == '\n' || *c == '\t';
        if (!is_blank) {
            line += *c;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    return line;
}

void add_values(const confd_type &type, std::vector<Candidate> &values)
{
    for (const auto &member : type.members) {
        add_values(member, values);
    }
    if (type.yang == nullptr) {
        return;
    }
    if (type.yang->basetype == LY_TYPE_BOOL) {
        values.push_back({"true", ""});
        values.push_back({"false", ""});
    } else if (type.yang->basetype == LY_TYPE_ENUM) {
        const auto *enums = reinterpret_cast<const lysc_type_enum *>(type.yang)->enums;
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(enums, i)
        {
            values.push_back({enums[i].name, one_line(enums[i].dsc)});
        }
    }
}

/** Values of a leaf below the nodes that a path of schema nodes leads to. */
void collect(const lyd_node *siblings, const std::vector<const SchemaNode *> &path,
             std::size_t level, std::vector<std::string> &values)
{
    const auto *node =
        siblings != nullptr ? engine::find_child(siblings, {path[level], {}}) : nullptr;
    if (path[level]->is_list()) {
        node = engine::first_instance(
            siblings, siblings != nullptr ? lyd_parent(siblings) : nullptr, *path[level]);
    }
    for (; node != nullptr; node = engine::next_instance(node)) {
        if (level + 1 == path.size()) {
            values.emplace_back(lyd_get_value(node));
        } else {
            collect(lyd_child(node), path, level + 1, values);
        }
        if (!path[level]->is_list()) {
            break;
        }
    }
}

/** The node that a leafref's path leads to; null for a path with predicates. */
const SchemaNode *follow(const SchemaNode &leaf, std::string_view path)
{
    const SchemaNode *node = path.front() == '/' ? nullptr : &leaf;
    for (std::size_t begin = path.front() == '/' ? 1 : 0; begin < path.size();) {
        const auto end = std::min(path.find('/', begin), path.size());
        auto name = path.substr(begin, end - begin);
        name.remove_prefix(name.find(':') + 1); // Without a prefix: npos + 1, which is nothing.
        if (name == "..") {
            node = node != nullptr ? node->up() : nullptr;
        } else if (node == nullptr) {
            node = engine::Schema::of(leaf.yang->module->compiled->data);
            node = node != nullptr && node->name == name ? node : nullptr;
        } else {
            node = node->child(name);
        }
        if (node == nullptr) {
            return nullptr;
        }
        begin = end + 1;
    }
    return node;
}

/** The leaf that a leafref refers to, and whether it does so by a relative path; null: it is none.
 */
const SchemaNode *target_of(const SchemaNode &leaf, bool &is_relative)
{
    if (!leaf.is_leaf() && !leaf.is_leaf_list()) {
        return nullptr;
    }
    const auto *type = leaf.is_leaf()
                           ? reinterpret_cast<const lysc_node_leaf *>(leaf.yang)->type
                           : reinterpret_cast<const lysc_node_leaflist *>(leaf.yang)->type;
    if (type->basetype != LY_TYPE_LEAFREF) {
        return nullptr;
    }
    const std::string_view path =
        lyxp_get_expr(reinterpret_cast<const lysc_type_leafref *>(type)->path);
    is_relative = path.substr(0, 1) != "/";
    return follow(leaf, path);
}

std::vector<Candidate> targets_of(const engine::Datastore &tree, const PathSteps &steps,
                                  const SchemaNode &target, bool is_relative)
{
    std::vector<const SchemaNode *> path;
    for (const auto *node = &target; node != nullptr; node = node->up()) {
        path.push_back(node);
    }
    std::reverse(path.begin(), path.end());
    // What both paths go through is the same entry, if the leafref says so.
    PathSteps shared;
    for (std::size_t i = 0;
         is_relative && i < steps.size() && i + 1 < path.size() && steps[i].node == path[i] &&
         steps[i].keys.size() == path[i]->key_nodes.size();
         ++i) {
        shared.push_back(steps[i]);
    }
    std::vector<std::string> values;
    if (shared.empty()) {
        collect(tree.root(), path, 0, values);
    } else {
        for (const auto *node : find_nodes(tree, expanded(shared).front())) {
            collect(lyd_child(node), path, shared.size(), values);
        }
    }
    std::vector<Candidate> candidates;
    std::unordered_set<std::string_view> told;
    for (const auto &value : values) {
        if (told.insert(value).second) {
            candidates.push_back({value, ""});
        }
    }
    return candidates;
}

} // namespace

std::vector<Candidate> values_of(const engine::Datastore &tree, const PathSteps &steps,
                                 const SchemaNode &leaf)
{
    bool is_relative = false;
    if (const auto *target = target_of(leaf, is_relative)) {
        return targets_of(tree, steps, *target, is_relative);
    }
    std::vector<Candidate> values;
    add_values(leaf.type_storage, values);
    return values;
}

std::vector<Candidate> existing_keys(const engine::Datastore &tree, const PathSteps &steps)
{
    const PathStep &list = steps.back();
    const PathSteps above(steps.begin(), steps.end() - 1);
    const auto parents = find_nodes(tree, expanded(above).front());
    std::vector<Candidate> candidates;
    std::unordered_set<std::string> told;
    for (const auto *parent : parents) {
        for (const auto *entry = engine::first_instance(tree.root(), parent, *list.node);
             entry != nullptr; entry = engine::next_instance(entry)) {
            const auto *key = lyd_child(entry);
            bool is_one = true;
            for (const auto &word : list.keys) {
                is_one = is_one && word == lyd_get_value(key);
                key = key->next;
            }
            if (is_one && told.insert(lyd_get_value(key)).second) {
                candidates.push_back({lyd_get_value(key), ""});
            }
        }
    }
    return candidates;
}

std::string description_of(const SchemaNode &node)
{
    return one_line(node.yang->dsc);
}

std::string help_of(const SchemaNode &node)
{
    std::string text = description_of(node);
    if (node.is_list()) {
        std::string keys;
        for (const auto *key : node.key_nodes) {
            keys += (keys.empty() ? "" : " ") + key->name;
        }
        return text + " [" + keys + "]";
    }
    if (node.is_container() || node.is_empty_leaf()) {
        return text;
    }
    const auto allowed = engine::allowed_values(node.type_storage);
    return text + (allowed.empty() ? "" : " [" + allowed + "]");
}

} // namespace host::shell
