/**
 * @file
 * Client library of the configuration framework: reads of the committed configuration.
 *
 * `sock` is a socket of an open read session, as the middleware hands it out. Path syntax:
 * see confd_lib.h.
 */
#pragma once

#include "confd_lib.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @return 1 if the node exists, 0 if not, negative on error. */
int cdb_exists(int sock, const char *fmt, ...);

/** Reads a boolean leaf. @return CONFD_OK or negative; `*rval` is 0 or 1 on success. */
int cdb_get_bool(int sock, int *rval, const char *fmt, ...);

/** @return The number of entries of a list, or negative on error. */
int cdb_num_instances(int sock, const char *fmt, ...);

#ifdef __cplusplus
}
#endif
