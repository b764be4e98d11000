/**
 * @file
 * The inputs of a check, kept, to check the same again.
 */
#pragma once

#include "engine/data/error.h"

#include <map>
#include <string>
#include <vector>

namespace host
{

struct InputStore {
    /** Whether inputs are taken from here instead of read. */
    bool is_read = false;
    std::map<std::string, std::string> texts; /**< By path as it was given; - is stdin. */
    std::map<std::string, std::vector<engine::Problem>> failures; /**< Of what was not read. */
    std::vector<std::string> edits; /**< What the folder or list of edits came to. */
};

} // namespace host
