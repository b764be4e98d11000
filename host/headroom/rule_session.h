/**
 * @file
 * What a rule is called with, for who calls its sums directly.
 */
#pragma once

#include "engine/session/framework.h"

#include <confd_maapi.h>
#include <velconfd.h>
#include <velconfd_host.h>

#include <cstdint>
#include <cstdlib>

namespace host
{

/** A socket and a transaction's context, as the framework hands them to a validation callback. */
class RuleSession
{
public:
    explicit RuleSession(const engine::Transaction &transaction)
    {
        m_tctx.thandle = transaction.handle();
        m_tctx.vcb_opaque = m_context.word();
    }
    ~RuleSession() { std::free(m_tctx.error.str); }
    RuleSession(const RuleSession &) = delete;
    RuleSession &operator=(const RuleSession &) = delete;

    std::int32_t sock() const { return velconfd_maapi_socket_get(m_tctx.vcb_opaque); }
    confd_trans_ctx *tctx() const { return &m_tctx; }

private:
    velconfd::Context m_context;
    mutable confd_trans_ctx m_tctx{};
};

} // namespace host
