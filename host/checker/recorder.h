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
    Recorder(const Questions &questions, Outcome &outcome, CheckListener &listener)
        : m_questions(questions), m_outcome(outcome), m_listener(listener)
    {
    }

    void step(Step step) override;
    void before(std::size_t request) override;
    void after(std::size_t request, const engine::Answer &answer) override;
    void unusable(const std::vector<engine::Problem> &problems) override;
    void threw(const std::string &exception) override;
    void ended() override;

    /** The plug-in died where it is now. */
    void died(Death::Kind kind, int number);
    /** Whether the plug-in's proper end was told. */
    bool has_ended() const { return m_ended; }

private:
    Death death_here() const;
    void require(bool is_possible, const char *event) const;
    /** Whether there is nothing left to ask. */
    bool is_done() const;

    const Questions &m_questions;
    Outcome &m_outcome;
    CheckListener &m_listener;
    Step m_step = Step::kLoad;
    std::size_t m_answered = 0;
    std::optional<std::size_t> m_running;
    bool m_rejected = false;
    bool m_ended = false;
};

} // namespace host
