/**
 * @file
 * The command line of the shell.
 */
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace host::shell
{

struct ShellOptions {
    std::string running; /**< A file, if there is no server. */
    std::string card;
    std::string plugin;
    std::string server; /**< A socket, or user@host:port. */
    std::string key;    /**< For SSH. */
    std::string known_hosts;
    std::string history;
    bool skip_foreign = false;
    bool no_history = false;
    bool goes_on = false;
    bool yes = false;
    bool no = false;
    int timeout_s = 60;
};

void add_options(CLI::App &app, ShellOptions &options);

} // namespace host::shell
