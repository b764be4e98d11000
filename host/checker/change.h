/**
 * @file
 * What is to be checked, and how.
 */
#pragma once

#include "checker/outcome.h"
#include "engine/data/source.h"

#include <chrono>
#include <string>
#include <vector>

namespace host
{

/** What is to be checked. */
struct Change {
    ChangeForm form = ChangeForm::kNone; /**< kNone: the running configuration itself. */
    engine::Source source;               /**< With the name under which reports mention it. */
};

/** How to check. */
struct Policy {
    bool all = false;                      /**< Go on after a rejection. */
    std::chrono::seconds idle_timeout{60}; /**< For one request; 0: none. */
    bool in_process = false; /**< Whatever ends the plug-in ends this process; no timeout. */
    /**
     * More checks follow: the plug-in stays loaded in its process until Checker::finish. Otherwise
     * it comes to its end with this check.
     */
    bool keep_plugin = false;
    /** Answers of earlier checks are used again where they still hold. */
    bool reuse = false;
    /** All rules are asked about all their nodes, whether the change calls for it or not. */
    bool everything = false;
    /** Only these requests, whether the change calls for them or not; empty: all that it calls
     *  for. What comes of them is no verdict on the change. */
    std::vector<RuleFilter> only{};
    /** Rules that remark are asked about the running configuration as well. */
    bool tell_new = false;
    /** The outcome tells what the change does. */
    bool differences = false;
    /** The report tells how often each client call was made. */
    bool counts_calls = true;
    /** It names the node of every request and what called for it, not only those of remarks. */
    bool names_requests = true;
    /** As above; answers that are used again are known by their nodes, too. */
    bool names_all() const { return names_requests || reuse; }
    /** What the report tells of what the rules read. */
    engine::ReadLog::Mode reads = engine::ReadLog::Mode::kOff;
};

} // namespace host
