/**
 * @file
 * A report of one check or of many, in one of several formats.
 */
#pragma once

#include "checker/outcome.h"
#include "report/report_explain.h"
#include "report/report_remarks.h"

#include <map>
#include <string>
#include <vector>

namespace host
{

enum class ReportFormat { kText, kJson, kSarif, kJunit, kGitlab, kGithub };

/** Which edit of a series a check is about. */
struct Place {
    std::size_t number = 0; /**< 0: of none. */
    std::size_t total = 0;
    bool in_turn = false; /**< On top of those before it: the first that fails is the last. */
};

/** What a run of the program came to. */
struct RunSummary {
    Result worst = Result::kAccepted;     /**< Of all: the exit code. */
    std::map<Result, std::size_t> counts; /**< Of the edits that were checked. */
    std::string stopped_at; /**< The first edit of a sequence that failed, or empty. */
    Result stopped_with = Result::kAccepted; /**< What became of that. */
    std::vector<std::string> left_out;       /**< Edits that were not checked. */
};

/** How a report is to be made. */
struct ReportSettings {
    bool is_series = false; /**< Of several edits: each has its part. */
    bool explains = false;  /**< With the part that tells how the answer came about. */
    ExplanationDetail detail;
    TextDetail text;
    bool for_terminal = false;  /**< Nothing in it steers a terminal. */
    bool is_colored = false;    /**< As text. */
    std::string working_folder; /**< File names of users are relative to it. */
};

/** Text that grows with each check: what one call returns follows what the one before returned. */
class Report
{
public:
    virtual ~Report() = default;
    /** What there is to print of a check: what was found, before the operator answers. */
    virtual std::string findings(const Outcome & /*outcome*/, Place /*place*/) { return {}; }
    /** What there is to print of it once the operator has answered. */
    virtual std::string conclusion(const Outcome &outcome, Place place) = 0;
    /** What there is to print when no check follows. */
    virtual std::string end(const RunSummary & /*summary*/) { return {}; }
};

} // namespace host
