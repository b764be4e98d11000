/**
 * @file
 * What the command line asks `gpon-validate check` for.
 */
#pragma once

#include "cli/input_store.h"
#include "engine/data/source_file.h"
#include "report/report.h"
#include "report/style.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host
{

/** A report that is asked for. */
struct ReportOption {
    ReportFormat format = ReportFormat::kText;
    std::string name; /**< Of the format, as it was given. */
    std::string file; /**< Empty: stdout. */
};

struct CheckOptions {
    std::string running;            /**< Empty: the card has no configuration yet. */
    std::vector<std::string> edits; /**< At most one of these three. */
    std::string edits_from;         /**< A folder, or - for a list on stdin. */
    std::string candidate;
    bool skip_foreign = false;     /**< Nodes of other models are skipped, not refused. */
    std::string default_operation; /**< Of edits without <edit-config>; empty: merge. */
    bool in_turn = false;          /**< Each edit on top of the one before. */
    std::string card;              /**< Empty: the default card. */
    std::string plugin;            /**< Empty: see Plugin. */
    std::optional<bool> answer;    /**< To warnings, given beforehand. */
    std::string yes; /**< As it was given; what it means stands in `answer` and the next. */
    std::vector<std::string> confirmed_rules; /**< Their warnings are confirmed, no others. */
    bool warnings_as_errors = false;
    std::vector<std::string> rule; /**< Key, and perhaps a path, of the one to ask. */
    bool all = false;
    bool differences = false; /**< The report also tells what the change does. */
    std::string shown;        /**< As --all was given; full: nothing of a long list is left out. */
    bool new_only = false;    /**< Nothing that the running configuration draws on its own. */
    bool explain = false;
    bool calls = false;
    bool reads = false;
    bool json = false;
    std::vector<ReportOption> reports; /**< At most one to stdout, and none if `json`. */
    bool check_running = false;        /**< Against the data model; otherwise it is trusted. */
    bool no_reuse = false;             /**< Answers to one edit are not used for the next. */
    bool in_process = false;
    std::chrono::seconds timeout{60}; /**< For one rule, and for a silent input; 0: none. */
    std::size_t max_size = engine::ReadLimits().max_bytes; /**< Of each input, in bytes. */
    std::optional<int> trace_level;
    std::string trace_file; /**< Empty: stderr. */
    ColorChoice color = ColorChoice::kAuto;
    std::string bundle; /**< Where all that a maintainer needs is packed; empty: nowhere. */
    std::shared_ptr<InputStore> store; /**< Null: inputs are read, and not kept. */

    bool explains() const { return explain || calls || reads; }
    /** Whether answers are used again: who wants to see what the plug-in does sees it all. */
    bool reuses() const { return !no_reuse && !calls && !trace_level; }
    /** Whether there is a report for each of several edits, however many there are in the end. */
    bool is_series() const { return edits.size() > 1 || !edits_from.empty() || in_turn; }
};

} // namespace host
