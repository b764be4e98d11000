/**
 * @file
 * Confirmation before a committed profile is changed that ONUs use: they lose traffic for a
 * while.
 */
#pragma once

#include "trace.h"

#include <confd_lib.h>

#include <cstdint>

/** What one kind of profile has of its own. */
struct ProfileKind {
    const char *name;               /**< Of the list, as trace lines name it. */
    const char *keypath_format;     /**< Path of a profile; %s is its name. */
    const char *count_prefix;       /**< XPath that counts its users, up to the profile's name. */
    const char *warning;            /**< For the operator to confirm. */
    const char *conversion_failure; /**< For the operator, when the count is no number. */
    const char *title;              /**< As the line with the elapsed time names it. */
    TraceSource source;             /**< The validator, as trace lines name it. */
};

/**
 * Warns when the profile is committed already and used by ONUs of the transaction.
 * @param kp  Path of the profile's list entry.
 * @return CONFD_OK, CONFD_VALIDATION_WARN, or CONFD_ERR when the configuration cannot be read; the
 *         message is set for both.
 * @throws std::out_of_range  The count does not fit into 32 bits.
 */
std::int32_t confirm_profile_change(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                    const confd_hkeypath_t *kp, const ProfileKind &kind);
