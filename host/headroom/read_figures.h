/**
 * @file
 * Reads how full a card is.
 */
#pragma once

#include "engine/session/framework.h"
#include "headroom/figures.h"

namespace host
{

/**
 * Reads the figures of a transaction's candidate. The sums of a link are those of the bandwidth
 * check. Capacities are those of the card in use.
 */
Figures read_figures(const engine::Transaction &transaction);

} // namespace host
