/**
 * @file
 * The plug-in as a host sees it, for C and C++: four entry points, found by name with dlsym, or by
 * linking with the library.
 *
 * Calling order: lib_init once, get_validation_point, then validate for each request that the
 * framework raises for that point, lib_finish at the end. All on one thread, one validation at a
 * time. Values that contradict the data model end the process with an assertion. Exceptions end
 * inside, except std::out_of_range for a count of ONUs that does not fit an int.
 *
 * The structures are those of the client library's confd_lib.h, which need not be included first.
 */
#pragma once

#include <stddef.h>

struct confd_trans_ctx;
struct confd_hkeypath;
struct confd_value;

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Initialises the platform facility and reads the card's capacities from it.
 * @return 0; -1 when the platform cannot be had: a line on stderr says why, and the capacities
 *         keep their defaults.
 */
__attribute__((visibility("default"))) int lib_init(void);

/**
 * Writes the name of the validation point that the library serves, ended by a NUL.
 * @param buf  Receives the name.
 * @param len  Size of `buf` in bytes; a longer name is cut. 32 are enough.
 * @return 0.
 */
__attribute__((visibility("default"))) int get_validation_point(char *buf, size_t len);

/**
 * Runs the validator that is registered under the transaction's opaque string
 * (`tctx->validate_opaque`); an unknown one accepts.
 * @param tctx    The transaction; stays the caller's. A text for the operator is left in it with
 *                confd_trans_seterr. `vcb_opaque` is the context of the middleware's calls.
 * @param kp      Path of the validated node; stays the caller's.
 * @param newval  The leaf's new value; null for other nodes. Stays the caller's.
 * @return CONFD_OK (0) accepts; CONFD_ERR (-1) rejects, usually with a text;
 *         CONFD_VALIDATION_WARN (-3) accepts once the operator has confirmed the text.
 */
__attribute__((visibility("default"))) int
validate(struct confd_trans_ctx *tctx, struct confd_hkeypath *kp, struct confd_value *newval);

/** The host is about to unload the library. Nothing is held that would be released. @return 0. */
__attribute__((visibility("default"))) int lib_finish(void);

#ifdef __cplusplus
}
#endif
