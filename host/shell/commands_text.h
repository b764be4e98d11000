/**
 * @file
 * Configurations and differences as commands that make them.
 */
#pragma once

#include "engine/data/changes.h"
#include "shell/command_line.h"

#include <string>
#include <vector>

namespace host::shell
{

/** How secrets are told. */
enum class Secrets { kMasked, kShown };

/** The commands that make a node with all in it, as it is, without values that YANG supplies. */
void add_commands(const lyd_node *node, Secrets secrets, Words &commands);

/** The commands that make the candidate of what is committed. */
void add_commands(const std::vector<engine::Change> &changes, Secrets secrets, Words &commands);

} // namespace host::shell
