/**
 * @file
 * Loading a data model.
 */
#pragma once

#include "engine/schema/schema.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace engine
{

/** What the engine needs to know of a model; it knows no model itself. */
struct ModelSource {
    std::vector<YangText> texts;
    std::string main_module;
    std::uint32_t ns = 0; /**< Tag of the main module's namespace. */
    std::uint32_t (*tag_of)(std::string_view name) = nullptr;
};

/**
 * @throws std::runtime_error  The model is broken, has tags that collide, or uses what the engine
 *                             does not serve; the text says what and where.
 */
std::shared_ptr<const Schema> load_schema(const ModelSource &source);

} // namespace engine
