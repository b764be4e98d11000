#include "zlog.h"
#include "zlog_host.h"

#include <spdlog/details/null_mutex.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <cstdarg>
#include <cstdio>
#include <exception>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

struct zlog_category_s {
    std::string name;
};

namespace zlog_host
{

namespace
{

using Sink = std::function<void(const Line &)>;

/** What stands before the text: lines that no source location goes with leave it out. */
std::string origin_of(const Line &line)
{
    std::string origin;
    if (!line.file.empty()) {
        origin += line.file + ':' + std::to_string(line.line) + ' ';
    }
    if (!line.function.empty()) {
        origin += line.function + ": ";
    }
    return origin;
}

/** Lays lines out as text. Each is flushed: the program may end in an assertion right after it. */
Sink laid_out(spdlog::sink_ptr destination)
{
    auto logger = std::make_shared<spdlog::logger>("zlog", std::move(destination));
    logger->set_pattern("%Y-%m-%d %H:%M:%S.%e %v");
    logger->set_level(spdlog::level::trace);
    logger->flush_on(spdlog::level::trace);
    return [logger](const Line &line) {
        logger->info("{} {} {}{}", line.level, line.category, origin_of(line), line.text);
    };
}

/** Passes laid-out lines on. */
class FunctionSink : public spdlog::sinks::base_sink<spdlog::details::null_mutex>
{
public:
    explicit FunctionSink(std::function<void(std::string_view)> take) : m_take(std::move(take)) {}

protected:
    void sink_it_(const spdlog::details::log_msg &message) override
    {
        spdlog::memory_buf_t text;
        formatter_->format(message, text);
        m_take({text.data(), text.size()});
    }
    void flush_() override {}

private:
    std::function<void(std::string_view)> m_take;
};

/** Apart from the rest: the thousands of lines that nobody wants cost a look at it, and no more. */
int lowest_level = kOff;

bool is_enabled(int level)
{
    return lowest_level < kOff && level >= lowest_level;
}

struct State {
    Sink sink = laid_out(std::make_shared<spdlog::sinks::stderr_sink_st>());
    std::map<std::string, zlog_category_s> categories; // Entries of a map do not move.
};

State &state()
{
    static State the_state;
    return the_state;
}

/** Text of a printf-style format, however long. */
__attribute__((format(printf, 1, 0))) std::string format_text(const char *format, va_list args)
{
    va_list args_to_measure;
    va_copy(args_to_measure, args);
    const int length = std::vsnprintf(nullptr, 0, format, args_to_measure);
    va_end(args_to_measure);
    if (length < 0) {
        return format; // The arguments cannot be printed: the bare format still tells where it was.
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    static_cast<void>(std::vsnprintf(text.data(), text.size() + 1, format, args));
    return text;
}

} // namespace

void set_level(int level)
{
    lowest_level = level;
}

void write_to_stderr()
{
    state().sink = laid_out(std::make_shared<spdlog::sinks::stderr_sink_st>());
}

void write_text_to(std::function<void(std::string_view)> sink)
{
    state().sink = laid_out(std::make_shared<FunctionSink>(std::move(sink)));
}

void write_to(std::function<void(const Line &)> sink)
{
    state().sink = std::move(sink);
}

::zlog_category_s *category(const std::string &name)
{
    return &state().categories.try_emplace(name, zlog_category_s{name}).first->second;
}

void write(const Line &line)
{
    if (is_enabled(line.level)) {
        state().sink(line);
    }
}

void write(Line line, const char *format, va_list args) noexcept
{
    if (!is_enabled(line.level)) {
        return;
    }
    try {
        line.text = format_text(format, args);
        write(line);
    } catch (const std::exception &error) {
        // Callers know no exceptions, and a lost trace line must not stop a validation.
        static_cast<void>(std::fprintf(stderr, "A trace line was lost: %s\n", error.what()));
    }
}

} // namespace zlog_host

int zlog_level_enabled(zlog_category_t *category, const int level)
{
    return category != nullptr && zlog_host::is_enabled(level) ? 1 : 0;
}

void zlog(zlog_category_t *category, const char *file, size_t filelen, const char *func,
          size_t funclen, long line, int level, const char *format, ...)
{
    if (category == nullptr || !zlog_host::is_enabled(level)) {
        return;
    }
    va_list args;
    va_start(args, format);
    zlog_host::write(
        {category->name, std::string(file, filelen), std::string(func, funclen), line, level, ""},
        format, args);
    va_end(args);
}
