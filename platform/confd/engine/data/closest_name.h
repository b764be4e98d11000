/**
 * @file
 * What somebody meant who mistyped a name.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace engine
{

/**
 * The known name that is most like the one written: letters were left out, doubled, swapped or
 * mistaken, at most one in three.
 * @return Empty when none is like it.
 */
std::string closest_name(std::string_view written, const std::vector<std::string> &known);

/** "did you mean NAME?", or nothing. */
std::string did_you_mean(std::string_view written, const std::vector<std::string> &known);

} // namespace engine
