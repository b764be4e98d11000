/**
 * @file
 * Edits that a program makes for each card.
 */
#pragma once

#include "engine/data/source.h"
#include "fleet/card_list.h"

#include <string>

namespace host
{

/** What reports call such an edit. */
inline constexpr const char *kEditCommandOutput = "output of --edit-command";

/**
 * The command for a card: `{running}`, `{card}` and `{name}` become words of the shell, quoted.
 */
std::string command_for(const FleetCard &card, const std::string &command);

/**
 * Runs a command with /bin/sh in a process of its own, which ends with this one and with all that
 * it started. What it writes to stdout is the edit.
 * @param limits  Largest size of the edit, and the longest time for the command.
 * @throws engine::InputError  It failed: with the last line that it wrote to stderr.
 */
engine::Source run_edit_command(const std::string &command, const engine::ReadLimits &limits);

} // namespace host
