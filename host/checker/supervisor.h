/**
 * @file
 * Runs work that may die in a child process, and lives on to tell.
 */
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

namespace host
{

/** Work for a child process, and what to do with what comes back while it runs. */
struct ChildWork {
    /** Runs in the child. Lines written to `line_fd` reach the parent's `on_line`. */
    std::function<void(int line_fd)> work;
    std::function<void(std::string_view line)> on_line;
    /** What the child writes to stdout and stderr, as it comes. */
    std::function<void(std::string_view text)> on_output;
    /** Is called several times a second. */
    std::function<void()> on_tick;
    /**
     * Longest time from one line to the next; 0: no limit. The child is killed after that. Time
     * that the callbacks take, or in which this process is stopped, does not count.
     */
    std::chrono::milliseconds idle_timeout{0};
};

/** How a child came to its end. */
struct ChildEnd {
    bool timed_out = false;
    int signal = 0; /**< 0: it exited. */
    int exit_status = 0;
};

/**
 * Runs the work and waits for its end. What the work has started ends with it, and both end with
 * this process, whatever ends that.
 * @throws std::system_error, and what the callbacks throw. */
ChildEnd run_in_child(const ChildWork &work);

} // namespace host
