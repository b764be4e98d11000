#include "checker/fork_mark.h"

#include <pthread.h>
#include <system_error>

namespace host
{
namespace
{

unsigned int forks = 0; // That led to this process, since somebody wants to know.

void count_fork()
{
    ++forks;
}

} // namespace

ForkMark::ForkMark() : m_forks(forks)
{
    static const int failure = pthread_atfork(nullptr, nullptr, count_fork);
    if (failure != 0) {
        throw std::system_error(failure, std::generic_category(), "cannot count forks");
    }
}

bool ForkMark::is_copy() const
{
    return m_forks != forks;
}

} // namespace host
