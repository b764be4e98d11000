#include "checker/checker.h"

#include "checker/evidence.h"
#include "checker/model_schema.h"
#include "checker/process_end.h"
#include "checker/recorder.h"
#include "checker/running_faults.h"
#include "checker/unchecked_links.h"
#include "engine/data/defaults.h"
#include "engine/data/yang_check.h"
#include "engine/session/hooks.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace host
{
namespace
{

using engine::Datastore;

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
            engine::check_yang(running, source.value_or(engine::Source{"empty configuration", ""}));
        } else {
            engine::add_defaults(running);
        }
    });
    return running;
}

void ask_in_process(const Questions &questions, const Policy &policy, CheckListener &listener,
                    Outcome &outcome)
{
    Recorder recorder(questions.requests, questions.all, policy.names_all(), outcome, listener);
    const ExitGuard guard([&](int status) {
        recorder.died(Death::Kind::kExit, status);
        listener.process_ends(outcome);
    });
    ask_plugin(questions, recorder);
    outcome.completed = recorder.has_ended();
}

std::vector<engine::Request> only(const std::vector<RuleFilter> &filters, const engine::Plan &plan)
{
    std::vector<engine::Request> wanted;
    for (std::size_t i = 0; i < plan.size(); ++i) {
        std::vector<RuleFilter> of_rule;
        std::copy_if(filters.begin(), filters.end(), std::back_inserter(of_rule),
                     [&](const RuleFilter &filter) { return filter.rule == plan.point(i).opaque; });
        if (of_rule.empty()) {
            continue;
        }
        for (const engine::Request &request : plan.requests(i)) {
            if (std::any_of(of_rule.begin(), of_rule.end(), [&](const RuleFilter &filter) {
                    return filter.path.empty() || filter.path == engine::path_of(request);
                })) {
                wanted.push_back(request);
            }
        }
    }
    return wanted;
}

/** @throws engine::InputError  A place at which the rule is never asked. */
void require_asked(const Outcome &outcome)
{
    if (outcome.only.empty() || outcome.planned != 0 || outcome.only.front().path.empty()) {
        return;
    }
    const RuleFilter &wanted = outcome.only.front();
    throw engine::InputError(
        {{engine::Fault::kInvalidOption, "", 0, wanted.path,
          wanted.rule + " is not asked about this node, or the candidate does not have it",
          "`gpon-validate points " + wanted.rule +
              "` tells where it is asked; a path is written as in reports"}});
}

void forget_reads(Outcome &outcome)
{
    for (RuleRun &run : outcome.runs) {
        run.answer.reads = {};
    }
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
    m_running_skipped =
        skipped_in(m_framework->schema(), m_running_source, engine::Content::kConfiguration);
    m_respondent = std::make_unique<Respondent>(*m_framework, [this](const Change &change) {
        std::vector<Phase> untold;
        return std::ref(prepare(change, untold));
    });
}

Checker::~Checker() = default;

void Checker::leave_card()
{
    // Leak checkers take what a pointer leads to for kept, not for lost.
    [[gnu::used]] static engine::Framework *left = nullptr;
    left = m_framework.release();
}

Outcome Checker::check(const Change &change, const Policy &policy, CheckListener &listener)
{
    end_transaction();
    Outcome outcome;
    outcome.running = m_running_source.name;
    outcome.form = change.form;
    outcome.change = change.source.name;
    outcome.skipped = std::exchange(m_running_skipped, {});
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
    if (!m_transaction || outcome.transaction != *m_transaction || !outcome.only.empty() ||
        outcome.result() != Result::kAccepted) {
        throw std::logic_error("only the last change that was checked and accepted is committed");
    }
    m_answers.commit(m_framework->transaction(*m_transaction));
    m_running_remarks.forget();
    m_framework->commit(*m_transaction);
    m_respondent->note_commit(*m_transaction);
    m_transaction.reset();
}

Outcome Checker::finish(const Policy &policy, CheckListener &listener)
{
    Outcome outcome = m_respondent->finish(policy, listener);
    outcome.running = m_running_source.name;
    return outcome;
}

engine::Transaction &Checker::prepare(const Change &change, std::vector<Phase> &phases)
{
    auto &transaction = timed(
        phases, "edit", [&]() -> auto & { return begin(change); });
    m_transaction = transaction.handle();
    timed(phases, "YANG check", [&] { check_yang(change, transaction); });
    return transaction;
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
    const auto start = std::chrono::steady_clock::now();
    engine::Transaction &transaction = prepare(change, outcome.phases);
    outcome.transaction = transaction.handle();
    const auto content =
        change.form == ChangeForm::kEdit ? engine::Content::kEdit : engine::Content::kConfiguration;
    for (auto &part : skipped_in(m_framework->schema(), change.source, content)) {
        outcome.skipped.push_back(std::move(part));
    }
    if (policy.differences) {
        outcome.differences = differences_of(transaction.changes());
    }
    ask({change, transaction, std::chrono::steady_clock::now() - start}, policy, listener, outcome);
}

void Checker::ask(const Candidate &candidate, const Policy &policy, CheckListener &listener,
                  Outcome &outcome)
{
    const engine::Transaction &transaction = candidate.transaction;
    std::optional<engine::Plan> plan;
    std::vector<engine::Request> requests;
    const bool reuses = policy.reuse && policy.only.empty();
    timed(outcome.phases, "compare", [&] {
        outcome.differs = !transaction.changes().empty();
        plan.emplace(transaction, policy.everything || !policy.only.empty());
        requests = reuses                ? m_answers.choose(transaction, *plan, policy.all)
                   : policy.only.empty() ? plan->all_requests()
                                         : only(policy.only, *plan);
        outcome.planned = reuses ? m_answers.planned() : requests.size();
        outcome.only = policy.only;
        outcome.unchecked_links = find_unchecked_links(transaction, *plan);
    });
    require_asked(outcome);
    using Mode = engine::ReadLog::Mode;
    engine::ReadLog::instance().set_mode(
        std::max(policy.reads, reuses ? Mode::kPlaces : Mode::kOff));
    engine::Hooks::instance().set_counting(policy.counts_calls);
    const Questions questions{transaction, requests, m_plugin, policy.all};
    timed(outcome.phases, "rules", [&] {
        if (policy.in_process) {
            ask_in_process(questions, policy, listener, outcome);
        } else {
            m_respondent->ask(questions, candidate, policy, listener, outcome);
        }
        if (reuses) {
            m_answers.finish(outcome);
        }
        if (policy.reads == Mode::kOff) {
            forget_reads(outcome);
        }
    });
    explain(candidate, policy, outcome);
}

void Checker::explain(const Candidate &candidate, const Policy &policy, Outcome &outcome)
{
    const bool has_remarks =
        outcome.has(engine::Verdict::kRejected) || outcome.has(engine::Verdict::kWarning);
    if (has_remarks) {
        timed(outcome.phases, "places", [&] {
            const auto &change = candidate.change;
            add_evidence(outcome, m_framework->schema(),
                         change.form == ChangeForm::kNone ? m_running_source : change.source);
        });
    }
    if (has_remarks && policy.tell_new) {
        timed(outcome.phases, "running", [&] {
            m_running_remarks.compare(*m_framework, candidate.transaction, m_plugin, policy,
                                      outcome);
        });
    }
    for (RuleRun &run : outcome.runs) {
        run.instance = nullptr;
        run.change = nullptr;
    }
}

void Checker::end_transaction()
{
    if (m_transaction) {
        m_framework->end(*m_transaction);
        m_transaction.reset();
    }
}

} // namespace host
