/**
 * @file
 * The card that this process stands for, shared by both sides of the facility.
 */
#pragma once

#include "fm_host.h"

namespace fm
{

struct State {
    Card card = default_card();
    bool initialised = false; /**< By fm_init, for this card. */
};

State &state();

} // namespace fm
