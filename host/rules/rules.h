/**
 * @file
 * What each rule of the card guards, in the operator's words; rules.json holds the facts.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host
{

/** A text that the operator may read, and what he can do then. */
struct RuleText {
    std::string text; /**< What varies stands in braces, such as {port}. */
    std::string resolve;
};

struct Rule {
    std::string key;    /**< Opaque key in the data model. */
    bool warns = false; /**< What it objects to may be confirmed. */
    std::string guards;
    std::string why;
    std::string reads;
    /** Capabilities of the card, by their names in its file, that its answers hang on. */
    std::vector<std::string> capabilities;
    std::vector<RuleText> texts;
};

/** All 23, in the plug-in's own order. */
const std::vector<Rule> &rules();

/** Null for a key that no rule has. */
const Rule *find_rule(std::string_view key);

} // namespace host
