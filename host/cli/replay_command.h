/**
 * @file
 * `gpon-validate replay`: does a bundle's check still give the same report?
 */
#pragma once

#include "cli/console.h"

#include <cstddef>
#include <string>

namespace CLI
{
class App;
}

namespace host
{

struct ReplayOptions {
    std::string bundle;
    std::string plugin; /**< Empty: see Plugin. */
    std::size_t max_size = 0;
};

/** Adds the command with its options. */
void add_replay(CLI::App &program, ReplayOptions &options);

/**
 * Makes the check again, prints its report, and tells what differs.
 * @return Exit code: 0 if the report is the same, 1 if not, 3 for faults.
 */
int run_replay(const ReplayOptions &options, const Console &console);

} // namespace host
