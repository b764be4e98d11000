/** Leaves that a bandwidth sum in XPath needs beside the card's own data. */
#pragma once

#include "engine/data/datastore.h"

namespace bench
{

/** Fills in guaranteed-rate and fixed-rate of each T-CONT, line profile and ONU. */
void fill_in_rates(engine::Datastore &card);

} // namespace bench
