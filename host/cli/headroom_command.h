/**
 * @file
 * `gpon-validate headroom`: how full are the PON links, and what still fits?
 */
#pragma once

#include "cli/check_options.h"
#include "cli/console.h"

#include <string>

namespace CLI
{
class App;
}

namespace host
{

struct HeadroomOptions {
    CheckOptions inputs;
    std::string html; /**< Where the page is written; empty: nowhere. */
};

/** Adds the command with its options. */
void add_headroom(CLI::App &program, HeadroomOptions &options);

/**
 * Reads the figures, asks the rules about them, and prints both.
 * @return Exit code: 0 whatever the rules say, 3 for faults, 4 if the plug-in died.
 */
int run_headroom(const HeadroomOptions &options, const Console &console);

} // namespace host
