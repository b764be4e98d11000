/**
 * @file
 * Management middleware: its singleton, trace categories, fault reports.
 */
#pragma once

#include <zlog.h>

#ifdef __cplusplus
extern "C" {
#endif

/** @return The middleware's handle; null while the middleware is not up. */
void *velmw_singleton_get(void);

/**
 * Creates a trace category, or finds the one of that name.
 * @return Owned by the middleware, valid until the process ends; null if `handle` is not its own.
 */
zlog_category_t *velmw_trace_init(void *handle, const char *name);

/** Records a fault (severity 1 is the gravest) and returns. */
void velmw_gen_fault(int severity, const char *function, const char *file, int line,
                     const char *message);

/** Writes the calling thread's backtrace to stderr. */
void velmw_print_backtrace(void);

#ifdef __cplusplus
}
#endif
