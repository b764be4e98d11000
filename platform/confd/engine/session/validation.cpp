#include "engine/session/validation.h"

#include "engine/data/keypath.h"
#include "engine/data/value.h"
#include "engine/schema/yang_log.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace engine
{
namespace
{

/** What one request hands to the callback; releases it all, also when the callback throws. */
class Call
{
public:
    Call(const Transaction &transaction, const Request &request, void *vcb_opaque)
        : m_opaque(request.point->opaque)
    {
        m_context.thandle = transaction.handle();
        m_context.vcb_opaque = vcb_opaque;
        m_context.validate_opaque = m_opaque.data();
        if (request.point->once) {
            fill_list_keypath(*m_keypath, request.instance, *request.point->node);
            return;
        }
        fill_keypath(*m_keypath, request.instance);
        if (request.point->node->is_leaf()) {
            m_new_value = value_of(request.instance);
            m_has_value = true;
        }
    }

    ~Call()
    {
        std::free(m_context.error.str);
        if (m_has_value) {
            free_value(m_new_value);
        }
        free_keypath(*m_keypath);
    }

    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;

    int make(const Callback &callback)
    {
        return callback(&m_context, m_keypath.get(), m_has_value ? &m_new_value : nullptr);
    }

    std::string text() const { return m_context.error.str != nullptr ? m_context.error.str : ""; }

private:
    std::string m_opaque; /**< A copy: the callback's interface lets it write there. */
    confd_trans_ctx m_context{};
    std::unique_ptr<confd_hkeypath_t> m_keypath = std::make_unique<confd_hkeypath_t>();
    confd_value_t m_new_value{};
    bool m_has_value = false;
};

Verdict verdict_of(int result)
{
    switch (result) {
    case CONFD_OK:
        return Verdict::kAccepted;
    case CONFD_VALIDATION_WARN:
        return Verdict::kWarning;
    default:
        return Verdict::kRejected;
    }
}

/** Lets the log write for one request, which may end with an exception. */
class LoggedRequest
{
public:
    explicit LoggedRequest(const Request &request)
    {
        m_log.begin();
        if (m_log.is_on() && !request.point->once && request.point->node->is_leaf()) {
            m_log.note(ReadSide::kCandidate, *request.point->node, place_of(request.instance),
                       ReadExtent::kNode); // The callback is handed its value.
        }
    }
    ~LoggedRequest() { m_log.end(); }
    LoggedRequest(const LoggedRequest &) = delete;
    LoggedRequest &operator=(const LoggedRequest &) = delete;

    std::vector<Read> reads() { return m_log.end(); }

private:
    ReadLog &m_log = ReadLog::instance();
};

Answer ask(const Transaction &transaction, const Request &request, const Callback &callback,
           void *vcb_opaque)
{
    Answer answer;
    LoggedRequest logged(request);
    Call call(transaction, request, vcb_opaque);
    Hooks::instance().reset_counts();
    Hooks::instance().begin_request(request.point->opaque);
    const auto start = std::chrono::steady_clock::now();
    answer.result = call.make(callback);
    answer.time = std::chrono::steady_clock::now() - start;
    Hooks::instance().throw_breakdown();
    require_memory(LY_SUCCESS);
    answer.is_logged = ReadLog::instance().is_on();
    answer.reads = logged.reads();
    answer.calls = Hooks::instance().counts();
    answer.verdict = verdict_of(answer.result);
    answer.text = call.text();
    return answer;
}

} // namespace

Verdict validate(const Transaction &transaction, const std::vector<Request> &requests,
                 const std::string &point_name, const Callback &callback, void *vcb_opaque,
                 bool keep_going, Observer &observer)
{
    Verdict worst = Verdict::kAccepted;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        const Request &request = requests[i];
        if (request.point->name != point_name) {
            continue;
        }
        observer.before(i);
        const Answer answer = ask(transaction, request, callback, vcb_opaque);
        observer.after(i, answer);
        worst = std::max(worst, answer.verdict);
        if (worst == Verdict::kRejected && !keep_going) {
            break;
        }
    }
    return worst;
}

} // namespace engine
