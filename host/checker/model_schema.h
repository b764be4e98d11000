/** The built-in data model, loaded. */
#pragma once

#include "engine/schema/schema.h"

#include <memory>

namespace host
{

/** Loads the card's data model. @throws std::runtime_error */
std::shared_ptr<const engine::Schema> load_schema();

} // namespace host
