/**
 * @file
 * The residential-gateway profiles of a made-up card.
 */
#pragma once

#include "generator/random.h"
#include "generator/tree_writer.h"

#include <cstdint>

namespace host
{

void write_gateway_profiles(std::uint32_t count, TreeWriter &out, Random &random);

} // namespace host
