/**
 * Calls that the linker's --wrap option diverts: a call of maapi_exists goes to
 * __wrap_maapi_exists; __real_maapi_exists is the client library's.
 */
#pragma once

/** Declares the library's own function, and begins the definition of what stands before it. */
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's.
#define REAL(result, name, ...)                                                                    \
    extern "C" result __real_##name(__VA_ARGS__);                                                  \
    extern "C" result __wrap_##name(__VA_ARGS__)
// NOLINTEND(bugprone-reserved-identifier)
