/**
 * @file
 * Where in a candidate a point must be asked, as the changes of a transaction tell.
 */
#pragma once

#include "engine/data/changes.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <unordered_map>
#include <vector>

namespace engine
{

/** A change by its place in the order in which changes are met; a lower number came first. */
using Cause = std::size_t;
inline constexpr Cause kEveryCommit = 0;
inline constexpr Cause kNoCause = std::numeric_limits<Cause>::max();

/**
 * Where in the candidate a point must be asked: below which nodes, and why. The nodes make a tree
 * that reaches up to the root (null). They are met in document order, because changes are; only
 * several dependencies inside one created subtree break that order.
 */
class Places
{
public:
    bool has(const lyd_node *node) const { return at(node).cause != kNoCause; }

    void add(const lyd_node *node, Cause cause)
    {
        Place &place = reach(node);
        place.cause = std::min(place.cause, cause);
    }

    /** Nodes will be added below this one in any order. */
    void expect_disorder_below(const lyd_node *node) { reach(node).ordered = false; }

    struct Place {
        Cause cause = kNoCause;
        /** Nodes right below that are, or lead to, a place. */
        std::vector<const lyd_node *> below;
        /** Whether the nodes below, at all levels, are in document order. */
        bool ordered = true;
    };

    const Place &at(const lyd_node *node) const
    {
        const auto found = m_places.find(node);
        return found != m_places.end() ? found->second : none();
    }

    /** As `at`, for a node right below that of a place: most have none below. */
    const Place &below(const Place &above, const lyd_node *node) const
    {
        return above.below.empty() ? none() : at(node);
    }

private:
    static const Place &none()
    {
        static const Place kNone;
        return kNone;
    }

    Place &reach(const lyd_node *node)
    {
        const auto [found, is_new] = m_places.try_emplace(node);
        Place &place = found->second; // stays where it is when others are added
        if (is_new && node != nullptr) {
            reach(lyd_parent(node)).below.push_back(node);
        }
        return place;
    }

    std::unordered_map<const lyd_node *, Place> m_places;
};

/** A dependency of a point, prepared for the walk over the changes. */
struct Watch {
    Places *places = nullptr; /**< Of the point. */
    const SchemaNode *target = nullptr;
    const SchemaNode *common = nullptr; /**< Null: a change reaches all instances. */
    std::size_t depth = 0;              /**< Of `common`; the top is 0. */
};

/** Meets each change once and marks the places that it reaches. */
class PlaceMarker
{
public:
    explicit PlaceMarker(std::vector<Watch> watches) : m_watches(std::move(watches))
    {
        for (const Watch &watch : m_watches) {
            m_at[watch.target].push_back(&watch);
            for (const auto *above = watch.target->up(); above != nullptr; above = above->up()) {
                m_above[above].push_back(&watch);
            }
        }
    }

    PlaceMarker(const PlaceMarker &) = delete;
    PlaceMarker &operator=(const PlaceMarker &) = delete;

    void walk(const std::vector<Change> &changes)
    {
        for (const Change &change : changes) {
            visit(change);
        }
    }

    const std::vector<const Change *> &causes() const { return m_causes; }

private:
    using WatchMap = std::unordered_map<const SchemaNode *, std::vector<const Watch *>>;

    void visit(const Change &change);
    void touch(const Watch &watch);
    void touch_below(const Watch &watch, const Change &change);

    std::vector<Watch> m_watches;
    WatchMap m_at;    /**< By target. */
    WatchMap m_above; /**< By each node above the target. */

    std::vector<const Change *> m_path;  /**< The change being visited and those above it. */
    std::vector<const Watch *> m_active; /**< With a target on that path. */
    std::vector<const Change *> m_causes{nullptr}; /**< By Cause; none for kEveryCommit. */
};

} // namespace engine
