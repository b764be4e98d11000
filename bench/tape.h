/** Requests that a rule made of the framework, kept to be made again with no rule around them. */
#pragma once

#include "confd_maapi.h"

#include <functional>
#include <utility>
#include <vector>

namespace bench
{

/** What requests of a replay hand on to later ones; numbers are places in the vectors. */
struct Session {
    std::vector<maapi_cursor> cursors;
    std::vector<int> queries;
    std::vector<confd_query_result *> chunks;
    std::vector<confd_value_t> values; /**< Room for what bulk reads deliver. */
    int cdb_sock = 0;
};

class Tape
{
public:
    using Request = std::function<void(Session &)>;

    void add(Request request) { m_requests.push_back(std::move(request)); }
    /** Says what room a replay needs. */
    void need(Session room) { m_room = std::move(room); }

    /** A session to replay in. Made beforehand: room is not part of the requests. */
    Session open() const { return m_room; }
    void replay(Session &session) const;

private:
    std::vector<Request> m_requests;
    Session m_room;
};

} // namespace bench
