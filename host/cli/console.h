/**
 * @file
 * The outside world of a command, so that tests can stand in for it.
 */
#pragma once

#include <functional>
#include <iosfwd>
#include <optional>

namespace host
{

struct Console {
    std::ostream &out;
    std::ostream &err;
    bool out_is_terminal = false;
    bool err_is_terminal = false;
    bool ends_process = false; /**< Behind the command: what it holds need not be freed. */
    /** Asks the operator; nothing when no answer came. Empty when there is nobody to ask. */
    std::function<std::optional<bool>()> ask{};
};

/** The console of this process. */
Console process_console();

/** Flushes a report. @throws std::runtime_error  It cannot be written: nobody has seen it all. */
void flush_or_throw(std::ostream &out);

/** Asks until the answer is yes or no (or y or n); nothing at the end of the input. */
std::optional<bool> ask_yes_or_no(std::istream &in, std::ostream &out);

} // namespace host
