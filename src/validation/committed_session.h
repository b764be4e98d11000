/**
 * @file
 * Reading the committed configuration.
 */
#pragma once

#include <velconfd.h>

namespace validation
{

/** A read session on the committed configuration; ended with the object, if it was opened. */
class CommittedSession
{
public:
    /** @param context  The transaction context's `vcb_opaque`. */
    explicit CommittedSession(void *context)
        : m_context(context), m_cdb_sock(velconfd_config_session_start(context))
    {
    }
    ~CommittedSession()
    {
        if (is_open()) {
            velconfd_config_session_end(m_context);
        }
    }
    CommittedSession(const CommittedSession &) = delete;
    CommittedSession &operator=(const CommittedSession &) = delete;

    bool is_open() const { return m_cdb_sock > 0; }
    /** Socket for the cdb_ calls. */
    int cdb_sock() const { return m_cdb_sock; }

private:
    void *m_context;
    int m_cdb_sock;
};

} // namespace validation
