/**
 * @file
 * The candidate configuration of a transaction, as a validator reads it.
 */
#pragma once

#include <confd_maapi.h>

#include <cstdint>

namespace validation
{

/** Holds the socket and the transaction, so that a read names only what it reads. */
class Candidate
{
public:
    Candidate(std::int32_t maapi_sock, const confd_trans_ctx *tctx)
        : m_maapi_sock(maapi_sock), m_thandle(tctx->thandle)
    {
    }

    /**
     * Calls a function of the client library on the transaction: read(maapi_exists, "%h", kp).
     * @return What the function returns.
     */
    template <typename Function, typename... Arguments>
    int read(Function *function, Arguments... arguments) const
    {
        return function(m_maapi_sock, m_thandle, arguments...);
    }

    /** For the calls that go on with what an earlier one returned. */
    std::int32_t maapi_sock() const { return m_maapi_sock; }

private:
    std::int32_t m_maapi_sock;
    int m_thandle;
};

} // namespace validation
