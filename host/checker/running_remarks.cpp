#include "checker/running_remarks.h"

#include "checker/event_line.h"
#include "checker/recorder.h"
#include "checker/supervisor.h"

#include <stdexcept>
#include <string_view>
#include <vector>

namespace host
{
namespace
{

bool is_remark(const engine::Answer &answer)
{
    return answer.verdict != engine::Verdict::kAccepted;
}

/** What came of asking about the running configuration. */
Outcome ask(engine::Framework &framework, const engine::Transaction &transaction,
            const std::vector<engine::Request> &requests, const std::string &plugin,
            const Policy &policy)
{
    const std::string key = make_event_key();
    Outcome outcome;
    CheckListener nobody;
    Recorder recorder(requests, true, true, outcome, nobody);
    EventBoard board;
    ChildWork child;
    child.pulse = [&board] { return board.request(); };
    child.idle_timeout = policy.idle_timeout;
    child.on_line = [&](std::string_view line) { replay_event(line, key, recorder); };
    child.on_output = [](std::string_view) {};
    child.on_tick = [] {};
    child.work = [&](int line_fd) {
        // The nodes of the requests are committed: they outlast the change.
        framework.end(transaction.handle());
        EventWriter writer(line_fd, key, board);
        ask_plugin({framework.begin(), requests, plugin, true}, writer);
    };
    try {
        const ChildEnd end = run_in_child(child);
        outcome.completed = recorder.has_ended() && end.signal == 0 && end.exit_status == 0;
    } catch (const std::runtime_error &) {
        outcome.completed = false; // The change has its verdict: that this failed is no part of it.
    }
    return outcome;
}

} // namespace

void RunningRemarks::compare(engine::Framework &framework, const engine::Transaction &transaction,
                             const std::string &plugin, const Policy &policy, Outcome &outcome)
{
    std::vector<engine::Request> requests;
    const auto committed = transaction.committed();
    for (const RuleRun &run : outcome.runs) {
        if (!is_remark(run.answer) || m_texts.count({run.rule, run.path}) > 0) {
            continue;
        }
        const auto *same = run.instance != nullptr ? committed.counterpart(run.instance) : nullptr;
        if (run.instance != nullptr && same == nullptr) {
            m_texts[{run.rule, run.path}] = std::nullopt; // There is nothing to ask about.
        } else {
            requests.push_back({run.point, same, ""});
        }
    }
    if (!requests.empty()) {
        const Outcome running = ask(framework, transaction, requests, plugin, policy);
        for (std::size_t i = 0; running.completed && i < running.runs.size(); ++i) {
            const RuleRun &run = running.runs[i];
            auto &text = m_texts[{run.rule, run.path}];
            text.reset();
            if (is_remark(run.answer)) {
                text = run.answer.text;
            }
        }
    }
    for (RuleRun &run : outcome.runs) {
        const auto known = m_texts.find({run.rule, run.path});
        if (run.evidence && known != m_texts.end()) {
            run.evidence->is_new = known->second != run.answer.text;
        }
    }
}

} // namespace host
