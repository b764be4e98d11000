/**
 * @file
 * Lines from somebody at a terminal.
 */
#pragma once

#include "shell/shell.h"

#include <atomic>
#include <filesystem>
#include <optional>

namespace host::shell
{

struct TerminalOptions {
    /** Keeps the lines for the next time; nothing: they are forgotten. */
    std::optional<std::filesystem::path> history;
};

/**
 * Reads and carries out lines until the end: with completion (Tab), help (?) and history. ^C drops
 * the line that is being typed, or ends the check that runs.
 * @param interrupt  Is set by ^C.
 * @return The exit code's result: accepted, unless the terminal failed.
 */
Result run_terminal(Shell &shell, const TerminalOptions &options, std::atomic<bool> &interrupt);

/** Whether the history may hold a line: none that may hold a secret. */
bool may_be_kept(const engine::Schema &schema, const std::string &line);

/** Where the history is kept if nobody says: in the folder for a user's state; nothing: there is
 *  none. */
std::optional<std::filesystem::path> default_history();

/** A question on the terminal, asked until the answer is yes or no; nothing after ^C or ^D. */
std::optional<bool> ask_at_terminal(const std::string &question);

} // namespace host::shell
