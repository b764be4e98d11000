/** Asking for validation: which points, for which instances, in which order, with what outcome. */
#pragma once

#include "engine/session/framework.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace engine
{

/** A point to ask about one instance of its node. */
struct Request {
    const ValidationPoint *point = nullptr;
    const lyd_node *instance =
        nullptr; /**< In the candidate; for a point that is asked once, the list's parent. */
    std::string
        cause; /**< Path of the first change that calls for it; empty: asked at every commit. */
};

/** Which points must be asked for a transaction, in the order of asking. */
std::vector<Request> plan(const Transaction &transaction);

/** Path of the node that a request is about, such as /config/interface/gpon{1 1 3}/onu. */
std::string path_of(const Request &request);

enum class Verdict { kAccepted, kWarning, kRejected };

/** What came of one request. */
struct Answer {
    Verdict verdict = Verdict::kAccepted;
    int result = 0;                             /**< As the callback returned it. */
    std::string text;                           /**< As the callback set it; may be empty. */
    std::map<std::string, std::uint64_t> calls; /**< Client calls made, by name. */
    std::chrono::nanoseconds time{0};
};

/** Callback of a validation point. */
using Callback = std::function<int(confd_trans_ctx *, confd_hkeypath_t *, confd_value_t *)>;

/** Is told of each request before it is made and after it was answered. */
class Observer
{
public:
    virtual ~Observer() = default;
    virtual void before(const Request &) {}
    virtual void after(const Request &, const Answer &) {}
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
 */
Verdict validate(const Transaction &transaction, const std::vector<Request> &requests,
                 const std::string &point_name, const Callback &callback, void *vcb_opaque,
                 bool keep_going, Observer &observer);

} // namespace engine
