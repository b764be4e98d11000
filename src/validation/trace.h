/**
 * @file
 * Trace lines and fault reports.
 */
#pragma once

#include <zlog.h>

#include <cstring>

/** The middleware's levels: a higher number is more important. */
enum TraceLevel {
    kTraceFine = 10,     /**< Timings and every item. */
    kTraceProgress = 11, /**< Ends of steps. */
    kTraceDecision = 12  /**< Decisions, anomalies and errors; begin and end of checks. */
};

/**
 * The library's trace category, created on the first call after the middleware is up; null until
 * then. Not locked: the first calls come from the host's validation thread.
 */
zlog_category_t *get_trace_cat();

/** Writes a line: TRACE(level, format, arguments...). */
#define TRACE(level, ...)                                                                          \
    zlog(get_trace_cat(), __FILE__, sizeof(__FILE__) - 1, __func__, sizeof(__func__) - 1,          \
         __LINE__, level, __VA_ARGS__)

/**
 * Writes a line in the name of the function that a helper of the same source works for:
 * TRACE_AS(function, level, format, arguments...).
 */
#define TRACE_AS(in_name_of, level, ...)                                                           \
    (static_cast<void>(&(in_name_of)),                                                             \
     zlog(get_trace_cat(), __FILE__, sizeof(__FILE__) - 1, #in_name_of, sizeof(#in_name_of) - 1,   \
          __LINE__, level, __VA_ARGS__))

/** Where lines come from that code shared by several sources writes for a check. */
struct TraceSource {
    const char *file;
    const char *function;
    int line; /**< Of the check, in that file. */
};

/** The place where it stands, as the source of lines. */
#define TRACE_SOURCE (TraceSource{__FILE__, __func__, __LINE__})

/** Writes a line in the name of a check: TRACE_FOR(source, level, format, arguments...). */
#define TRACE_FOR(source, level, ...)                                                              \
    zlog(get_trace_cat(), (source).file, std::strlen((source).file), (source).function,            \
         std::strlen((source).function), (source).line, level, __VA_ARGS__)

/**
 * For a condition that must never happen: writes a backtrace, reports a fault to the middleware and
 * ends the process. The message is cut to 349 characters.
 */
[[noreturn]] void report_fault_and_exit(const char *function, const char *file, int line,
                                        const char *format, ...)
    __attribute__((format(printf, 4, 5)));
