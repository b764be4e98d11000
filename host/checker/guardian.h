/**
 * @file
 * Stands between this program and the process that may die, so that none outlives the other.
 */
#pragma once

#include <functional>

namespace host
{

/**
 * Runs the work in a process group of its own and waits for its end, or for SIGTERM, which also
 * comes when the parent dies. Then all that the work has started is killed, in whatever session or
 * group it is by now; the wait status of the work goes to `status_fd`, and this process ends.
 *
 * To be called in a child process, with SIGTERM and SIGCHLD blocked.
 * @param parent  Process that forked this one.
 */
[[noreturn]] void run_guardian(int parent, int status_fd, const std::function<void()> &work);

} // namespace host
