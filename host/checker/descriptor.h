/**
 * @file
 * File descriptors that somebody owns.
 */
#pragma once

#include <unistd.h>
#include <utility>

namespace host
{

class Descriptor
{
public:
    explicit Descriptor(int fd = -1) : m_fd(fd) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor &&other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor &operator=(Descriptor &&) = delete;

    int get() const { return m_fd; }
    bool is_open() const { return m_fd >= 0; }
    void close()
    {
        if (m_fd >= 0) {
            ::close(m_fd);
            m_fd = -1;
        }
    }

private:
    int m_fd;
};

} // namespace host
