/**
 * @file
 * Starting work in a child process, with a guardian between the two.
 */
#pragma once

#include "checker/descriptor.h"

#include <functional>
#include <sys/types.h>

namespace host
{

/**
 * Runs in the child. Lines written to `line_fd` reach the parent, what that sends comes from
 * `input_fd`.
 */
using ChildMain = std::function<void(int line_fd, int input_fd)>;

/** The parent's side of a child that was started; none of these waits, but for the end. */
struct StartedChild {
    pid_t guardian = -1;
    Descriptor lines;
    Descriptor output; /**< The child's stdout and stderr. */
    Descriptor status; /**< Gives the wait status of the work once. */
    Descriptor input;  /**< To be written to. */
};

/** @throws std::system_error */
StartedChild start_child(const ChildMain &work);

} // namespace host
