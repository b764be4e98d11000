/**
 * @file
 * NETCONF's own YANG modules, built into the program.
 */
#pragma once

#include "card_model.h"

#include <vector>

namespace model
{

/** Those that libyang does not bring itself. */
const std::vector<YangText> &server_yang_texts();

} // namespace model
