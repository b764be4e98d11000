/**
 * @file
 * Commands from a file or a pipe: nobody is asked.
 */
#pragma once

#include "shell/shell.h"

#include <iosfwd>

namespace host::shell
{

struct ScriptOptions {
    std::string name = "stdin"; /**< Under which failures mention the script. */
    bool goes_on = false;       /**< After a line that failed. */
};

/**
 * Runs all lines, up to the first that fails. Failures are told with their lines.
 * @return The worst that came of a line.
 */
Result run_script(Shell &shell, std::istream &in, std::ostream &err, const ScriptOptions &options);

} // namespace host::shell
