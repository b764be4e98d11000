/**
 * @file
 * The program gpon-validate: its command line, and the command that it names.
 */
#pragma once

#include "cli/console.h"

namespace host
{

/** @return Exit code: see Result. */
int run_program(int argc, const char *const *argv, const Console &console);

} // namespace host
