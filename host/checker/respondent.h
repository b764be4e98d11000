/**
 * @file
 * The process in which the plug-in answers, from one check to the next.
 */
#pragma once

#include "checker/answering.h"
#include "checker/check_listener.h"
#include "checker/recorder.h"
#include "checker/supervisor.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace host
{

/** A change with the transaction that was opened on it. */
struct Candidate {
    const Change &change;
    const engine::Transaction &transaction;
    std::chrono::nanoseconds preparation; /**< How long it took to come from one to the other. */
};

/**
 * Asks the plug-in in a child process, and keeps that for the next check if there is to be one.
 *
 * A fresh process inherits the framework as it is. Of later changes it is told: it does with its
 * own framework what was done with the one here, and then asks the plug-in. Only this side decides:
 * what to ask, which events are due, and whether an answer counts. A process that dies, hangs or
 * tells nonsense is not asked again, and what it was asked last is asked once more in a fresh one:
 * every report is the one of a process that has made no other check.
 */
class Respondent
{
public:
    /** @param prepare  Is called in the child process. */
    Respondent(engine::Framework &framework, Prepare prepare)
        : m_framework(framework), m_prepare(std::move(prepare))
    {
    }

    /** Asks, and writes into the outcome what comes of it. @throws As Child. */
    void ask(const Questions &questions, const Candidate &candidate, const Policy &policy,
             CheckListener &listener, Outcome &outcome);
    /** The transaction was committed here. */
    void note_commit(int transaction);
    /** Lets the plug-in come to its end, and tells of all ends that it came to since the last call.
     */
    Outcome finish(const Policy &policy, CheckListener &listener);

private:
    bool can_go_on(const Questions &questions, const Candidate &candidate,
                   const Policy &policy) const;
    bool go_on(const Questions &questions, const Candidate &candidate, const Policy &policy,
               CheckListener &listener, Outcome &outcome);
    void start(const Questions &questions, const Policy &policy, CheckListener &listener,
               Outcome &outcome);
    /** Runs the child until the recorder has its answer; it stays if it can be asked again. */
    void watch(Recorder &recorder, const Policy &policy, CheckListener &listener, Outcome &outcome);
    void take(std::string_view event, Recorder &recorder);
    /** What the process showed of its work and could not send any more. */
    void take_rest(Recorder &recorder);
    void retire(const Policy &policy, CheckListener &listener);

    engine::Framework &m_framework;
    Prepare m_prepare;
    std::string m_key;                   /**< Of the process's events. */
    std::unique_ptr<EventBoard> m_board; /**< Of the process. */
    std::size_t m_received = 0;          /**< Bytes of events, from the process. */
    std::unique_ptr<Child> m_child;
    int m_transaction = 0;    /**< That the process has open, by its number here. */
    bool m_committed = false; /**< It is committed here. */
    bool m_is_behind = false; /**< Something was committed here that the process does not know. */
    bool m_was_ready = false; /**< The plug-in has proved to be usable. */
    std::optional<std::chrono::steady_clock::time_point> m_started_at;
    std::chrono::nanoseconds m_start_time{0}; /**< From the fork until the first request. */
    Outcome m_ends;                           /**< Of processes that were not needed any more. */
};

} // namespace host
