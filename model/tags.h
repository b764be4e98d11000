/**
 * @file
 * Numbers of node names, as the card's library compares them.
 */
#pragma once

#include <cstdint>
#include <string_view>

namespace model
{

/** Number of the model's namespace. */
inline constexpr std::uint32_t kNamespaceTag = 864307902;

/**
 * Number of a node name, wherever the name stands in the model.
 *
 * Some are fixed: installed libraries compare with them. Every other name gets its 32-bit FNV-1a
 * hash (offset basis 2166136261, prime 16777619) without the top bit, so that it is below 2^31.
 */
std::uint32_t tag_of(std::string_view name);

} // namespace model
