/**
 * @file
 * How many ONUs more fit on a PON link.
 */
#pragma once

#include "headroom/figures.h"

#include <gpon_bw_limit.h>

namespace host
{

/**
 * For each line profile, how many ONUs with it can be added before the bandwidth check rejects the
 * link, or its ONUs are as many as may be. A link that is too full already has room for none.
 */
std::vector<Room> room_on(const LinkDemand &link, const Figures &figures);

} // namespace host
