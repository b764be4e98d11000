/**
 * @file
 * What a type allows, in words.
 */
#pragma once

#include "engine/schema/schema.h"

#include <string>

namespace engine
{

/** What a leaf of the type takes, such as "1..128" or "one of serial-number, password". */
std::string allowed_values(const confd_type &type);

} // namespace engine
