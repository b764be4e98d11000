#include "checker/respondent.h"

#include "checker/event_line.h"
#include "checker/task_line.h"

#include <exception>
#include <utility>

namespace host
{
namespace
{

using Clock = std::chrono::steady_clock;

/** A plug-in that writes without end must not fill the memory: the end is what counts. */
void keep_end(std::string &kept, std::string_view text)
{
    constexpr std::size_t kMaxKept = 1U << 20U;
    kept += text;
    if (kept.size() > 2 * kMaxKept) {
        kept.erase(0, kept.size() - kMaxKept);
    }
}

void record_end(const ChildEnd &end, std::chrono::seconds timeout, Recorder &recorder)
{
    if (end.timed_out) {
        recorder.died(Death::Kind::kTimeout, static_cast<int>(timeout.count()));
    } else if (end.signal != 0) {
        recorder.died(Death::Kind::kSignal, end.signal);
    } else if (end.exit_status != 0 || !recorder.has_ended() || recorder.has_answered()) {
        recorder.died(Death::Kind::kExit, end.exit_status);
    }
}

} // namespace

void Respondent::ask(const Questions &questions, const Candidate &candidate, const Policy &policy,
                     CheckListener &listener, Outcome &outcome)
{
    if (policy.keep_plugin && m_was_ready && questions.requests.empty()) {
        outcome.completed = true;
        return;
    }
    if (can_go_on(questions, candidate, policy) &&
        go_on(questions, candidate, policy, listener, outcome)) {
        return;
    }
    retire(policy, listener);
    start(questions, policy, listener, outcome);
}

/** A fresh process is better than one that would take longer to come to the same candidate. */
bool Respondent::can_go_on(const Questions &questions, const Candidate &candidate,
                           const Policy &policy) const
{
    constexpr std::size_t kMaxText = 65536;
    constexpr std::size_t kMaxRequests = 1024;
    return m_child && policy.keep_plugin && !m_is_behind && candidate.preparation < m_start_time &&
           candidate.change.source.text.size() <= kMaxText &&
           questions.requests.size() <= kMaxRequests;
}

/** @return Whether the outcome is what a fresh process would have told. */
bool Respondent::go_on(const Questions &questions, const Candidate &candidate, const Policy &policy,
                       CheckListener &listener, Outcome &outcome)
{
    Outcome trial = outcome;
    try {
        if (!m_child->send(line_of(task_of(questions, candidate.change, m_committed)))) {
            m_child.reset();
            return false;
        }
        m_transaction = candidate.transaction.handle();
        m_committed = false;
        Recorder recorder(questions.requests, questions.all, policy.names_all(), trial, listener,
                          Step::kValidate);
        watch(recorder, policy, listener, trial);
    } catch (const std::exception &) {
        return false; // A fresh process shows whether that was the plug-in's doing.
    }
    if (!m_child) {
        return false;
    }
    outcome = std::move(trial);
    return true;
}

void Respondent::start(const Questions &questions, const Policy &policy, CheckListener &listener,
                       Outcome &outcome)
{
    m_key = make_event_key();
    m_board = std::make_unique<EventBoard>();
    m_received = 0;
    m_transaction = questions.transaction.handle();
    m_committed = false;
    m_is_behind = false;
    m_started_at = Clock::now();
    m_child = std::make_unique<Child>([&](int line_fd, int input_fd) {
        answer(questions, m_framework, m_prepare,
               {m_key, *m_board, line_fd, policy.keep_plugin ? input_fd : -1});
    });
    Recorder recorder(questions.requests, questions.all, policy.names_all(), outcome, listener);
    watch(recorder, policy, listener, outcome);
}

void Respondent::watch(Recorder &recorder, const Policy &policy, CheckListener &listener,
                       Outcome &outcome)
{
    ChildEvents events;
    events.on_line = [&](std::string_view line) { take(line, recorder); };
    events.pulse = [this] { return m_board->request(); };
    events.on_output = [&](std::string_view text) {
        keep_end(outcome.plugin_output, text);
        listener.plugin_wrote(text);
    };
    events.on_tick = [&] {
        recorder.show(m_board->request());
        listener.tick();
    };
    events.idle_timeout = policy.idle_timeout;
    // Whatever ends this but an answer, the process is not asked again.
    auto child = std::exchange(m_child, nullptr);
    if (const auto end = child->watch(events, [&] { return recorder.has_answered(); })) {
        take_rest(recorder);
        if (!outcome.death) {
            record_end(*end, policy.idle_timeout, recorder);
        }
    } else {
        m_was_ready = true;
        m_child = std::move(child);
    }
    outcome.completed = recorder.has_ended();
}

void Respondent::take(std::string_view event, Recorder &recorder)
{
    m_received += event.size() + 1;
    replay_event(event, m_key, recorder);
    if (m_started_at && recorder.step() == Step::kValidate) {
        m_start_time = Clock::now() - *std::exchange(m_started_at, std::nullopt);
    }
}

void Respondent::take_rest(Recorder &recorder)
{
    std::string_view rest = m_board->rest(m_received);
    for (auto end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
        take(rest.substr(0, end), recorder);
        rest.remove_prefix(end + 1);
    }
    if (const auto request = m_board->request()) {
        recorder.was_making(*request);
    }
}

void Respondent::note_commit(int transaction)
{
    m_committed = transaction == m_transaction;
    m_is_behind = m_is_behind || !m_committed;
}

void Respondent::retire(const Policy &policy, CheckListener &listener)
{
    if (!m_child) {
        return;
    }
    Outcome end;
    const std::vector<engine::Request> none;
    Recorder recorder(none, false, false, end, listener, Step::kValidate);
    m_child->end_input();
    try {
        watch(recorder, policy, listener, end);
    } catch (const std::exception &failure) {
        end.problems = problems_of(failure);
    }
    keep_end(m_ends.plugin_output, end.plugin_output);
    m_ends.problems.insert(m_ends.problems.end(), end.problems.begin(), end.problems.end());
    m_ends.death = m_ends.death ? m_ends.death : end.death;
}

Outcome Respondent::finish(const Policy &policy, CheckListener &listener)
{
    retire(policy, listener);
    m_ends.completed = m_ends.problems.empty() && !m_ends.death;
    return std::exchange(m_ends, {});
}

} // namespace host
