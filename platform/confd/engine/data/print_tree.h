/**
 * @file
 * Trees as text.
 */
#pragma once

#include <libyang/libyang.h>

#include <cstdint>
#include <string>

namespace engine
{

/** What is printed of the nodes beside the one that is given. */
enum class Siblings { kLeftOut, kPrinted };

/**
 * Prints a tree. Unlike `lyd_print_mem` it takes no longer for each byte of a long text than of a
 * short one, whatever the allocator.
 * @param root      Null: nothing, in that format. With its siblings: one of the topmost nodes.
 * @param siblings  Whether its siblings are printed as well, from the first one on.
 * @param options   libyang's, such as LYD_PRINT_SHRINK.
 * @throws std::runtime_error  libyang cannot print it.
 */
std::string print_tree(const lyd_node *root, LYD_FORMAT format, Siblings siblings,
                       std::uint32_t options);

} // namespace engine
