#include "engine/data/tree_view.h"

#include "engine/data/error.h"

#include <algorithm>

namespace engine
{

const lyd_node *TreeView::find_node(const Path &path) const
{
    const lyd_node *parent = find_parent(path);
    const std::size_t last = path.steps.size() - 1;
    const bool is_whole_list = path.schema()->is_list() && path.steps.back().keys.empty();
    return is_whole_list || (parent == nullptr && last > 0) ? nullptr : step(parent, path, last);
}

const lyd_node *TreeView::find_parent(const Path &path) const
{
    const lyd_node *node = nullptr;
    for (std::size_t i = 0; i + 1 < path.steps.size(); ++i) {
        node = step(node, path, i);
        if (node == nullptr) {
            return nullptr;
        }
    }
    return node;
}

std::string TreeView::missing_above(const Path &path) const
{
    const lyd_node *node = nullptr;
    bool is_there = true;
    Path above;
    for (std::size_t i = 0; i + 1 < path.steps.size(); ++i) {
        const SchemaNode &schema = *path.steps[i].node;
        above.steps.push_back(path.steps[i]);
        node = is_there ? step(node, path, i) : nullptr;
        is_there = node != nullptr;
        // A plain container always is there in meaning, whether the tree has it or not.
        if (!is_there && (schema.is_list() || schema.is_presence())) {
            return above.text();
        }
    }
    return {};
}

std::size_t TreeView::count(const lyd_node *parent, const SchemaNode &list) const
{
    std::size_t count = 0;
    for (const lyd_node *entry = first_instance(m_tree.root(), parent, list); entry != nullptr;
         entry = next_instance(entry)) {
        ++count;
    }
    const auto *touched = m_log != nullptr ? m_log->touched(parent) : nullptr;
    if (touched == nullptr) {
        return count;
    }
    const auto is_entry = [&list](const lyd_node *node) { return node->schema == list.yang; };
    const auto came =
        std::count_if(touched->created.begin(), touched->created.end(), [&](const lyd_node *node) {
            return is_entry(node) && !m_log->is_removed(node);
        });
    const auto went = std::count_if(touched->removed.begin(), touched->removed.end(), is_entry);
    return count + static_cast<std::size_t>(went - came);
}

const lyd_node *TreeView::counterpart(const lyd_node *node) const
{
    const lyd_node *above = lyd_parent(node);
    const lyd_node *parent = above != nullptr ? counterpart(above) : nullptr;
    if (above != nullptr && parent == nullptr) {
        return nullptr;
    }
    return child(parent, {Schema::of(node), key_texts(node)});
}

const lyd_node *TreeView::child(const lyd_node *parent, const Path::Step &step) const
{
    const auto *touched = m_log != nullptr ? m_log->touched(parent) : nullptr;
    if (touched != nullptr && step.node->is_leaf_list()) {
        const auto entries = m_log->entries_before(parent, *step.node);
        return entries.empty() ? nullptr : entries.front();
    }
    if (touched != nullptr) {
        const auto removed = touched->removed_by_key.find(UndoLog::key_of(*step.node, step.keys));
        if (removed != touched->removed_by_key.end()) {
            return removed->second;
        }
    }
    const auto *node = find_child(parent != nullptr ? lyd_child(parent) : m_tree.root(), step);
    return node != nullptr && touched != nullptr && m_log->is_created(node) ? nullptr : node;
}

/** @throws Error  CONFD_ERR_BADPATH  The step is a list without keys. */
const lyd_node *TreeView::step(const lyd_node *parent, const Path &path, std::size_t number) const
{
    const Path::Step &step = path.steps[number];
    if (step.node->is_list() && step.keys.empty()) {
        throw Error(CONFD_ERR_BADPATH, "bad path " + path.text() + ": the keys of " +
                                           step.node->name + " are missing");
    }
    return child(parent, step);
}

} // namespace engine
