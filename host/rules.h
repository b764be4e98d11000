/** What each rule of the card guards, in the operator's words. */
#pragma once

#include <array>
#include <string_view>

namespace host
{

struct Rule {
    std::string_view key; /**< Opaque key in the data model. */
    std::string_view guards;
};

/** In the plug-in's own order. */
extern const std::array<Rule, 23> kRules;

/** Empty for a key that is not in the table. */
std::string_view what_guards(std::string_view key);

} // namespace host
