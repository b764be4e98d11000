/**
 * @file
 * What a configuration has of the things that a card limits as a whole.
 */
#pragma once

#include "engine/schema/yang.h"
#include "headroom/figures.h"

namespace host
{

/** The mappings of the fullest port of each service profile. */
std::vector<VlanFigures> read_vlans(const lyd_node *config);

/** Profiles that no leafref of the configuration names. */
std::vector<UnusedProfile> read_unused(const lyd_node *config);

/** Serial numbers of the card, and passwords of a link, that differ in case only. */
std::vector<NearCollision> read_near_collisions(const lyd_node *config);

} // namespace host
