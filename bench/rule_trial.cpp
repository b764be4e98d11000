#include "rule_trial.h"

#include "recorder.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

namespace bench
{
RuleTrial::RuleTrial(std::uint32_t links)
    : m_commit(card(links), card(links).candidate(card(links).rewriting_edit())), m_links(links)
{
    m_commit.transaction().changes(); // Compared once, before anything is timed.
}

std::vector<std::string> RuleTrial::rules()
{
    std::vector<std::string> keys;
    for (const auto &point : schema()->points()) {
        if (std::find(keys.begin(), keys.end(), point.opaque) == keys.end()) {
            keys.push_back(point.opaque);
        }
    }
    return keys;
}

void RuleTrial::choose(const std::string &rule)
{
    if (rule == m_rule) {
        return;
    }
    m_rule = rule;
    m_requests = requests_for(rule, m_commit.transaction().candidate());
    m_tapes.clear();
    m_allocated = 0;
    const auto copy = recorded_plugin(m_links);
    Sum sum;
    m_commit.ask(m_requests, sum,
                 [&](confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval) {
                     Recorder::instance().start();
                     const int result = copy(tctx, kp, newval);
                     m_tapes.push_back(Recorder::instance().stop());
                     m_allocated += Recorder::instance().allocated_bytes();
                     return result;
                 });
    if (m_requests.empty() || sum.verdict == engine::Verdict::kRejected) {
        throw std::logic_error(rule + " has nothing to do on this card, or rejects it");
    }
    if (sum.calls != replay().calls) {
        throw std::logic_error("the recording of " + rule + " does not replay its requests");
    }
}

Sum RuleTrial::ask()
{
    Sum sum;
    m_commit.ask(m_requests, sum);
    return sum;
}

Sum RuleTrial::replay()
{
    std::vector<Session> sessions;
    std::transform(m_tapes.begin(), m_tapes.end(), std::back_inserter(sessions),
                   [](const Tape &tape) { return tape.open(); });
    std::size_t next = 0;
    Sum sum;
    m_commit.ask(m_requests, sum, [&](confd_trans_ctx *, confd_hkeypath_t *, confd_value_t *) {
        m_tapes[next].replay(sessions[next]);
        ++next;
        return CONFD_OK;
    });
    return sum;
}

namespace
{

std::unique_ptr<RuleTrial> last_trial;

} // namespace

RuleTrial &rule_trial(std::uint32_t links)
{
    if (!last_trial || last_trial->links() != links) {
        last_trial.reset(); // There is one framework at a time.
        last_trial = std::make_unique<RuleTrial>(links);
    }
    return *last_trial;
}

void forget_rule_trial()
{
    last_trial.reset();
}

} // namespace bench
