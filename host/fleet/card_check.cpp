#include "fleet/card_check.h"

#include "checker/checker.h"
#include "checker/plugin.h"
#include "fleet/edit_command.h"
#include "fleet/result_line.h"

#include <stdexcept>
#include <utility>

namespace host
{

using engine::Fault;

namespace
{

Outcome outcome_with(std::string running, std::string edit, std::vector<engine::Problem> problems)
{
    Outcome outcome;
    outcome.running = std::move(running);
    outcome.form = ChangeForm::kEdit;
    outcome.change = std::move(edit);
    outcome.problems = std::move(problems);
    return outcome;
}

} // namespace

/** What is read for a card: all of it, so that a report tells of all files that are missing. */
struct CardChecks::Inputs {
    explicit Inputs(std::string list_place) : place(std::move(list_place)) {}

    /** A text's name is part of the hash, too: the report shows it. */
    template <typename Get>
    engine::Source take(const std::string &name, const Get &get)
    {
        engine::Source source{name, ""};
        try {
            source = get();
        } catch (const engine::InputError &failure) {
            for (auto problem : failure.problems()) {
                problem.hint = place + (problem.hint.empty() ? "" : "; " + problem.hint);
                problems.push_back(std::move(problem));
            }
        }
        hash.add(source.name);
        hash.add(source.text);
        return source;
    }
    engine::Source read_file(const std::string &path, const engine::ReadLimits &limits)
    {
        return take(path, [&] { return engine::read_source(path, limits); });
    }
    void read_card(const std::string &path, const engine::ReadLimits &limits)
    {
        const auto source = read_file(path, limits);
        try {
            card = problems.empty() ? fm::parse_card(source.text) : card;
        } catch (const std::runtime_error &failure) {
            problems.push_back({Fault::kInvalidCard, path, 0, "", failure.what(), place});
        }
    }

    std::string place; /**< Where the list names the card. */
    fm::Card card = fm::default_card();
    engine::Source running;
    engine::Source edit;
    InputHash hash;
    std::vector<engine::Problem> problems;
};

CardChecks::CardChecks(const CardList &list, const FleetPolicy &policy)
    : m_list(list), m_policy(policy), m_plugin(plugin_file(policy.plugin))
{
}

std::optional<CardResult> CardChecks::check(const FleetCard &card, const std::string &known)
{
    Inputs inputs("named in " + m_list.place_of(card));
    read(card, inputs);
    const std::string hash = inputs.hash.text();
    if (hash == known) {
        return std::nullopt;
    }
    Outcome outcome = outcome_of(std::move(inputs));
    outcome.running = card.running;
    m_policy.confirm(outcome);
    outcome.assumes_card = card.card.empty();
    return CardResult{outcome.result(), result_line(card.name, hash, outcome)};
}

CardResult CardChecks::failed(const FleetCard &card, const engine::Problem &problem) const
{
    const Outcome outcome = outcome_with(card.running, edit_name(card), {problem});
    return {outcome.result(), result_line(card.name, "", outcome)};
}

void CardChecks::read(const FleetCard &card, Inputs &inputs)
{
    for (const std::string &part : {m_policy.fingerprint, m_policy.plugin, m_plugin.text()}) {
        inputs.hash.add(part);
    }
    inputs.running = inputs.read_file(card.running, m_policy.limits);
    if (!card.card.empty()) {
        inputs.read_card(card.card, m_policy.limits);
    }
    inputs.edit.name = edit_name(card);
    if (!card.edit.empty() || m_policy.edit_command.empty()) {
        inputs.edit = inputs.read_file(inputs.edit.name, m_policy.limits);
    } else if (inputs.problems.empty()) {
        const auto command = command_for(card, m_policy.edit_command);
        inputs.edit = inputs.take(inputs.edit.name,
                                  [&] { return run_edit_command(command, m_policy.limits); });
    }
}

Outcome CardChecks::outcome_of(Inputs inputs) const
{
    const std::string edit = inputs.edit.name;
    if (!inputs.problems.empty()) {
        return outcome_with("", edit, std::move(inputs.problems));
    }
    inputs.running.reading = m_policy.reading;
    inputs.edit.reading = m_policy.reading;
    try {
        Checker checker(inputs.card, std::move(inputs.running), m_policy.plugin,
                        m_policy.check_running);
        CheckListener nobody;
        return checker.check({ChangeForm::kEdit, std::move(inputs.edit)}, m_policy.policy, nobody);
    } catch (const std::exception &failure) {
        return outcome_with("", edit, problems_of(failure));
    }
}

std::string CardChecks::edit_name(const FleetCard &card) const
{
    return !card.edit.empty()              ? card.edit
           : m_policy.edit_command.empty() ? m_policy.edit
                                           : kEditCommandOutput;
}

} // namespace host
