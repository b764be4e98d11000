/**
 * @file
 * Tells a process from the copies that are made of it.
 */
#pragma once

#include <memory>
#include <sys/types.h>

namespace host
{

/**
 * Is made in a process; in a copy of that, however it was forked, it says so. To ask is no call of
 * the system, where the kernel can empty a page in copies (Linux 4.14).
 */
class ForkMark
{
public:
    /** @throws std::system_error */
    ForkMark();

    bool is_copy() const { return *m_page != m_owner && is_other_process(); }

private:
    struct Unmap {
        void operator()(volatile pid_t *page) const;
    };

    bool is_other_process() const;

    pid_t m_owner;
    std::unique_ptr<volatile pid_t, Unmap> m_page; /**< Holds m_owner; in a copy, nothing. */
};

} // namespace host
