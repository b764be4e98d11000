#include "engine/data/undo_log.h"

#include "engine/data/entries.h"
#include "engine/data/path.h"

#include <algorithm>
#include <utility>

namespace engine
{
namespace
{

bool is_entry(const lyd_node *node)
{
    return (node->schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
}

bool is_user_ordered(const lyd_node *node)
{
    return (node->schema->flags & LYS_ORDBY_USER) != 0;
}

/** A loose node must not be taken for one of the siblings below its former parent. */
void forget_parent(lyd_node *node)
{
    node->parent = nullptr;
}

} // namespace

void UndoLog::insert(lyd_node *node, lyd_node *parent)
{
    if (parent != nullptr && is_inside_created(parent)) {
        link(node, parent);
        return;
    }
    save_flags(parent);
    link(node, parent);
    note({Kind::kCreated, node, parent, nullptr, nullptr});
}

void UndoLog::remove(lyd_node *node)
{
    lyd_node *parent = lyd_parent(node);
    if (parent != nullptr && is_inside_created(parent)) {
        lyd_free_tree(node);
        return;
    }
    if (m_touched.count(node) != 0) {
        undo_inside(node); // It goes as it was.
    }
    const bool exact = !is_entry(node) || is_user_ordered(node);
    const auto stays = [&](const lyd_node *other) { return exact || !is_created(other); };
    lyd_node *before = previous_entry(node);
    lyd_node *behind = following_entry(node);
    while (before != nullptr && !stays(before)) {
        before = previous_entry(before);
    }
    while (behind != nullptr && !stays(behind)) {
        behind = following_entry(behind);
    }
    save_flags(parent);
    note({Kind::kRemoved, node, parent, before, behind});
    unlink(node);
    node->parent = reinterpret_cast<lyd_node_inner *>(parent);
}

void UndoLog::move(lyd_node *node, lyd_node *sibling, bool before)
{
    lyd_node *parent = lyd_parent(node);
    if (parent == nullptr || !is_inside_created(parent)) {
        note({Kind::kMoved, node, parent, previous_entry(node), following_entry(node)});
    }
    place_entry(node, sibling, before);
    m_tree.m_root = lyd_first_sibling(m_tree.m_root);
}

void UndoLog::undo()
{
    if (m_records.empty()) {
        return;
    }
    while (!m_records.empty()) {
        const Record record = m_records.back();
        m_records.pop_back();
        undo(record);
    }
    for (const auto &[node, flags] : m_flags) {
        node->flags = (node->flags & ~static_cast<std::uint32_t>(LYD_DEFAULT)) | flags;
    }
    m_flags.clear();
    m_touched.clear();
    m_created.clear();
    m_removed.clear();
}

void UndoLog::keep()
{
    for (const Record &record : m_records) {
        if (record.kind == Kind::kRemoved) {
            forget_parent(record.node);
            lyd_free_tree(record.node);
        }
    }
    m_records.clear();
    m_flags.clear();
    m_touched.clear();
    m_created.clear();
    m_removed.clear();
}

const UndoLog::Touched *UndoLog::touched(const lyd_node *parent) const
{
    const auto found = m_touched.find(parent);
    return found != m_touched.end() ? &found->second : nullptr;
}

std::vector<const lyd_node *> UndoLog::entries_before(const lyd_node *parent,
                                                      const SchemaNode &list) const
{
    std::vector<const lyd_node *> entries;
    const lyd_node *siblings = parent != nullptr ? lyd_child(parent) : m_tree.root();
    lyd_node *first = nullptr;
    if (siblings != nullptr) {
        lyd_find_sibling_val(siblings, list.yang, nullptr, 0, &first);
    }
    for (const lyd_node *entry = first; entry != nullptr; entry = following_entry(entry)) {
        entries.push_back(entry);
    }
    for (auto record = m_records.rbegin(); record != m_records.rend(); ++record) {
        if (record->parent != parent || record->node->schema != list.yang) {
            continue;
        }
        entries.erase(std::remove(entries.begin(), entries.end(), record->node), entries.end());
        if (record->kind == Kind::kCreated) {
            continue;
        }
        auto at = std::find(entries.begin(), entries.end(), record->behind);
        if (at == entries.end() && record->before != nullptr) {
            at = std::find(entries.begin(), entries.end(), record->before);
            at = at != entries.end() ? std::next(at) : at;
        }
        entries.insert(at, record->node);
    }
    return entries;
}

std::string UndoLog::key_of(const SchemaNode &schema, const std::vector<std::string> &keys)
{
    std::string text = schema.name;
    for (const std::string &key : keys) {
        (text += '\0') += key;
    }
    return text;
}

bool UndoLog::is_inside_created(const lyd_node *node) const
{
    for (; !m_created.empty() && node != nullptr; node = lyd_parent(node)) {
        if (is_created(node)) {
            return true;
        }
    }
    return false;
}

void UndoLog::note(Record record)
{
    touch(record.parent);
    Touched &place = m_touched[record.parent];
    if (record.kind == Kind::kCreated) {
        m_created.insert(record.node);
        place.created.push_back(record.node);
    } else if (record.kind == Kind::kRemoved) {
        m_removed.insert(record.node);
        if (!is_created(record.node)) {
            place.removed.push_back(record.node);
            place.removed_by_key.emplace(key_of(*Schema::of(record.node), key_texts(record.node)),
                                         record.node);
        }
    }
    if (record.kind == Kind::kMoved) {
        place.moved.push_back(Schema::of(record.node));
    }
    m_records.push_back(record);
}

/** Lets the nodes above know that there is a change below them. */
void UndoLog::touch(lyd_node *node)
{
    if (node != nullptr && m_touched.try_emplace(node).second) {
        lyd_node *above = lyd_parent(node);
        touch(above);
        m_touched[above].inner.push_back(node);
    }
}

/** Defaults come and go with what is in a container. */
void UndoLog::save_flags(lyd_node *node)
{
    for (; node != nullptr; node = lyd_parent(node)) {
        m_flags.try_emplace(node, node->flags & LYD_DEFAULT);
    }
}

void UndoLog::unlink(lyd_node *node)
{
    if (node == m_tree.m_root) {
        m_tree.m_root = node->next;
    }
    lyd_unlink_tree(node);
}

void UndoLog::link(lyd_node *node, lyd_node *parent)
{
    require_placed(parent != nullptr ? lyd_insert_child(parent, node)
                                     : lyd_insert_sibling(m_tree.m_root, node, &m_tree.m_root));
}

void UndoLog::link_back(const Record &record)
{
    if (record.behind != nullptr) {
        place_entry(record.node, record.behind, true);
        m_tree.m_root = lyd_first_sibling(m_tree.m_root);
    } else if (record.before != nullptr) {
        place_entry(record.node, record.before, false);
    } else if (record.kind == Kind::kRemoved) {
        link(record.node, record.parent);
    }
}

void UndoLog::undo(const Record &record)
{
    switch (record.kind) {
    case Kind::kCreated:
        m_created.erase(record.node);
        unlink(record.node);
        lyd_free_tree(record.node);
        break;
    case Kind::kRemoved:
        m_removed.erase(record.node);
        forget_parent(record.node);
        link_back(record);
        break;
    case Kind::kMoved:
        link_back(record);
        break;
    }
}

/** Undoes what was done below a node. */
void UndoLog::undo_inside(const lyd_node *node)
{
    const auto is_inside = [node](const lyd_node *one) {
        while (one != nullptr && one != node) {
            one = lyd_parent(one);
        }
        return one != nullptr;
    };
    std::vector<Record> others;
    for (; !m_records.empty(); m_records.pop_back()) {
        const Record record = m_records.back();
        if (is_inside(record.parent)) {
            undo(record);
        } else {
            others.push_back(record);
        }
    }
    m_records.assign(others.rbegin(), others.rend());
    for (auto touched = m_touched.begin(); touched != m_touched.end();) {
        touched = is_inside(touched->first) ? m_touched.erase(touched) : std::next(touched);
    }
}

} // namespace engine
