/**
 * @file
 * Tracing. Levels in use: 10 fine, 11 progress, 12 decisions and errors; a higher number is more
 * important.
 */
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct zlog_category_s zlog_category_t;

/**
 * Writes one line. A null category drops it.
 * @param filelen, funclen  Lengths of `file` and `func` without the NUL.
 */
void zlog(zlog_category_t *category, const char *file, size_t filelen, const char *func,
          size_t funclen, long line, int level, const char *format, ...)
    __attribute__((format(printf, 8, 9)));

/** @return Non-zero if lines of that level are written; a null category enables none. */
int zlog_level_enabled(zlog_category_t *category, const int level);

#ifdef __cplusplus
}
#endif
