/**
 * @file
 * The built-in data model.
 */
#pragma once

#include "engine/schema/schema.h"

#include <memory>

namespace host
{

/** The card's data model, loaded on the first call. @throws std::runtime_error */
const std::shared_ptr<const engine::Schema> &model_schema();

} // namespace host
