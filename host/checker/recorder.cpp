#include "checker/recorder.h"

namespace host
{

void Recorder::step(Step step)
{
    m_step = step;
}

void Recorder::before(std::size_t request)
{
    m_running = &m_requests.at(request);
    m_progress.at(request + 1, m_requests.size(), m_running->point->opaque);
}

void Recorder::after(std::size_t request, const engine::Answer &answer)
{
    const engine::Request &asked = m_requests.at(request);
    m_outcome.runs.push_back({asked.point->opaque, engine::path_of(asked), asked.cause, answer});
    m_running = nullptr;
}

void Recorder::unusable(const std::vector<engine::Problem> &problems)
{
    m_outcome.problems.insert(m_outcome.problems.end(), problems.begin(), problems.end());
}

void Recorder::threw(const std::string &exception)
{
    Death death = death_here();
    death.kind = Death::Kind::kException;
    death.exception = exception;
    m_outcome.death = death;
}

void Recorder::died(Death::Kind kind, int number)
{
    Death death = death_here();
    death.kind = kind;
    death.number = number;
    m_outcome.death = death;
}

Death Recorder::death_here() const
{
    Death death;
    death.step = m_step;
    if (m_running != nullptr) {
        death.rule = m_running->point->opaque;
        death.path = engine::path_of(*m_running);
    }
    return death;
}

} // namespace host
