/**
 * @file
 * Stopwatch with which the checks time themselves.
 */
#pragma once

#include <chrono>
#include <cstdint>

/**
 * A stopwatch over the monotonic clock. A new one is running. The getters do not stop it: while it
 * runs they give the time so far, after stop() always the time until then.
 */
class cl_ElapsedTime
{
public:
    using time_point = std::chrono::steady_clock::time_point;

    cl_ElapsedTime();

    void start();
    void stop();

    /** The instant up to which the getters measure: now, while the stopwatch runs. */
    time_point get_stop_time() const;

    /** Whole units, truncated; the low 32 bits. */
    std::int32_t get_elapsed_time_sec() const;
    std::int32_t get_elapsed_time_msec() const;
    std::int32_t get_elapsed_time_usec() const;

private:
    time_point start_time;
    time_point stop_time; // Equal to start_time while the stopwatch runs.
};
