/**
 * @file
 * Tells a process from the copies that are made of it.
 */
#pragma once

namespace host
{

/**
 * Is made in a process; in a copy of that, which fork made, it says so. Unlike a process's number
 * it asks nothing of the system, and may be looked at thousands of times.
 */
class ForkMark
{
public:
    /** @throws std::system_error */
    ForkMark();

    bool is_copy() const;

private:
    unsigned int m_forks; /**< That led to this process. */
};

} // namespace host
