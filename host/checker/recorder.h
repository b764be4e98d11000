/** Writes down in the outcome what happens while the plug-in is asked. */
#pragma once

#include "checker/asking.h"
#include "cli/progress.h"

namespace host
{

class Recorder : public AskingListener
{
public:
    Recorder(const std::vector<engine::Request> &requests, Outcome &outcome, Progress &progress)
        : m_requests(requests), m_outcome(outcome), m_progress(progress)
    {
    }

    void step(Step step) override;
    void before(std::size_t request) override;
    void after(std::size_t request, const engine::Answer &answer) override;
    void unusable(const std::vector<engine::Problem> &problems) override;
    void threw(const std::string &exception) override;
    void ended() override { m_ended = true; }

    /** The plug-in died where it is now. */
    void died(Death::Kind kind, int number);
    /** Whether all was told that there is to tell: a process may go now. */
    bool has_ended() const { return m_ended || m_outcome.death.has_value(); }

private:
    Death death_here() const;

    const std::vector<engine::Request> &m_requests;
    Outcome &m_outcome;
    Progress &m_progress;
    Step m_step = Step::kLoad;
    const engine::Request *m_running = nullptr;
    bool m_ended = false;
};

} // namespace host
