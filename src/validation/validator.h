/**
 * @file
 * What all validators have in common.
 */
#pragma once

#include "export.h"

#include <confd_lib.h>

#include <cstdint>

/**
 * A validator: decides whether a change is sound.
 *
 * @param maapi_sock  The MAAPI socket that the host keeps for the transaction.
 * @param tctx        The transaction; its message is what the operator reads.
 * @param kp          Path of the validated node.
 * @param newval      The leaf's new value; null for other nodes.
 * @return CONFD_OK (0) accepts. CONFD_ERR (-1) rejects, usually with a message set.
 *         CONFD_VALIDATION_WARN (-3) accepts once the operator has confirmed the message.
 * @throws std::bad_alloc     validate() ends it with a trace line and CONFD_ERR.
 * @throws std::out_of_range  A count of ONUs does not fit an int. It leaves validate() as well.
 */
using validator_t = std::int32_t(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                 confd_hkeypath_t *kp, confd_value_t *newval);
