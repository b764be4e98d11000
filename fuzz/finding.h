/** How a fuzzer says that something is wrong. */
#pragma once

#include <cstdlib>
#include <iostream>
#include <string>

namespace fuzz
{

/** Tells what is wrong and ends the process: libFuzzer keeps the input. */
[[noreturn]] inline void report(const std::string &finding)
{
    std::cerr << "\nFINDING: " << finding << '\n' << std::flush;
    std::abort();
}

inline void require(bool holds, const std::string &finding)
{
    if (!holds) {
        report(finding);
    }
}

} // namespace fuzz
