/**
 * @file
 * The check of one card of a fleet, from its files to its line.
 */
#pragma once

#include "checker/change.h"
#include "fleet/card_list.h"
#include "fleet/input_hash.h"

#include <functional>
#include <optional>
#include <string>

namespace host
{

/** How all cards are checked. */
struct FleetPolicy {
    Policy policy;
    engine::ReadLimits limits;
    engine::Reading reading;  /**< Of configurations and edits. */
    std::string edit;         /**< For cards without one of their own; may be empty. */
    std::string edit_command; /**< Makes it instead; may be empty. */
    std::string plugin;       /**< Empty: see Plugin. */
    bool check_running = false;
    /** Whatever else changes a verdict: the program's version, answers to warnings, limits. */
    std::string fingerprint;
    /** Applies the answers to warnings. */
    std::function<void(Outcome &)> confirm = [](Outcome &) {};
};

/** The line of a card, and what it says. */
struct CardResult {
    Result result = Result::kNotChecked;
    std::string line;
};

/** Checks cards, one after the other; each as `check` does. */
class CardChecks
{
public:
    CardChecks(const CardList &list, const FleetPolicy &policy);

    /**
     * @param known  Hash of the inputs of an earlier result; empty: there is none.
     * @return Nothing: the inputs are the same, and the result still holds.
     */
    std::optional<CardResult> check(const FleetCard &card, const std::string &known);
    /** The result of a card that could not be checked. */
    CardResult failed(const FleetCard &card, const engine::Problem &problem) const;

private:
    struct Inputs;
    void read(const FleetCard &card, Inputs &inputs);
    Outcome outcome_of(Inputs inputs) const;
    std::string edit_name(const FleetCard &card) const;

    const CardList &m_list;
    const FleetPolicy &m_policy;
    FileHash m_plugin;
};

} // namespace host
