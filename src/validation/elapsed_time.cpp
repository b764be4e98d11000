#include "elapsed_time.h"

namespace
{

std::int32_t elapsed(cl_ElapsedTime::time_point from, cl_ElapsedTime::time_point to,
                     std::int64_t nanoseconds_per_unit)
{
    const std::int64_t nanoseconds =
        std::chrono::duration_cast<std::chrono::nanoseconds>(to - from).count();
    return static_cast<std::int32_t>(nanoseconds / nanoseconds_per_unit);
}

} // namespace

cl_ElapsedTime::cl_ElapsedTime()
{
    start();
}

void cl_ElapsedTime::start()
{
    start_time = std::chrono::steady_clock::now();
    stop_time = start_time;
}

void cl_ElapsedTime::stop()
{
    stop_time = std::chrono::steady_clock::now();
}

cl_ElapsedTime::time_point cl_ElapsedTime::get_stop_time() const
{
    return start_time == stop_time ? std::chrono::steady_clock::now() : stop_time;
}

std::int32_t cl_ElapsedTime::get_elapsed_time_sec() const
{
    return elapsed(start_time, get_stop_time(), 1000000000);
}

std::int32_t cl_ElapsedTime::get_elapsed_time_msec() const
{
    return elapsed(start_time, get_stop_time(), 1000000);
}

std::int32_t cl_ElapsedTime::get_elapsed_time_usec() const
{
    return elapsed(start_time, get_stop_time(), 1000);
}
