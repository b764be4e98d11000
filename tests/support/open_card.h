/** Checks on a card that is held open, in this process. */
#pragma once

#include "checker/checker.h"
#include "report/report_json.h"

#include <memory>
#include <string>

namespace test_support
{

inline std::unique_ptr<host::Checker> open_card(const fm::Card &card, const std::string &running)
{
    return std::make_unique<host::Checker>(card, engine::Source{"running.xml", running},
                                           CARD_PLUGIN);
}

inline host::Outcome check(host::Checker &checker, const host::Change &change, bool all, bool reuse)
{
    host::CheckListener nobody;
    host::Policy policy;
    policy.all = all;
    policy.in_process = true;
    policy.reuse = reuse;
    return checker.check(change, policy, nobody);
}

/** Everything that a person or a program is told, and how the requests came about. */
inline std::string full_report(const host::Outcome &outcome)
{
    std::string text = host::print_json(host::json_report(outcome, false), false);
    text += "planned: " + std::to_string(outcome.planned) + "\n";
    for (const auto &run : outcome.runs) {
        if (run.answer.verdict != engine::Verdict::kAccepted) {
            text += run.rule + " " + run.path + " because of " + run.cause + "\n";
        }
    }
    return text;
}

} // namespace test_support
