/**
 * @file
 * What a change set touches, in the terms in which reads are noted.
 */
#pragma once

#include "engine/data/changes.h"
#include "engine/session/reads.h"

#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace engine
{

/** Finds what depends on a place to some extent: the same for a read and for a change to it. */
inline std::uint64_t touch_key(PlaceId place, ReadExtent extent)
{
    const auto same = extent == ReadExtent::kAbove ? ReadExtent::kNode : extent;
    return mix_place(place, static_cast<std::uint64_t>(same));
}

/** A change set as a set of touched places, and the nodes that came and went with it. */
class ChangeScan
{
public:
    /** A node that is on one side only. */
    struct Instance {
        PlaceId place = kRootPlace;
        const lyd_node *node = nullptr;
    };
    struct Instances {
        std::vector<Instance> came;
        std::vector<Instance> went;
    };

    /** @param watched  Schema nodes whose instances are told. */
    ChangeScan(const std::vector<Change> &changes,
               const std::unordered_set<const SchemaNode *> &watched);

    bool touches(std::uint64_t key) const { return m_keys.count(key) > 0; }
    const std::unordered_set<std::uint64_t> &keys() const { return m_keys; }
    /** Of a watched node. */
    const Instances &instances(const SchemaNode &node) const;

private:
    /** A place by its keys, and through all entries of the lists from some list on. */
    using Places = std::vector<PlaceId>;

    bool visit(const Change &change, const Places &above);
    void visit_data(const lyd_node *node, const Places &above, bool has_come);
    void note_instance(const SchemaNode &schema, const Places &places, const lyd_node *node,
                       bool has_come);
    void touch(const Places &places, ReadExtent extent);

    const std::unordered_set<const SchemaNode *> &m_watched;
    std::unordered_set<std::uint64_t> m_keys;
    std::unordered_map<const SchemaNode *, Instances> m_instances;
};

} // namespace engine
