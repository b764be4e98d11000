// The last error, and the text that a validation leaves for the operator.
#include "api/guard.h"

#include "engine/data/error.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

namespace
{

/** Of fixed size, so that telling of a failure needs no memory. */
std::array<char, 1024> last_error_text{};

void set_last_error(int code, const char *text) noexcept
{
    confd_errno = code;
    (void)std::snprintf(last_error_text.data(), last_error_text.size(), "%s", text);
}

} // namespace

void api::note_exception() noexcept
{
    try {
        throw;
    } catch (const engine::Error &error) {
        set_last_error(error.code(), error.what());
    } catch (const std::bad_alloc &) {
        engine::Hooks::instance().note_breakdown(std::current_exception());
        set_last_error(CONFD_ERR_MALLOC, "out of memory");
    } catch (const std::exception &error) {
        engine::Hooks::instance().note_breakdown(std::current_exception());
        set_last_error(CONFD_ERR_INTERNAL, error.what());
    } catch (...) {
        engine::Hooks::instance().note_breakdown(std::current_exception());
        set_last_error(CONFD_ERR_INTERNAL, "an exception of unknown type");
    }
}

extern "C" {

int confd_errno = CONFD_OK;

char *confd_lasterr(void)
{
    return last_error_text.data();
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
