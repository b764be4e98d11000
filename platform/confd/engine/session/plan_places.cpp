#include "engine/session/plan_places.h"

#include "engine/data/path.h"

namespace engine
{
namespace
{

/** Whether some node of `target` at or below `node` satisfies the predicate; stops at the first. */
template <typename Predicate>
bool any_instance(const lyd_node *node, const SchemaNode &target, const Predicate &predicate)
{
    const SchemaNode *here = Schema::of(node);
    if (here == &target) {
        return predicate(node);
    }
    const SchemaNode *step = &target;
    while (step->up() != here) {
        step = step->up();
    }
    for (const lyd_node *child = first_instance(nullptr, node, *step); child != nullptr;
         child = next_instance(child)) {
        if (any_instance(child, target, predicate)) {
            return true;
        }
    }
    return false;
}

/** Plain containers exist only by what is in them, all other nodes by themselves. */
bool has_content(const lyd_node *node)
{
    const SchemaNode *schema = Schema::of(node);
    if (!schema->is_container() || schema->is_presence()) {
        return true;
    }
    for (const lyd_node *child = lyd_child(node); child != nullptr; child = child->next) {
        if (has_content(child)) {
            return true;
        }
    }
    return false;
}

} // namespace

void PlaceMarker::visit(const Change &change)
{
    const std::size_t active_above = m_active.size();
    const auto at = m_at.find(change.schema);
    if (at != m_at.end()) {
        m_active.insert(m_active.end(), at->second.begin(), at->second.end());
    }
    m_path.push_back(&change);
    if (change.kind != ChangeKind::kInside) {
        m_causes.push_back(&change);
        for (const Watch *watch : m_active) {
            touch(*watch);
        }
    }
    const auto above = m_above.find(change.schema);
    if (above != m_above.end() &&
        (change.kind == ChangeKind::kCreated || change.kind == ChangeKind::kDeleted)) {
        for (const Watch *watch : above->second) {
            touch_below(*watch, change);
        }
    }
    walk(change.children);
    m_path.pop_back();
    m_active.resize(active_above);
}

/** The change on the path is at or below the watch's target, and so below what both share. */
void PlaceMarker::touch(const Watch &watch)
{
    const lyd_node *shared = watch.common != nullptr ? m_path[watch.depth]->after : nullptr;
    if ((watch.common == nullptr || shared != nullptr) && !watch.places->has(shared)) {
        watch.places->add(shared, m_causes.size() - 1);
    }
}

/** A subtree came or went, in which the watch's target may be. */
void PlaceMarker::touch_below(const Watch &watch, const Change &change)
{
    const auto holds_target = [&watch](const lyd_node *node) {
        return any_instance(node, *watch.target, has_content);
    };
    if (watch.common == nullptr || watch.depth < m_path.size()) {
        const lyd_node *shared = watch.common != nullptr ? m_path[watch.depth]->after : nullptr;
        const bool nobody_asks = watch.common != nullptr && shared == nullptr;
        if (!nobody_asks && !watch.places->has(shared) && holds_target(change.node())) {
            touch(watch);
        }
        return;
    }
    if (change.after == nullptr) {
        return; // what shares the deleted entries is deleted as well
    }
    watch.places->expect_disorder_below(change.after);
    any_instance(change.after, *watch.common, [&](const lyd_node *shared) {
        if (holds_target(shared)) {
            watch.places->add(shared, m_causes.size() - 1);
        }
        return false;
    });
}

} // namespace engine
