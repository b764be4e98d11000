/** Time on a machine that others use as well. */
#pragma once

#include <algorithm>
#include <chrono>
#include <ctime>

namespace bench
{

/**
 * Takes the shorter one of the time that passed and the processor time that this thread had: what
 * others take of the processor is not in the second, and asking for it takes a while that is not in
 * the first.
 */
class Stopwatch
{
public:
    std::chrono::nanoseconds elapsed() const
    {
        const auto passed = Clock::now() - m_start;
        return std::min<std::chrono::nanoseconds>(passed, processor_time() - m_processor_start);
    }
    double milliseconds() const
    {
        return std::chrono::duration<double, std::milli>(elapsed()).count();
    }

private:
    using Clock = std::chrono::steady_clock;

    static std::chrono::nanoseconds processor_time()
    {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }

    std::chrono::nanoseconds m_processor_start = processor_time();
    Clock::time_point m_start = Clock::now(); // Last: the other one has been asked for by now.
};

} // namespace bench
