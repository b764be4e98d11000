/**
 * @file
 * The card's data model, built into the program: no files to find at run time.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace model
{

/** Text of one YANG module or submodule. */
struct YangText {
    std::string_view name; /**< Without revision and ending. */
    std::string_view text;
};

/** The module that holds the configuration. */
inline constexpr std::string_view kMainModule = "base";

/** All modules and submodules of the model, those that it imports from libyang left out. */
const std::vector<YangText> &yang_texts();

} // namespace model
