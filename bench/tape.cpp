#include "tape.h"

namespace bench
{

void Tape::replay(Session &session) const
{
    for (const Request &request : m_requests) {
        request(session);
    }
}

} // namespace bench
