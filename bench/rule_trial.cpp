#include "rule_trial.h"

#include "call_recorder.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

namespace bench
{
namespace
{

/** Adds up every second answer. */
class EverySecond : public engine::Observer
{
public:
    void after(std::size_t request, const engine::Answer &answer) override
    {
        if (m_is_second) {
            sum.after(request, answer);
        }
        m_is_second = !m_is_second;
    }
    Sum sum;

private:
    bool m_is_second = false;
};

} // namespace
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
    const auto requests = requests_for(rule, m_commit.transaction().candidate());
    m_twice.clear();
    for (const auto &request : requests) {
        m_twice.insert(m_twice.end(), 2, request);
    }
    m_tapes.clear();
    m_allocated = 0;
    const auto copy = recorded_plugin(m_links);
    Sum sum;
    m_commit.ask(requests, sum,
                 [&](confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval) {
                     Recorder::instance().start();
                     const int result = copy(tctx, kp, newval);
                     m_tapes.push_back(Recorder::instance().stop());
                     m_allocated += Recorder::instance().allocated_bytes();
                     return result;
                 });
    if (requests.empty() || sum.verdict == engine::Verdict::kRejected) {
        throw std::logic_error(rule + " has nothing to do on this card, or rejects it");
    }
    if (sum.calls != replay().calls) {
        throw std::logic_error("the recording of " + rule + " does not replay its requests");
    }
}

Sum RuleTrial::ask()
{
    EverySecond second;
    m_commit.ask(m_twice, second);
    return second.sum;
}

Sum RuleTrial::replay()
{
    std::vector<Session> sessions;
    for (const Tape &tape : m_tapes) {
        sessions.insert(sessions.end(), 2, tape.open());
    }
    std::size_t next = 0;
    EverySecond second;
    m_commit.ask(m_twice, second, [&](confd_trans_ctx *, confd_hkeypath_t *kp, confd_value_t *) {
        Recorder::instance().set_keypath(kp);
        m_tapes[next / 2].replay(sessions[next]);
        ++next;
        return CONFD_OK;
    });
    return second.sum;
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
