/**
 * @file
 * Ends of this process that leave no report: a crash, or a plug-in that calls exit().
 */
#pragma once

#include <functional>
#include <sys/types.h>

namespace host
{

/**
 * While it lives the plug-in runs in this very process, which must not end as if all was well:
 * - when the plug-in calls exit(), the exit status is reported, and the process ends with the code
 *   of a plug-in that died;
 * - _exit() and a fatal signal get that code and a line on stderr;
 * - a copy of the process that the plug-in forked ends with it, in silence.
 * One guard at a time.
 */
class ExitGuard
{
public:
    explicit ExitGuard(std::function<void(int status)> report);
    ~ExitGuard();
    ExitGuard(const ExitGuard &) = delete;
    ExitGuard &operator=(const ExitGuard &) = delete;

    /** Whether a guard lives. */
    static bool is_armed();
    /** Whether this process is the guarded one, not a copy of it. */
    static bool is_owner();

private:
    static void at_exit(int status, void *);

    std::function<void(int)> m_report;
    pid_t m_owner;
};

/**
 * Turns a fatal signal in this process into a line on stderr and the exit code of a check that
 * could not be made: the operating system's own code for it says nothing to a script.
 */
void install_crash_handler();

/** Gives fatal signals back to the operating system: for a child whose parent looks at them. */
void remove_crash_handler();

} // namespace host
