/**
 * @file
 * What came of a check: everything that a report needs, and nothing about how it is printed.
 */
#pragma once

#include "checker/difference.h"
#include "engine/data/envelope.h"
#include "engine/data/error.h"
#include "engine/session/validation.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace host
{

/** How a check ended. The numbers are the program's exit codes. */
enum class Result {
    kAccepted = 0,
    kRejected = 1,
    kNotConfirmed = 2,
    kNotChecked = 3, /**< Bad input or options, or an unusable plug-in. */
    kPluginDied = 4
};

inline constexpr std::array kAllResults{Result::kAccepted, Result::kRejected, Result::kNotConfirmed,
                                        Result::kNotChecked, Result::kPluginDied};

/** As programs read it, such as `not-checked`. */
const char *name_of(Result result);

/**
 * Which of the two says more about a series of checks: whatever left a change without a verdict
 * comes first (the plug-in died, not checked), then rejected, not confirmed, accepted.
 */
Result worse_of(Result one, Result other);

/** Where the plug-in is in its life. */
enum class Step { kLoad, kInit, kName, kValidate, kFinish };

/** As the operator reads it, such as `lib_init`. */
const char *name_of(Step step);

/** Where something stands in a file. */
struct FileLocation {
    std::string file;    /**< As the user named it; empty: not known. */
    unsigned line = 0;   /**< 0: not known. */
    unsigned column = 0; /**< In characters, from 1; 0: not known. */
};

/** A changed node, as the operator is told of it. Secrets are masked. */
struct ChangedNode {
    std::string path;
    std::string operation;             /**< created, deleted, changed or moved. */
    std::optional<std::string> before; /**< Value of a leaf. */
    std::optional<std::string> after;
};

/** What helps to understand an objection or a warning. */
struct Evidence {
    std::optional<ChangedNode> cause; /**< Nothing: the rule is asked at every commit. */
    FileLocation location; /**< Of the cause in the edit or candidate, or what is next to it. */
    /** Whether the running configuration does not draw the same remark on its own; nothing: it was
     *  not asked. */
    std::optional<bool> is_new;
};

/** One rule, asked about one node. */
struct RuleRun {
    std::string rule; /**< Opaque key. */
    // Of an answer that accepts, the next two are there if the policy asks for them.
    std::string path;  /**< Node that it was asked about. */
    std::string cause; /**< Changed node that called for it; empty: it is asked at every commit. */
    engine::Answer answer;
    const engine::ValidationPoint *point = nullptr;
    bool is_reused = false;             /**< The answer is of an earlier check, and still holds. */
    std::optional<Evidence> evidence{}; /**< Of a remark, nothing for an answer that accepts. */
    /** The node that it was asked about and what changed, as long as the check lasts. */
    const lyd_node *instance = nullptr;
    const engine::Change *change = nullptr;
};

/** Answers of one rule that were used again, and accept: nothing else is worth telling of them. */
struct ReusedAnswers {
    std::string rule;
    std::size_t count = 0;
};

/** An end that the plug-in should not have come to. */
struct Death {
    enum class Kind { kSignal, kExit, kException, kTimeout };

    Kind kind = Kind::kSignal;
    int number = 0;        /**< Signal, exit status, or seconds waited. */
    std::string exception; /**< Type and text, for kException. */
    Step step = Step::kLoad;
    std::string rule; /**< In Step::kValidate: the rule that was running; may be empty. */
    std::string path; /**< What it was asked about. */
};

/** As programs read it, such as `signal`. */
const char *name_of(Death::Kind kind);

/** Requests of a rule. */
struct RuleFilter {
    std::string rule; /**< Opaque key. */
    std::string path; /**< Node that it is asked about; empty: any. */
};

/** How the change that was checked was given. */
enum class ChangeForm { kNone, kEdit, kCandidate };

/** Time that a part of the work took. A phase may have several parts. */
struct Phase {
    std::string name;
    std::chrono::nanoseconds time{0};
};

/** Adds the time to the phase of that name. */
void add_phase(std::vector<Phase> &phases, const Phase &phase);

/** The operator's answer to the warnings. */
struct Confirmation {
    bool needed = false;
    std::optional<bool> answer;     /**< Nothing when there was nobody to ask, or no answer came. */
    bool by_option = false;         /**< The answer was given on the command line. */
    std::vector<std::string> rules; /**< Whose warnings are confirmed, whatever the answer. */

    /** Whether a warning of this rule stands in the way no longer. */
    bool covers(const std::string &rule) const;
};

/** A PON link that the change touches and no bandwidth check looks at. */
struct UncheckedLink {
    std::string link;    /**< Such as 1/1/3. */
    std::string missing; /**< List in which it has no entry, such as /config/gpon{1/1}/pon-link. */
};

/** Nodes of another model in an input, which were skipped. */
struct SkippedPart {
    std::string file; /**< As the user named it. */
    engine::SkippedNodes nodes;
};

struct Outcome {
    std::string running; /**< File names as the user gave them; empty: an empty configuration. */
    std::string change;
    ChangeForm form = ChangeForm::kNone;
    bool differs =
        false; /**< Whether the candidate is another configuration than the running one. */
    std::vector<RuleFilter> only; /**< Nothing but this was asked: no verdict on the change. */
    std::size_t planned = 0;      /**< Requests that the change calls for. */
    std::optional<std::vector<Difference>> differences; /**< If the policy asks for them. */
    std::vector<SkippedPart> skipped;
    std::vector<UncheckedLink> unchecked_links;
    std::vector<RuleRun> runs;             /**< In the order of asking. */
    std::vector<ReusedAnswers> reused;     /**< Besides those that are among the runs. */
    std::vector<engine::Problem> problems; /**< Why it could not be checked. */
    std::optional<Death> death;
    std::string plugin_output; /**< What the plug-in wrote in its own process, or the end of it. */
    Confirmation confirmation;
    bool warnings_are_errors = false; /**< A warning rejects the change; nobody is asked. */
    std::vector<Phase> phases;
    bool assumes_card = false; /**< Nobody told the capabilities of the card. */
    int transaction = 0;       /**< Of the check, for Checker::commit. */
    /**
     * Every planned request was answered, or one was rejected and that was enough, and the plug-in
     * came to its proper end. Without this nothing is accepted.
     */
    bool completed = false;

    bool has(engine::Verdict verdict) const;
    /** Rules whose warnings nobody has confirmed. */
    std::set<std::string> unconfirmed_rules() const;
    /** Requests that were answered, now or before. */
    std::size_t answered() const;
    /** Rules that answered. */
    std::size_t rules() const;
    /** Answers that were used again, those among the runs included. */
    std::size_t reused_count() const;
    /** Not checked, unless there is a reason for another result. */
    Result result() const;
};

/** The nodes of other models that are skipped in an input. @throws engine::InputError */
std::vector<SkippedPart> skipped_in(const engine::Schema &schema, const engine::Source &source,
                                    engine::Content content);

/** A failure as the problems of a report. */
std::vector<engine::Problem> problems_of(const std::exception &failure);

/** What the runs of one rule add up to. */
struct RuleSummary {
    std::string rule;
    std::size_t instances = 0;
    engine::Verdict verdict = engine::Verdict::kAccepted; /**< The worst. */
    std::map<std::string, std::uint64_t> calls;
    std::uint64_t call_count = 0;
    std::chrono::nanoseconds time{0};
    std::vector<std::string> causes; /**< Each once, in the order of asking. */
};

/** One summary for each rule that ran, in the order in which they ran first. */
std::vector<RuleSummary> summarise(const std::vector<RuleRun> &runs);

} // namespace host
