/**
 * @file
 * Steps through a configuration.
 */
#pragma once

#include "engine/schema/yang.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace host
{

/** The first child of that name; null when there is none, or no node. */
inline const lyd_node *child(const lyd_node *node, std::string_view name)
{
    for (const lyd_node *each = node != nullptr ? lyd_child(node) : nullptr; each != nullptr;
         each = each->next) {
        if (name == each->schema->name) {
            return each;
        }
    }
    return nullptr;
}

/** The node below, name by name; null when one is missing. */
template <typename... Names>
const lyd_node *below(const lyd_node *node, Names... names)
{
    ((node = child(node, names)), ...);
    return node;
}

/** Calls a function with each child of that name, in their order. */
template <typename Function>
void for_each_child(const lyd_node *node, std::string_view name, const Function &function)
{
    for (const lyd_node *each = child(node, name); each != nullptr; each = each->next) {
        if (name == each->schema->name) {
            function(each);
        }
    }
}

/** Value of a leaf; empty where there is none. */
inline std::string value(const lyd_node *leaf)
{
    return leaf != nullptr ? lyd_get_value(leaf) : "";
}

inline std::uint32_t number(const lyd_node *leaf)
{
    return leaf != nullptr
               ? static_cast<std::uint32_t>(std::strtoul(lyd_get_value(leaf), nullptr, 10))
               : 0;
}

} // namespace host
