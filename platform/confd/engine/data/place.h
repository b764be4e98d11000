/**
 * @file
 * Places in a configuration, as numbers.
 */
#pragma once

#include "engine/schema/schema.h"

#include <cstdint>
#include <string_view>

namespace engine
{

/**
 * Stands for a path: to a node, to an entry of a list with its keys, or to all entries of a list.
 * Once a path goes through all entries of a list, it goes through all of the lists below as well.
 * Two places with the same number are possible, but so rare that it only matters that nothing goes
 * wrong by it: whoever compares places must be on the safe side when they are the same.
 */
using PlaceId = std::uint64_t;

constexpr PlaceId kRootPlace = 0x9e3779b97f4a7c15U;

inline PlaceId mix_place(PlaceId place, std::uint64_t with)
{
    constexpr std::uint64_t kFactor = 0x9fb21c651e98df25U;
    constexpr unsigned int kHalf = 32;
    place = (place ^ with) * kFactor;
    return place ^ (place >> kHalf);
}

/** A node below a place; of a list, all entries. */
inline PlaceId place_below(PlaceId above, const SchemaNode &node)
{
    return mix_place(above, node.number + 1);
}

/** Goes from all entries of a list towards one, by the next of its keys. */
PlaceId place_of_key(PlaceId place, std::string_view key);

/** An entry, by the place of its list's entries and its keys. */
PlaceId entry_place(PlaceId list, const lyd_node *entry);

/** The place of a node in a tree; null: above all. */
PlaceId place_of(const lyd_node *node);

/** A schema node, through all entries of the lists above it. */
PlaceId place_of(const SchemaNode &node);

} // namespace engine
