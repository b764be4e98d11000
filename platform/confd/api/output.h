/**
 * @file
 * How texts and values get into a client's hands.
 */
#pragma once

#include "engine/data/value.h"

#include <string>

namespace api
{

/** As snprintf: cut to the buffer, with the wanted length as result. */
int print_to(char *buffer, int size, const std::string &text);

/** Lets a client own a value: from now on it counts as held. */
confd_value_t hand_out(engine::OwnedValue value);

/** Frees what a client holds. */
void take_back(confd_value_t &value);

} // namespace api
