#include "answer.h"

#include <cstdio>

namespace validation
{

std::int32_t reject(confd_trans_ctx *tctx, const char *text)
{
    confd_trans_seterr(tctx, "%s", text);
    return CONFD_ERR;
}

std::int32_t warn(confd_trans_ctx *tctx, const char *text)
{
    confd_trans_seterr(tctx, "%s", text);
    return CONFD_VALIDATION_WARN;
}

std::int32_t warn_through_buffer(confd_trans_ctx *tctx, const char *text)
{
    constexpr std::size_t kTextSize = 8192;
    char buffer[kTextSize];
    std::snprintf(buffer, sizeof(buffer), "%s", text);
    return warn(tctx, buffer);
}

} // namespace validation
