/**
 * @file
 * Asking a validation callback about the requests of a transaction.
 */
#pragma once

#include "engine/session/reads.h"
#include "engine/session/validation_plan.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace engine
{

enum class Verdict { kAccepted, kWarning, kRejected };

/** What came of one request. */
struct Answer {
    Verdict verdict = Verdict::kAccepted;
    int result = 0;                             /**< As the callback returned it. */
    std::string text;                           /**< As the callback set it; may be empty. */
    std::map<std::string, std::uint64_t> calls; /**< Client calls made, by name. */
    std::chrono::nanoseconds time{0};
    bool is_logged = false;  /**< Whether what it depends on was written down. */
    std::vector<Read> reads; /**< What it depends on. */
};

/** Callback of a validation point. */
using Callback = std::function<int(confd_trans_ctx *, confd_hkeypath_t *, confd_value_t *)>;

/** Is notified before and after each request, by its index in the plan. */
class Observer
{
public:
    virtual ~Observer() = default;
    virtual void before(std::size_t /*request*/) {}
    virtual void after(std::size_t /*request*/, const Answer & /*answer*/) {}
};

/**
 * Asks one callback about all requests of a transaction.
 *
 * @param point_name  The name under which the callback is registered; points of another name are
 * not asked.
 * @param vcb_opaque  The context word for confd_trans_ctx.
 * @param keep_going  Go on after a rejection and gather all of them.
 * @return kRejected if any was rejected, else kWarning if any warned, else kAccepted. A result
 *         other than CONFD_OK and CONFD_VALIDATION_WARN is a rejection.
 * @throws std::exception  What the callback throws, and whatever let a client call fail that is no
 *         fault of the client's: an answer on such grounds does not count.
 */
Verdict validate(const Transaction &transaction, const std::vector<Request> &requests,
                 const std::string &point_name, const Callback &callback, void *vcb_opaque,
                 bool keep_going, Observer &observer);

} // namespace engine
