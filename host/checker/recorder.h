/**
 * @file
 * Writes down in the outcome what happens while the plug-in is asked.
 */
#pragma once

#include "checker/asking.h"
#include "checker/check_listener.h"

#include <cstddef>
#include <optional>

namespace host
{

/**
 * Events come from a process in which the plug-in runs: what does not fit the plan is refused, so
 * that nothing but a request made and answered counts as one. Every member for an event throws
 * std::runtime_error for one that cannot come now.
 */
class Recorder : public AskingListener
{
public:
    /**
     * @param all        See Questions.
     * @param names_all  Paths are made of all requests, not only of those that draw a remark.
     * @param step       Where the plug-in is.
     */
    Recorder(const std::vector<engine::Request> &requests, bool all, bool names_all,
             Outcome &outcome, CheckListener &listener, Step step = Step::kLoad)
        : m_requests(requests), m_all(all), m_names_all(names_all), m_outcome(outcome),
          m_listener(listener), m_step(step)
    {
        outcome.runs.reserve(requests.size());
    }

    void step(Step step) override;
    void before(std::size_t request) override;
    void after(std::size_t request, const engine::Answer &answer) override;
    void unusable(const std::vector<engine::Problem> &problems) override;
    void threw(const std::string &exception) override;
    void answered() override;
    void ended() override;

    /** Tells the listener of the request that the process shows, ahead of its events. */
    void show(std::optional<std::size_t> request) const;
    /** The process showed this request when it ended: the plug-in was asked, if it was due. */
    void was_making(std::size_t request);
    /** The plug-in died where it is now. */
    void died(Death::Kind kind, int number);
    Step step() const { return m_step; }
    /** Whether all was asked, and the plug-in is ready for more. */
    bool has_answered() const { return m_answered_all; }
    /** Whether all was asked, and the plug-in is ready for more or came to its proper end. */
    bool has_ended() const { return m_ended; }

private:
    Death death_here() const;
    void require(bool is_possible, const char *event) const;
    bool is_due(std::size_t request) const;
    /** Whether there is nothing left to ask. */
    bool is_done() const;

    const std::vector<engine::Request> &m_requests;
    bool m_all;
    bool m_names_all;
    Outcome &m_outcome;
    CheckListener &m_listener;
    Step m_step;
    std::size_t m_answered = 0;
    std::optional<std::size_t> m_running;
    bool m_rejected = false;
    bool m_answered_all = false;
    bool m_ended = false; /**< Nothing may follow. */
};

} // namespace host
