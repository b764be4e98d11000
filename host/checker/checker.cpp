#include "checker/checker.h"

#include "checker/event_line.h"
#include "checker/model_schema.h"
#include "checker/process_end.h"
#include "checker/recorder.h"
#include "checker/running_faults.h"
#include "checker/supervisor.h"
#include "checker/unchecked_links.h"
#include "engine/data/defaults.h"
#include "engine/data/yang_check.h"

#include <stdexcept>
#include <string_view>
#include <utility>

namespace host
{
namespace
{

using engine::Datastore;

const engine::Source kNothing{"empty configuration", ""};

/** Runs a part of the work and adds its time to a phase. */
template <typename Work>
decltype(auto) timed(std::vector<Phase> &phases, const char *name, const Work &work)
{
    struct Timer {
        std::vector<Phase> &phases;
        const char *name;
        std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
        ~Timer() { add_phase(phases, {name, std::chrono::steady_clock::now() - start}); }
    };
    const Timer timer{phases, name};
    return work();
}

Datastore load_running(const std::optional<engine::Source> &source, bool check,
                       std::vector<Phase> &phases)
{
    const auto schema = timed(phases, "model", model_schema);
    Datastore running = timed(phases, "load", [&] {
        return source ? Datastore::parse(schema, *source) : Datastore(schema);
    });
    timed(phases, "YANG check", [&] {
        if (check || schema->has_when()) {
            engine::check_yang(running, source.value_or(kNothing));
        } else {
            engine::add_defaults(running);
        }
    });
    return running;
}

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
    } else if (end.exit_status != 0 || !recorder.has_ended()) {
        recorder.died(Death::Kind::kExit, end.exit_status);
    }
}

void ask_in_child(const Questions &questions, const Policy &policy, CheckListener &listener,
                  Recorder &recorder, Outcome &outcome)
{
    const std::string key = make_event_key();
    ChildWork child;
    child.work = [&](int line_fd) {
        EventWriter writer(line_fd, key);
        ask_plugin(questions, writer);
    };
    child.on_line = [&](std::string_view line) { replay_event(line, key, recorder); };
    child.on_output = [&](std::string_view text) {
        keep_end(outcome.plugin_output, text);
        listener.plugin_wrote(text);
    };
    child.on_tick = [&] { listener.tick(); };
    child.idle_timeout = policy.idle_timeout;
    const ChildEnd end = run_in_child(child);
    if (!outcome.death) {
        record_end(end, policy.idle_timeout, recorder);
    }
}

void ask_in_process(const Questions &questions, CheckListener &listener, Recorder &recorder,
                    Outcome &outcome)
{
    const ExitGuard guard([&](int status) {
        recorder.died(Death::Kind::kExit, status);
        listener.process_ends(outcome);
    });
    ask_plugin(questions, recorder);
}

} // namespace

Checker::Checker(const fm::Card &card, std::optional<engine::Source> running, std::string plugin,
                 bool check_running)
    : m_plugin(std::move(plugin))
{
    fm::use_card(card);
    m_framework =
        std::make_unique<engine::Framework>(load_running(running, check_running, m_load_phases));
    m_running_source = running ? std::move(*running) : engine::Source{};
}

Checker::~Checker() = default;

Outcome Checker::check(const Change &change, const Policy &policy, CheckListener &listener)
{
    end_transaction();
    Outcome outcome;
    outcome.running = m_running_source.name;
    outcome.form = change.form;
    outcome.change = change.source.name;
    try {
        examine(change, policy, listener, outcome);
    } catch (const std::exception &failure) {
        outcome.problems = problems_of(failure);
        end_transaction();
    }
    if (outcome.problems.empty() && outcome.result() == Result::kNotChecked) {
        outcome.problems = {{engine::Fault::kInternal, "", 0, "", "the check did not end", ""}};
    }
    return outcome;
}

void Checker::commit(const Outcome &outcome)
{
    if (!m_transaction || outcome.transaction != *m_transaction ||
        outcome.result() != Result::kAccepted) {
        throw std::logic_error("only the last change that was checked and accepted is committed");
    }
    m_framework->commit(*m_transaction);
    m_transaction.reset();
}

engine::Transaction &Checker::begin(const Change &change)
{
    const Datastore &running = m_framework->running();
    switch (change.form) {
    case ChangeForm::kEdit:
        return m_framework->begin(change.source);
    case ChangeForm::kCandidate:
        return m_framework->begin(Datastore::parse(running.schema_ptr(), change.source, &running));
    case ChangeForm::kNone:
        break;
    }
    return m_framework->begin(running.copy());
}

void Checker::check_yang(const Change &change, engine::Transaction &transaction)
{
    const bool is_running = change.form == ChangeForm::kNone;
    try {
        m_framework->check_yang(transaction, is_running ? m_running_source : change.source);
    } catch (const engine::InputError &failure) {
        if (change.form != ChangeForm::kEdit) {
            throw;
        }
        const auto touched = touched_paths(transaction.changes());
        end_transaction();
        throw engine::InputError(name_running_faults(failure.problems(), m_framework->running(),
                                                     m_running_source, touched));
    }
}

void Checker::examine(const Change &change, const Policy &policy, CheckListener &listener,
                      Outcome &outcome)
{
    auto &transaction = timed(
        outcome.phases, "edit", [&]() -> auto & { return begin(change); });
    m_transaction = transaction.handle();
    timed(outcome.phases, "YANG check", [&] { check_yang(change, transaction); });
    outcome.transaction = transaction.handle();
    ask(transaction, policy, listener, outcome);
}

void Checker::ask(const engine::Transaction &transaction, const Policy &policy,
                  CheckListener &listener, Outcome &outcome) const
{
    const auto requests = timed(outcome.phases, "compare", [&] {
        outcome.differs = !transaction.changes().empty();
        return engine::plan(transaction);
    });
    outcome.planned = requests.size();
    outcome.unchecked_links = find_unchecked_links(transaction, requests);

    const Questions questions{transaction, requests, m_plugin, policy.all};
    Recorder recorder(questions, outcome, listener);
    timed(outcome.phases, "rules", [&] {
        if (policy.in_process) {
            ask_in_process(questions, listener, recorder, outcome);
        } else {
            ask_in_child(questions, policy, listener, recorder, outcome);
        }
    });
    outcome.completed = recorder.has_ended();
}

void Checker::end_transaction()
{
    if (m_transaction) {
        m_framework->end(*m_transaction);
        m_transaction.reset();
    }
}

} // namespace host
