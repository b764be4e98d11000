#include "shell/file_session.h"

#include "checker/model_schema.h"
#include "engine/data/defaults.h"
#include "engine/data/yang_check.h"
#include "report/report_explain.h"
#include "report/report_json.h"
#include "report/report_text.h"

#include <sstream>

namespace host::shell
{
namespace
{

using engine::Datastore;

/** The name of the edit that a candidate amounts to: nobody has it before his eyes. */
constexpr const char *kCandidate = "candidate";

/** With all that YANG supplies, as the checker has it. */
Datastore load(const std::optional<engine::Source> &source)
{
    Datastore tree = source ? Datastore::parse(model_schema(), *source) : Datastore(model_schema());
    if (tree.schema().has_when()) {
        engine::check_yang(tree, source.value_or(engine::Source{}));
    } else {
        engine::add_defaults(tree);
    }
    return tree;
}

/** Ends a check that nobody waits for any more. */
class Watcher : public CheckListener
{
public:
    explicit Watcher(const Interrupt &interrupt) : m_interrupt(interrupt) {}
    void tick() override
    {
        if (m_interrupt) {
            throw SessionError("interrupted");
        }
    }

private:
    const Interrupt &m_interrupt;
};

Change change_of(const twin::Datastores::Plan &plan)
{
    const bool has_change = !plan.edit.text.empty();
    return {has_change ? ChangeForm::kEdit : ChangeForm::kNone,
            {has_change ? kCandidate : "", plan.edit.text}};
}

/** Places in an edit that was made of the candidate say nothing. */
void forget_places(Outcome &outcome)
{
    for (auto &run : outcome.runs) {
        if (run.evidence) {
            run.evidence->location = {};
        }
    }
    for (auto &problem : outcome.problems) {
        if (problem.source == kCandidate) {
            problem.source.clear();
            problem.line = 0;
            problem.column = 0;
        }
    }
}

} // namespace

FileSession::FileSession(FileSetup setup, const Interrupt &interrupt)
    : m_setup(std::move(setup)), m_interrupt(interrupt),
      m_name(m_setup.running ? m_setup.running->name : "an empty configuration"),
      m_data(load(m_setup.running))
{
    m_checker = std::make_unique<Checker>(m_setup.card, std::move(m_setup.running), m_setup.plugin);
    m_policy.all = true;
    m_policy.idle_timeout = m_setup.idle_timeout;
    m_policy.keep_plugin = true;
    m_policy.reuse = true;
    m_policy.reads = engine::ReadLog::Mode::kPlaces;
}

FileSession::~FileSession()
{
    CheckListener nobody;
    m_checker->finish(m_policy, nobody);
}

std::string FileSession::name() const
{
    return m_name;
}

// Datastores lends its trees for as long as others cannot change them. Here nobody else is.
const Datastore &FileSession::running() const
{
    const Datastore *tree = nullptr;
    m_data.read_running([&tree](const Datastore &running) { tree = &running; });
    return *tree;
}

const Datastore &FileSession::candidate() const
{
    const Datastore *tree = nullptr;
    m_data.read_candidate([&tree](const Datastore &candidate) { tree = &candidate; });
    return *tree;
}

void FileSession::edit(const engine::Source &edit)
{
    m_data.edit_candidate(edit);
}

void FileSession::replace(const engine::Source &configuration)
{
    m_data.replace_candidate(configuration);
}

Outcome FileSession::check(const twin::Datastores::Plan &plan, bool confirms_warnings)
{
    Watcher watcher(m_interrupt);
    Outcome outcome = m_checker->check(change_of(plan), m_policy, watcher);
    if (m_interrupt) {
        throw SessionError("interrupted: nothing was committed");
    }
    outcome.assumes_card = m_setup.assumes_card;
    if (outcome.result() == Result::kNotConfirmed) {
        outcome.confirmation.needed = true;
        if (confirms_warnings) {
            outcome.confirmation.answer = true;
        }
    }
    return outcome;
}

Verdict FileSession::verdict_of(const Outcome &outcome) const
{
    Outcome told = outcome;
    forget_places(told);
    Verdict verdict;
    verdict.result = told.result();
    std::ostringstream findings;
    print_findings(findings, told, m_setup.style, {true, false});
    std::ostringstream conclusion;
    print_conclusion(conclusion, told, m_setup.style);
    verdict.findings = findings.str();
    verdict.conclusion = conclusion.str();
    return verdict;
}

Verdict FileSession::commit(const CommitRequest &request)
{
    const auto plan = m_data.plan_commit();
    const Outcome outcome = check(plan, request.confirms_warnings);
    m_last = outcome;
    forget_places(*m_last);
    Verdict verdict = verdict_of(outcome);
    if (verdict.result != Result::kAccepted || request.checks_only) {
        return verdict;
    }
    if (m_confirm_until) {
        verdict.conclusion += "The commit before is confirmed.\n";
    }
    m_confirm_until.reset();
    if (!plan.edit.text.empty()) {
        auto entry = CommitLog::commit_of(running(), candidate());
        m_checker->commit(outcome);
        m_data.commit(plan);
        m_commits.add(std::move(entry));
        m_is_saved = false;
        if (request.confirm_within) {
            m_confirm_until = Clock::now() + *request.confirm_within;
        }
    }
    return verdict;
}

std::string FileSession::explain() const
{
    std::ostringstream text;
    if (m_last) {
        print_explanation(text, *m_last, {true, false});
    }
    return text.str();
}

nlohmann::ordered_json FileSession::explain_json() const
{
    return m_last ? json_report(*m_last, true) : nullptr;
}

std::string FileSession::headroom(const HeadroomDetail &detail)
{
    Watcher watcher(m_interrupt);
    const Survey told = survey(*m_checker, change_of(m_data.plan_commit()), m_policy, watcher);
    if (told.lacks_change()) {
        return verdict_of(told.outcome).findings;
    }
    std::ostringstream text;
    print_survey(text, told, m_setup.style, detail);
    return text.str();
}

CommitHistory FileSession::history(std::size_t limit)
{
    return {m_commits.entries(limit), ""};
}

void FileSession::roll_back(std::size_t commits)
{
    const auto edits = m_commits.undo(commits);
    m_data.discard();
    for (const auto &edit : edits) {
        m_data.edit_candidate(edit);
    }
}

std::string FileSession::news()
{
    if (!m_confirm_until || Clock::now() < *m_confirm_until) {
        return "";
    }
    m_confirm_until.reset();
    const std::string pending = m_data.plan_commit().edit.text;
    roll_back(1);
    const Verdict verdict = commit({false, true, std::nullopt});
    std::string news = "The last commit was not confirmed in time: it is undone.\n";
    if (verdict.result != Result::kAccepted) {
        discard();
        news = "The last commit was not confirmed in time, and undoing it is rejected:\n" +
               verdict.findings;
    }
    try {
        if (!pending.empty()) {
            m_data.edit_candidate({"", pending, {}});
        }
    } catch (const engine::InputError &) { // What is running now has no place for it.
        news += "What was changed since then is lost.\n";
    }
    return news;
}

std::string FileSession::unsaved() const
{
    if (has_changes()) {
        return "Changes were not committed.";
    }
    return m_is_saved ? "" : "What was committed is in no file: `save FILE` writes it.";
}

void FileSession::note_saved()
{
    m_is_saved = true;
}

} // namespace host::shell
