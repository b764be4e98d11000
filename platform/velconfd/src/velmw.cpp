#include "velmw.h"
#include "velconfd_host.h"
#include "zlog_host.h"

#include <cstdio>
#include <execinfo.h>
#include <unistd.h>

namespace
{

/** The middleware itself, of which callers know the address only. */
struct Middleware {
    bool is_up = true;
};

Middleware &middleware()
{
    static Middleware the_middleware;
    return the_middleware;
}

} // namespace

void velconfd::set_singleton_available(bool available)
{
    middleware().is_up = available;
}

void *velmw_singleton_get(void)
{
    return middleware().is_up ? &middleware() : nullptr;
}

zlog_category_t *velmw_trace_init(void *handle, const char *name)
{
    return handle == &middleware() && name != nullptr ? zlog_host::category(name) : nullptr;
}

void velmw_gen_fault(int severity, const char *function, const char *file, int line,
                     const char *message)
{
    static_cast<void>(std::fprintf(stderr, "Fault of severity %d in %s (%s:%d): %s\n", severity,
                                   function, file, line, message));
}

void velmw_print_backtrace(void)
{
    constexpr int kMaxFrames = 64;
    void *frames[kMaxFrames];
    backtrace_symbols_fd(frames, backtrace(frames, kMaxFrames), STDERR_FILENO);
}
