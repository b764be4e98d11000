/**
 * @file
 * A card held open: its data model, its committed configuration and its plug-in.
 */
#pragma once

#include "checker/answers.h"
#include "checker/change.h"
#include "checker/check_listener.h"
#include "checker/respondent.h"
#include "checker/running_remarks.h"

#include <fm_host.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host
{

/**
 * Checks and commits any number of changes. It knows no options, files or terminal.
 *
 * The framework exists once in a process, and so does a Checker. It works on one thread, and the
 * plug-in is asked in a process of its own, forked from this one, which should have no threads.
 */
class Checker
{
public:
    /**
     * Loads the data model and the committed configuration. That was accepted once: it is not
     * checked against the model again, but for names, types and keys. Faults that it has
     * nevertheless come to light with the first change that leaves them in.
     * @param card     The capabilities that the plug-in asks for.
     * @param running  Nothing: the card has no configuration yet.
     * @param plugin   Path of the plug-in; see Plugin.
     * @param check_running  Check the configuration against the model all the same.
     * @throws engine::InputError  The configuration is not one of the model.
     */
    Checker(const fm::Card &card, std::optional<engine::Source> running, std::string plugin,
            bool check_running = false);
    ~Checker();
    Checker(const Checker &) = delete;
    Checker &operator=(const Checker &) = delete;

    /**
     * Makes the candidate and asks the plug-in about it. Leaves no trace; whatever comes in the way
     * is in the outcome. Warnings are not confirmed: that is the caller's to do, in the outcome.
     */
    Outcome check(const Change &change, const Policy &policy, CheckListener &listener);

    /**
     * Makes the candidate of the last check the committed configuration.
     * @param outcome  Of that check, accepted, with its warnings confirmed.
     * @throws std::logic_error  It is of another check, or was not accepted.
     */
    void commit(const Outcome &outcome);

    /**
     * Lets a plug-in that was kept come to its end, as every plug-in must that is not killed.
     * @return Accepted, unless the plug-in failed to: an outcome without a change.
     */
    Outcome finish(const Policy &policy, CheckListener &listener);

    /**
     * Where the process ends: the card is left to the system, which takes its memory back at once.
     * Freeing it node by node takes a tenth of a check. Nothing but the destructor may follow.
     */
    void leave_card();

    /** The committed configuration; from a check of an edit on until the next, or until commit,
     *  with that edit. */
    const engine::Datastore &running() const { return m_framework->running(); }
    /** What loading took. */
    const std::vector<Phase> &load_phases() const { return m_load_phases; }

private:
    engine::Transaction &begin(const Change &change);
    /** Begins a transaction on what the change makes of the running configuration, checked. */
    engine::Transaction &prepare(const Change &change, std::vector<Phase> &phases);
    void check_yang(const Change &change, engine::Transaction &transaction);
    void examine(const Change &change, const Policy &policy, CheckListener &listener,
                 Outcome &outcome);
    void ask(const Candidate &candidate, const Policy &policy, CheckListener &listener,
             Outcome &outcome);
    /** Adds what helps to understand its remarks. */
    void explain(const Candidate &candidate, const Policy &policy, Outcome &outcome);
    void end_transaction();

    engine::Source m_running_source;            /**< Faults have their places in it. */
    std::vector<SkippedPart> m_running_skipped; /**< Until an outcome has told it. */
    std::string m_plugin;
    std::vector<Phase> m_load_phases;
    std::unique_ptr<engine::Framework> m_framework;
    std::unique_ptr<Respondent> m_respondent;
    AnswerStore m_answers;
    RunningRemarks m_running_remarks;
    std::optional<int> m_transaction; /**< Of the last check, as long as it can be committed. */
};

} // namespace host
