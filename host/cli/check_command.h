/**
 * @file
 * `gpon-validate check`: is a change sound?
 */
#pragma once

#include "checker/outcome.h"
#include "cli/console.h"
#include "engine/data/source.h"
#include "report/style.h"

#include <chrono>
#include <optional>
#include <string>

namespace host
{

struct CheckOptions {
    std::string running; /**< Empty: the card has no configuration yet. */
    std::string edit;    /**< At most one of these two. */
    std::string candidate;
    std::string card;           /**< Empty: the default card. */
    std::string plugin;         /**< Empty: see Plugin. */
    std::optional<bool> answer; /**< To warnings, given beforehand. */
    bool all = false;
    bool explain = false;
    bool calls = false;
    bool json = false;
    bool check_running = false; /**< Against the data model; otherwise it is trusted. */
    bool in_process = false;
    std::chrono::seconds timeout{60}; /**< For one rule, and for a silent input; 0: none. */
    std::size_t max_size = engine::ReadLimits().max_bytes; /**< Of each input, in bytes. */
    std::optional<int> trace_level;
    std::string trace_file; /**< Empty: stderr. */
    ColorChoice color = ColorChoice::kAuto;
};

/** Checks the change, asks for confirmation if need be, and prints the report. @return Exit code.
 */
int run_check(const CheckOptions &options, const Console &console);

/** The JSON report of a check whose command line is at fault. @return Exit code. */
int report_usage_error(const std::string &message, const Console &console);

} // namespace host
