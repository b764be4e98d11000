/**
 * @file
 * The profiles of a made-up card.
 */
#pragma once

#include "generator/card_shape.h"
#include "generator/random.h"
#include "generator/tree_writer.h"

#include <cstdint>
#include <vector>

namespace host
{

/**
 * Writes bandwidth, line and service profiles. The rates are so small that any line profile fits
 * every ONU of the card.
 * @return Number of GEM ports of each line profile; they are numbered from 1.
 */
std::vector<std::uint32_t> write_profiles(const CardShape &shape, TreeWriter &out, Random &random);

void write_tr069_profiles(TreeWriter &out);
void write_voip_profiles(TreeWriter &out);

} // namespace host
