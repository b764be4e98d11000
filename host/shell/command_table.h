/**
 * @file
 * The commands: what they do, and what people are told of them.
 */
#pragma once

#include "shell/shell.h"

#include <string>
#include <vector>

namespace host::shell
{

/** What the words behind a command are, for completion. */
enum class Argument { kNone, kPath, kSetting, kMove, kShow, kReport, kFile, kCommand, kKeywords };

struct Command {
    const char *name;
    const char *usage; /**< What stands behind the name. */
    const char *summary;
    const char *text; /**< More, for `help WORD`. */
    Argument argument;
    std::vector<std::pair<const char *, const char *>> keywords; /**< With their help. */
    Result (*run)(Shell &shell, const CommandLine &line);
};

const std::vector<Command> &commands();

/** A name that no other begins with will do when it is shortened. @throws CommandError */
const Command &find_command(const std::string &word);

} // namespace host::shell
