#include "checker/fork_mark.h"

#include <cerrno>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace host
{
namespace
{

std::size_t page_size()
{
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

} // namespace

void ForkMark::Unmap::operator()(volatile pid_t *page) const
{
    munmap(const_cast<pid_t *>(page), page_size());
}

ForkMark::ForkMark() : m_owner(getpid())
{
    void *page =
        mmap(nullptr, page_size(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) {
        throw std::system_error(errno, std::generic_category(), "cannot map a page");
    }
    m_page.reset(static_cast<volatile pid_t *>(page));
    // Where that cannot be had the page stays empty: the process is asked for its number.
    if (madvise(page, page_size(), MADV_WIPEONFORK) == 0) {
        *m_page = m_owner;
    }
}

bool ForkMark::is_other_process() const
{
    return getpid() != m_owner;
}

} // namespace host
