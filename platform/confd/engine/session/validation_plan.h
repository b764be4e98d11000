/**
 * @file
 * Which validation points a transaction calls for, for which instances, in which order.
 */
#pragma once

#include "engine/session/framework.h"

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

} // namespace engine
