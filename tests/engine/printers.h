/** How values of the engine look when a test fails. */
#pragma once

#include "engine/session/validation.h"

#include <ostream>

namespace engine
{

inline const char *name_of(Verdict verdict)
{
    static const char *const kNames[] = {"accepted", "warning", "rejected"};
    return kNames[static_cast<int>(verdict)];
}

inline void PrintTo(Verdict verdict, std::ostream *out)
{
    *out << name_of(verdict);
}

} // namespace engine
