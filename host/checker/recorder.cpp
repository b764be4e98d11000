#include "checker/recorder.h"

#include <stdexcept>

namespace host
{

void Recorder::step(Step step)
{
    require(step >= m_step && !m_running, "a step");
    require(step != Step::kFinish || is_done(), "the last step");
    m_step = step;
}

void Recorder::before(std::size_t request)
{
    require(is_due(request), "a request");
    m_running = request;
    show(request);
}

void Recorder::show(std::optional<std::size_t> request) const
{
    if (request && *request < m_requests.size()) {
        m_listener.asking(*request + 1, m_requests.size(), m_requests[*request].point->opaque);
    }
}

void Recorder::after(std::size_t request, const engine::Answer &answer)
{
    require(m_running == request, "an answer");
    const engine::Request &asked = m_requests[request];
    const bool is_named = m_names_all || answer.verdict != engine::Verdict::kAccepted;
    m_outcome.runs.push_back({asked.point->opaque, is_named ? engine::path_of(asked) : "",
                              is_named ? asked.cause : "", answer, asked.point, false, std::nullopt,
                              asked.instance, asked.change});
    m_rejected = m_rejected || answer.verdict == engine::Verdict::kRejected;
    m_running.reset();
    ++m_answered;
}

void Recorder::unusable(const std::vector<engine::Problem> &problems)
{
    require(!problems.empty(), "a fault without a text");
    m_running.reset();
    m_outcome.problems.insert(m_outcome.problems.end(), problems.begin(), problems.end());
}

void Recorder::threw(const std::string &exception)
{
    Death death = death_here();
    death.kind = Death::Kind::kException;
    death.exception = exception;
    m_outcome.death = death;
}

void Recorder::answered()
{
    require(m_step == Step::kValidate && !m_running && is_done(), "the last answer");
    m_answered_all = true;
    m_ended = true;
}

void Recorder::ended()
{
    const bool is_due = m_step == Step::kFinish ? is_done() : !m_outcome.problems.empty();
    require(is_due && !m_running && !m_ended, "the end");
    m_ended = true;
}

void Recorder::was_making(std::size_t request)
{
    if (is_due(request) && !m_ended && !m_outcome.death) {
        before(request);
    }
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
    if (m_running) {
        const engine::Request &asked = m_requests[*m_running];
        death.rule = asked.point->opaque;
        death.path = engine::path_of(asked);
    }
    return death;
}

void Recorder::require(bool is_possible, const char *event) const
{
    if (!is_possible || m_ended || m_outcome.death) {
        throw std::runtime_error(std::string("the plug-in's process reported ") + event +
                                 " that was not due");
    }
}

bool Recorder::is_due(std::size_t request) const
{
    return m_step == Step::kValidate && !m_running && !is_done() && request == m_answered;
}

bool Recorder::is_done() const
{
    return m_answered == m_requests.size() || (m_rejected && !m_all);
}

} // namespace host
