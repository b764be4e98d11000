/**
 * @file
 * Answers with a text for the operator, and the texts that several validators share.
 */
#pragma once

#include <confd_lib.h>

#include <cstdint>

namespace validation
{

constexpr const char *kConfdAccessFailed = "Failed accessing confd data.";
constexpr const char *kTransactionAccessFailed = "Failed accessing transaction data.";

/** Sets the text as it is. @return CONFD_ERR. */
std::int32_t reject(confd_trans_ctx *tctx, const char *text);

/** Sets the text as it is. @return CONFD_VALIDATION_WARN. */
std::int32_t warn(confd_trans_ctx *tctx, const char *text);

/** As warn(), by way of a buffer of 8192 bytes: a longer text is cut. @return
 * CONFD_VALIDATION_WARN. */
std::int32_t warn_through_buffer(confd_trans_ctx *tctx, const char *text);

} // namespace validation
