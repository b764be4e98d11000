/**
 * @file
 * Which validation points a transaction calls for, for which instances, in which order.
 */
#pragma once

#include "engine/session/framework.h"

#include <cstddef>
#include <memory>
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
    const Change *change = nullptr; /**< That one, of the transaction; null: as above. */
};

/**
 * Which points must be asked for a transaction. Requests are made for those points only that
 * somebody looks at: a change may call for thousands whose answers are known.
 */
class Plan
{
public:
    /**
     * @param transaction  Is referred to.
     * @param everything   All points must be asked about all instances, whatever the change.
     */
    explicit Plan(const Transaction &transaction, bool everything = false);
    ~Plan();
    Plan(const Plan &) = delete;
    Plan &operator=(const Plan &) = delete;

    /** Points of the model, in the order of asking. */
    std::size_t size() const;
    const ValidationPoint &point(std::size_t index) const;
    /** Whether all instances of a point must be asked about. */
    bool is_everywhere(std::size_t index) const;
    /** The requests of a point, in document order. */
    std::vector<Request> requests(std::size_t index) const;
    /** How many requests of a point stand before the one for this instance. */
    std::size_t count_before(std::size_t index, const lyd_node *instance) const;
    /** Those of all points, in the order of asking. */
    std::vector<Request> all_requests() const;
    /** The request for an instance that must be asked about. */
    Request request(std::size_t index, const lyd_node *instance) const;
    /** Whether a rule is asked, about the node of this path, or about any when it is empty. */
    bool asks(const std::string &opaque, const std::string &path) const;

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

/** Node whose instances a point's requests name. Null: the root. */
const SchemaNode *instance_node(const ValidationPoint &point);

/** All requests of a transaction, in the order of asking. */
std::vector<Request> plan(const Transaction &transaction);

/** Path of the node that a request is about, such as /config/interface/gpon{1 1 3}/onu. */
std::string path_of(const Request &request);

} // namespace engine
