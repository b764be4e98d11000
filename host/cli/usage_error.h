/**
 * @file
 * What the user is told when the command line makes no sense.
 */
#pragma once

#include "cli/console.h"

#include <CLI/CLI.hpp>

#include <string>

namespace host
{

/** What is wrong with a command line, and what helps. */
struct UsageError {
    std::string message;
    std::string hint;
};

/** A key that no rule has: names one that is like it. */
UsageError unknown_rule(const std::string &key);

/**
 * What the parser complained about. A word that it does not know comes first: what it says else
 * follows from that, and a name that is like it is told.
 */
UsageError explain(const CLI::ParseError &failure, const CLI::App &program);

/** Tells it as text, or as the JSON report of a check. @return Exit code. */
int report_usage_error(const UsageError &error, bool as_json, const Console &console);

} // namespace host
