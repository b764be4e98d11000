/** The last error of a thread, and the text that a validation leaves for the operator. */
#include "guard.h"

#include "error.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace
{

/** Of fixed size, so that telling of a failure needs no memory. */
struct LastError {
    int code = CONFD_OK;
    std::array<char, 1024> text{};
};

thread_local LastError last_error;

void set_last_error(int code, const char *text) noexcept
{
    last_error.code = code;
    (void)std::snprintf(last_error.text.data(), last_error.text.size(), "%s", text);
}

} // namespace

void api::note_exception() noexcept
{
    try {
        throw;
    } catch (const engine::Error &error) {
        set_last_error(error.code(), error.what());
    } catch (const std::bad_alloc &) {
        set_last_error(CONFD_ERR_MALLOC, "out of memory");
    } catch (const std::exception &error) {
        set_last_error(CONFD_ERR_INTERNAL, error.what());
    } catch (...) {
        set_last_error(CONFD_ERR_INTERNAL, "an exception of unknown type");
    }
}

extern "C" {

int *confd_errno_location(void)
{
    return &last_error.code;
}

char *confd_lasterr(void)
{
    return last_error.text.data();
}

void confd_trans_seterr(struct confd_trans_ctx *tctx, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    char *text = nullptr;
    if (vasprintf(&text, fmt, args) >= 0) {
        std::free(tctx->error.str); // Not before: the arguments may point into it.
        tctx->error.str = text;
    }
    va_end(args);
}

} // extern "C"
