#include "engine/data/reference_index.h"

#include <functional>

namespace engine
{
namespace
{

const lyd_node *instance_above(const lyd_node *node, const SchemaNode *schema)
{
    while (schema != nullptr && node->schema != schema->yang) {
        node = lyd_parent(node);
    }
    return schema != nullptr ? node : nullptr;
}

} // namespace

std::size_t ReferenceIndex::Hash::operator()(const Key &key) const
{
    const std::hash<const void *> hash;
    constexpr std::size_t kSpread = 31;
    return (hash(key.value) * kSpread + hash(key.shared)) * kSpread + hash(key.target);
}

void ReferenceIndex::count(const lyd_node *node, int step)
{
    const SchemaNode *schema = Schema::of(node);
    if (schema == nullptr || !schema->leads_to_reference) {
        return;
    }
    for (const lyd_node *child = lyd_child(node); child != nullptr; child = child->next) {
        count(child, step);
    }
    const ReferenceTarget *named = schema->refers_to;
    if (named != nullptr) {
        count({named, instance_above(node, named->shared), lyd_get_value(node)}, &Count::leafrefs,
              step);
    }
    for (const ReferenceTarget *target : schema->referred_to_as) {
        count({target, instance_above(node, target->shared), lyd_get_value(node)}, &Count::leaves,
              step);
    }
}

void ReferenceIndex::count(const Key &key, int Count::*what, int step)
{
    const auto found = m_counts.try_emplace(key).first;
    Count &counts = found->second;
    m_dangling -= counts.is_dangling() ? 1 : 0;
    counts.*what += step;
    m_dangling += counts.is_dangling() ? 1 : 0;
    if (counts.leaves == 0 && counts.leafrefs == 0) {
        m_counts.erase(found); // The place of its text may soon be another's.
    }
}

ReferenceIndex references_of(const Datastore &tree)
{
    ReferenceIndex index;
    for (const lyd_node *node = tree.root(); node != nullptr; node = node->next) {
        index.add(node);
    }
    return index;
}

} // namespace engine
