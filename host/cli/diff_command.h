/**
 * @file
 * `gpon-validate diff`: what does a change do?
 */
#pragma once

#include "cli/check_options.h"
#include "cli/console.h"

#include <optional>
#include <string>

namespace CLI
{
class App;
}

namespace host
{

struct DiffOptions {
    CheckOptions inputs;                  /**< Edits are made one on top of the other. */
    std::optional<engine::Format> format; /**< Of the candidate; nothing: as RUNNING. */
    std::string output; /**< Where the candidate is written; empty: nowhere; -: stdout. */
    bool exit_code = false;
};

/** Adds the command with its options. */
void add_diff(CLI::App &program, DiffOptions &options);

/**
 * Makes the candidate, shows what is different from the running configuration, and writes the
 * candidate where it is asked for. No rule is asked.
 * @return Exit code: 0, or 1 if there is a difference and that is asked for; 3 for faults.
 */
int run_diff(const DiffOptions &options, const Console &console);

} // namespace host
