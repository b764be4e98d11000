#include "headroom/survey.h"

#include "headroom/read_figures.h"
#include "report/words.h"

#include <algorithm>

namespace host
{
namespace
{

/** Reads what is committed, in a transaction of its own. */
Figures read_committed()
{
    engine::Framework &framework = engine::Framework::current();
    struct Open {
        engine::Framework &framework;
        engine::Transaction &transaction;
        ~Open() { framework.end(transaction.handle()); }
    };
    const Open open{framework, framework.begin()};
    return read_figures(open.transaction);
}

/** An edit that changes nothing: unlike a copy of the configuration, it costs nothing to make. */
Change no_edit(const engine::Schema &schema, const std::string &name)
{
    return {ChangeForm::kEdit,
            {name, std::string("<config xmlns=\"") + schema.module()->ns + "\"/>", {}}};
}

Policy about(Policy policy, const std::vector<const char *> &rules)
{
    policy.all = true;
    policy.names_requests = true; // It is looked up what was said of which link.
    policy.only.clear();
    for (const char *rule : rules) {
        policy.only.push_back({rule, ""});
    }
    return policy;
}

/**
 * Asks the rules that limit something. The check of all links comes first: only where that objects
 * each link is asked about, to know which it is.
 */
Outcome ask_rules(Checker &checker, const Change &change, const Policy &policy,
                  CheckListener &listener)
{
    Outcome outcome = checker.check(
        change, about(policy, {kCardBandwidthRule, kServicePortRule, kVlanRule, kRealTimeRule}),
        listener);
    if (outcome.completed && verdict_of(outcome, kCardBandwidthRule).is_objection()) {
        Outcome links = checker.check(change, about(policy, {kLinkRule}), listener);
        links.runs.insert(links.runs.end(), outcome.runs.begin(), outcome.runs.end());
        links.skipped = std::move(outcome.skipped);
        return links;
    }
    return outcome;
}

RuleVerdict::State state_of(engine::Verdict verdict)
{
    switch (verdict) {
    case engine::Verdict::kAccepted:
        return RuleVerdict::State::kAccepted;
    case engine::Verdict::kWarning:
        return RuleVerdict::State::kWarning;
    case engine::Verdict::kRejected:
        return RuleVerdict::State::kRejected;
    }
    return RuleVerdict::State::kUnknown;
}

struct StateNames {
    RuleVerdict::State state;
    const char *name;
    const char *words;
};

constexpr std::array<StateNames, 6> kStates{{
    {RuleVerdict::State::kAccepted, "accepted", "accepted"},
    {RuleVerdict::State::kWarning, "warning", "to confirm"},
    {RuleVerdict::State::kRejected, "rejected", "rejected"},
    {RuleVerdict::State::kCheckOff, "check-off", "check is off"},
    {RuleVerdict::State::kNoSettings, "no-settings", "no settings, not checked"},
    {RuleVerdict::State::kUnknown, "unknown", "not known"},
}};

const StateNames &names_of(RuleVerdict::State state)
{
    return *std::find_if(kStates.begin(), kStates.end(),
                         [state](const StateNames &each) { return each.state == state; });
}

} // namespace

const char *words_for(RuleVerdict::State state)
{
    return names_of(state).words;
}

const char *name_of(RuleVerdict::State state)
{
    return names_of(state).name;
}

Survey survey(Checker &checker, const Change &change, const Policy &policy, CheckListener &listener)
{
    Survey found;
    found.figures = read_committed();
    const bool is_change = change.form != ChangeForm::kNone;
    const auto &schema = checker.running().schema();
    found.outcome =
        ask_rules(checker, is_change ? change : no_edit(schema, "the running configuration"),
                  policy, listener);
    found.outcome.form = change.form;
    found.outcome.change = change.source.name;
    if (is_change && found.outcome.transaction != 0 && found.outcome.problems.empty()) {
        found.before = std::move(found.figures);
        found.figures =
            read_figures(engine::Framework::current().transaction(found.outcome.transaction));
    }
    return found;
}

RuleVerdict verdict_of(const Outcome &outcome, const std::string &rule, const std::string &path)
{
    RuleVerdict verdict;
    if (!outcome.completed) {
        return verdict;
    }
    engine::Verdict worst = engine::Verdict::kAccepted;
    for (const RuleRun &run : outcome.runs) {
        if (run.rule != rule || (!path.empty() && run.path != path)) {
            continue;
        }
        if (verdict.state == RuleVerdict::State::kUnknown || run.answer.verdict > worst) {
            worst = run.answer.verdict;
            verdict.state = state_of(worst);
            verdict.text =
                worst == engine::Verdict::kAccepted ? std::string() : text_of(run.answer);
        }
    }
    return verdict;
}

RuleVerdict verdict_on(const Survey &survey, const LinkFigures &link)
{
    if (!survey.figures.limits.do_bw_check) {
        return {RuleVerdict::State::kCheckOff, ""};
    }
    if (!link.has_settings) {
        return {RuleVerdict::State::kNoSettings, ""};
    }
    const RuleVerdict all = verdict_of(survey.outcome, kCardBandwidthRule);
    if (!all.is_objection()) {
        return all; // It has looked at every link.
    }
    return verdict_of(survey.outcome, kLinkRule,
                      "/config/gpon{1/1}/pon-link{" + std::to_string(link.port) + "}/upstream");
}

} // namespace host
