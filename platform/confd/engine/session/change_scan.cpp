#include "engine/session/change_scan.h"

namespace engine
{
namespace
{

using Places = std::vector<PlaceId>;

/** The places of a node below others; those of a list entry go through all entries as well. */
Places places_below(const Places &above, const SchemaNode &schema, const lyd_node *node)
{
    Places places;
    places.reserve(above.size() + 1);
    for (const PlaceId place : above) {
        places.push_back(place_below(place, schema));
    }
    if (schema.is_list()) {
        places.push_back(places.front());
        places.front() = entry_place(places.front(), node);
    }
    return places;
}

/** Entries of a leaf-list count as one node. */
bool is_further_entry(const lyd_node *node)
{
    return node->schema->nodetype == LYS_LEAFLIST && node->prev->next != nullptr &&
           node->prev->schema == node->schema;
}

} // namespace

ChangeScan::ChangeScan(const std::vector<Change> &changes,
                       const std::unordered_set<const SchemaNode *> &watched)
    : m_watched(watched)
{
    const Places root{kRootPlace};
    for (const Change &change : changes) {
        visit(change, root);
    }
    if (!changes.empty()) {
        touch(root, ReadExtent::kSubtree);
    }
}

const ChangeScan::Instances &ChangeScan::instances(const SchemaNode &node) const
{
    static const Instances kNone;
    const auto found = m_instances.find(&node);
    return found != m_instances.end() ? found->second : kNone;
}

/** @return Whether something changed that belongs to the entry around it. */
bool ChangeScan::visit(const Change &change, const Places &above)
{
    const SchemaNode &schema = *change.schema;
    if (change.kind == ChangeKind::kCreated || change.kind == ChangeKind::kDeleted) {
        visit_data(change.node(), above, change.kind == ChangeKind::kCreated);
        return !schema.is_list();
    }
    const Places places = places_below(above, schema, change.node());
    if (change.before == nullptr || change.after == nullptr) {
        note_instance(schema, places, change.node(), change.after != nullptr);
    }
    bool is_inside = change.kind != ChangeKind::kInside;
    touch(places, ReadExtent::kSubtree);
    if (is_inside) {
        touch(places, ReadExtent::kNode);
    }
    for (const Change &child : change.children) {
        is_inside = visit(child, places) || is_inside;
    }
    if (schema.is_list() && is_inside) {
        touch(places, ReadExtent::kEntry);
    }
    return is_inside && !schema.is_list();
}

void ChangeScan::visit_data(const lyd_node *node, const Places &above, bool has_come)
{
    const SchemaNode *schema = Schema::of(node);
    if (schema == nullptr) {
        return;
    }
    const Places places = places_below(above, *schema, node);
    note_instance(*schema, places, node, has_come);
    touch(places, ReadExtent::kNode);
    touch(places, ReadExtent::kEntry);
    touch(places, ReadExtent::kSubtree);
    for (const lyd_node *child = lyd_child(node); child != nullptr; child = child->next) {
        if (!is_further_entry(child)) {
            visit_data(child, places, has_come);
        }
    }
}

void ChangeScan::note_instance(const SchemaNode &schema, const Places &places, const lyd_node *node,
                               bool has_come)
{
    if (m_watched.count(&schema) > 0) {
        Instances &instances = m_instances[&schema];
        (has_come ? instances.came : instances.went).push_back({places.front(), node});
    }
}

void ChangeScan::touch(const Places &places, ReadExtent extent)
{
    for (const PlaceId place : places) {
        m_keys.insert(touch_key(place, extent));
    }
}

} // namespace engine
