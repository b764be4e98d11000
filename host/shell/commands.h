/**
 * @file
 * What the commands do.
 */
#pragma once

#include "shell/shell.h"

namespace host::shell
{

/** The command takes more words than the line has, or fewer. */
struct WrongWords {
    bool are_too_few = false;
};

/** As Command::run. @throws WrongWords, CommandError */
Result run_set(Shell &shell, const CommandLine &line);
Result run_delete(Shell &shell, const CommandLine &line);
Result run_move(Shell &shell, const CommandLine &line);
Result run_edit(Shell &shell, const CommandLine &line);
Result run_up(Shell &shell, const CommandLine &line);
Result run_top(Shell &shell, const CommandLine &line);
Result run_show(Shell &shell, const CommandLine &line);
Result run_validate(Shell &shell, const CommandLine &line);
Result run_commit(Shell &shell, const CommandLine &line);
Result run_rollback(Shell &shell, const CommandLine &line);
Result run_load(Shell &shell, const CommandLine &line);
Result run_save(Shell &shell, const CommandLine &line);
Result run_explain(Shell &shell, const CommandLine &line);
Result run_headroom(Shell &shell, const CommandLine &line);
Result run_history(Shell &shell, const CommandLine &line);
Result run_help(Shell &shell, const CommandLine &line);
Result run_exit(Shell &shell, const CommandLine &line);

} // namespace host::shell
