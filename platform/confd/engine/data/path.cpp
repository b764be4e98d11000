#include "engine/data/path.h"

#include "engine/data/error.h"
#include "engine/schema/yang_log.h"

namespace engine
{
namespace
{

/** First instance of a schema node among siblings, of which nearly all are found in a few steps. */
const lyd_node *first_among(const lyd_node *siblings, const SchemaNode &node,
                            EntryFinder *index = nullptr)
{
    constexpr int kFewSteps = 6;
    const lyd_node *at = siblings;
    for (int i = 0; i < kFewSteps && at != nullptr; ++i, at = at->next) {
        if (at->schema == node.yang) {
            return at;
        }
    }
    if (at == nullptr) {
        return nullptr;
    }
    return index != nullptr ? index->find_first(siblings, node) : find_first(siblings, node);
}

/** The list's probe; made from an entry, without its contents, where there is none yet. */
lyd_node *probe_of(const SchemaNode &list, const lyd_node *siblings)
{
    const lyd_node *first = list.probe == nullptr ? first_among(siblings, list) : nullptr;
    if (first != nullptr) {
        lyd_node *copy = nullptr;
        const LY_ERR result = lyd_dup_single(first, nullptr, LYD_DUP_NO_META, &copy);
        require_memory(result);
        if (result != LY_SUCCESS) {
            throw Error(CONFD_ERR_INTERNAL, "cannot look up an entry of " + list.path());
        }
        list.probe.reset(copy);
    }
    return list.probe.get();
}

/** Finds a step's node. @throws Error  CONFD_ERR_BADPATH  The step is a list without keys. */
const lyd_node *find_step(const lyd_node *siblings, const Path &path, const Path::Step &step,
                          EntryFinder *index)
{
    if (!step.node->is_list()) {
        return first_among(siblings, *step.node, index);
    }
    if (step.keys.empty()) {
        throw Error(CONFD_ERR_BADPATH, "bad path " + path.text() + ": the keys of " +
                                           step.node->name + " are missing");
    }
    if (index == nullptr) {
        return find_entry(siblings, step);
    }
    const lyd_node *first = first_among(siblings, *step.node, index);
    return first != nullptr ? index->find(first, step) : nullptr;
}

/** Finds the node of the path's first steps, as many as asked. */
const lyd_node *find_first_steps(const lyd_node *root, const Path &path, std::size_t count,
                                 EntryFinder *index)
{
    const lyd_node *node = nullptr;
    for (std::size_t i = 0; i < count; ++i) {
        node = find_step(i == 0 ? root : lyd_child(node), path, path.steps[i], index);
        if (node == nullptr) {
            return nullptr;
        }
    }
    return node;
}

std::string text_of_steps(const Path &path, std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += "/" + path.steps[i].node->name + braces(path.steps[i].keys);
    }
    return text;
}

/** Written in one piece: there are thousands of them, one for each request. */
void append_path(std::string &text, const lyd_node *node)
{
    if (node == nullptr) {
        return;
    }
    append_path(text, lyd_parent(node));
    text.append("/").append(node->schema->name);
    const bool is_entry = node->schema->nodetype == LYS_LIST;
    char separator = '{';
    for (const lyd_node *key = is_entry ? lyd_child(node) : nullptr;
         key != nullptr && lysc_is_key(key->schema); key = key->next) {
        text.append(1, separator).append(quote_key(lyd_get_value(key)));
        separator = ' ';
    }
    text.append(separator == '{' ? "" : "}");
}

} // namespace

std::vector<std::string> key_texts(const lyd_node *entry)
{
    std::vector<std::string> keys;
    if (entry->schema->nodetype == LYS_LEAFLIST) {
        keys.emplace_back(lyd_get_value(entry));
    }
    for (const lyd_node *key = lyd_child(entry); key != nullptr && lysc_is_key(key->schema);
         key = key->next) {
        keys.emplace_back(lyd_get_value(key));
    }
    return keys;
}

const lyd_node *find_child(const lyd_node *siblings, const Path::Step &step)
{
    return step.node->is_list() ? find_entry(siblings, step) : first_among(siblings, *step.node);
}

const lyd_node *find_same(const lyd_node *root, const lyd_node *node)
{
    const lyd_node *above = lyd_parent(node);
    const lyd_node *parent = above != nullptr ? find_same(root, above) : nullptr;
    if (above != nullptr && parent == nullptr) {
        return nullptr;
    }
    return find_child(parent != nullptr ? lyd_child(parent) : root,
                      {Schema::of(node), key_texts(node)});
}

std::string Path::text() const
{
    return text_of_steps(*this, steps.size());
}

const lyd_node *find_node(const lyd_node *root, const Path &path, EntryFinder *index)
{
    const std::size_t count = path.steps.size();
    const bool is_whole_list = path.schema()->is_list() && path.steps.back().keys.empty();
    const lyd_node *parent = find_first_steps(root, path, count - 1, index);
    if (is_whole_list || (parent == nullptr && count > 1)) {
        return nullptr;
    }
    return find_step(count == 1 ? root : lyd_child(parent), path, path.steps.back(), index);
}

const lyd_node *find_first(const lyd_node *siblings, const SchemaNode &node)
{
    lyd_node *match = nullptr;
    // What it answers is whether there is one.
    static_cast<void>(lyd_find_sibling_val(siblings, node.yang, nullptr, 0, &match));
    return match;
}

// A text of predicates takes longer, and needs quoting.
const lyd_node *find_entry(const lyd_node *siblings, const Path::Step &step)
{
    lyd_node *probe = probe_of(*step.node, siblings);
    if (probe == nullptr || siblings == nullptr) {
        return nullptr;
    }
    lyd_node *key = lyd_child(probe);
    for (const std::string &text : step.keys) {
        const bool is_new = text != lyd_get_value(key);
        const LY_ERR result = is_new ? lyd_change_term_canon(key, text.c_str()) : LY_SUCCESS;
        require_memory(result);
        if (result != LY_SUCCESS) {
            // A text that the key's type does not allow: no entry can have it.
            ly_err_clean(step.node->yang->module->ctx, nullptr);
            return nullptr;
        }
        key = key->next;
    }
    lyd_node *match = nullptr;
    require_memory(lyd_find_sibling_first(siblings, probe, &match));
    return match;
}

const lyd_node *find_parent(const lyd_node *root, const Path &path, EntryFinder *index)
{
    return find_first_steps(root, path, path.steps.size() - 1, index);
}

std::string missing_above(const lyd_node *root, const Path &path, EntryFinder *index)
{
    const lyd_node *siblings = root;
    for (std::size_t i = 0; i + 1 < path.steps.size(); ++i) {
        const Path::Step &step = path.steps[i];
        const lyd_node *node = find_step(siblings, path, step, index);
        // A plain container always is there in meaning, whether the tree has it or not.
        if (node == nullptr && (step.node->is_list() || step.node->is_presence())) {
            return text_of_steps(path, i + 1);
        }
        siblings = lyd_child(node);
    }
    return {};
}

const lyd_node *first_instance(const lyd_node *root, const lyd_node *parent, const SchemaNode &list)
{
    return first_among(parent != nullptr ? lyd_child(parent) : root, list);
}

const lyd_node *next_instance(const lyd_node *entry)
{
    const lyd_node *next = entry->next;
    return next != nullptr && next->schema == entry->schema ? next : nullptr;
}

std::string path_text(const lyd_node *node)
{
    std::string text;
    append_path(text, node);
    return text;
}

std::string list_path_text(const lyd_node *parent, const SchemaNode &list)
{
    return path_text(parent) + "/" + list.name;
}

std::string quote_key(const std::string &key)
{
    if (!key.empty() && key.front() != '"' && key.find_first_of(" {}") == std::string::npos) {
        return key;
    }
    std::string quoted = "\"";
    for (const char c : key) {
        quoted += c == '"' || c == '\\' ? std::string{'\\', c} : std::string(1, c);
    }
    return quoted + "\"";
}

std::string braces(const std::vector<std::string> &keys)
{
    std::string text;
    for (const std::string &key : keys) {
        text += (text.empty() ? "{" : " ") + quote_key(key);
    }
    return text.empty() ? text : text + "}";
}

} // namespace engine
