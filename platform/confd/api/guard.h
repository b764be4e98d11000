/**
 * @file
 * The way in and out of every C entry point: no exception leaves, each failure has its code
 * and text.
 */
#pragma once

#include "confd_lib.h"
#include "engine/session/hooks.h"

namespace api
{

/** Makes the exception that is being handled the calling thread's last error. */
void note_exception() noexcept;

/** Runs a call that neither counts nor reaches the framework, such as printing. */
template <typename Result, typename Body>
Result shielded(Result failure, Body body) noexcept
{
    try {
        return body();
    } catch (...) {
        note_exception();
        return failure;
    }
}

/** Runs a call that counts under its name, and that the hooks may let fail. */
template <typename Result, typename Body>
Result guarded(const char *name, Result failure, Body body) noexcept
{
    return shielded(failure, [&] {
        engine::Hooks::instance().on_call(name);
        return body();
    });
}

/** The same for a call that releases something: it does so even when it is let fail. */
template <typename Body>
int guarded_release(const char *name, Body body) noexcept
{
    return shielded(CONFD_ERR, [&] {
        body();
        engine::Hooks::instance().on_call(name);
        return CONFD_OK;
    });
}

} // namespace api
