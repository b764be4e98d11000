/**
 * @file
 * The host's side of tracing on a desk: which lines are kept, and where they go.
 */
#pragma once

#include "zlog.h"

#include <cstdarg>
#include <functional>
#include <string>
#include <string_view>

namespace zlog_host
{

/** One trace line before its layout. */
struct Line {
    std::string category;
    std::string file;
    std::string function;
    long line = 0;
    int level = 0;
    std::string text;
};

/** No level at all is enabled: the state at start. */
inline constexpr int kOff = 1000;

/** Enables the levels from `level` up (10 fine, 11 progress, 12 decisions and errors). */
void set_level(int level);

/** Lines go to stderr (the default). */
void write_to_stderr();
/** Lines go to a function, each as the text that stderr would get, with its newline. */
void write_text_to(std::function<void(std::string_view text)> sink);
/** Lines go to a function: for tests. */
void write_to(std::function<void(const Line &)> sink);

/** Finds or creates a category; the pointer is a zlog_category_t, valid until the process ends. */
::zlog_category_s *category(const std::string &name);

/** Writes a line as zlog does, past the C interface: for the middleware's own notes. */
void write(const Line &line);

/** Writes a line whose text is yet to be formatted. Never throws: a line that fails is told on
 * stderr. */
void write(Line line, const char *format, va_list args) noexcept
    __attribute__((format(printf, 2, 0)));

} // namespace zlog_host
