/**
 * @file
 * What stands between a client and the NETCONF library.
 */
#pragma once

#include <libyang/libyang.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <optional>

namespace host::twin
{

/** An open connection to a client. */
class Stream
{
public:
    virtual ~Stream() = default;
    /** Readable when there may be bytes. */
    virtual int fd() const = 0;
    /** @return Bytes that are there now, 0: none; nothing: there will be no more.
     *  @throws std::runtime_error  It is broken. */
    virtual std::optional<std::size_t> read(char *data, std::size_t size) = 0;
    /** Writes all of it. @throws std::runtime_error */
    virtual void write(const char *data, std::size_t size) = 0;
};

/** A socket, as it is. */
class SocketStream : public Stream
{
public:
    explicit SocketStream(int fd) : m_fd(fd) {}
    ~SocketStream() override;
    SocketStream(const SocketStream &) = delete;
    SocketStream &operator=(const SocketStream &) = delete;
    int fd() const override { return m_fd; }
    std::optional<std::size_t> read(char *data, std::size_t size) override;
    void write(const char *data, std::size_t size) override;

private:
    int m_fd;
};

struct RelayLimits {
    std::size_t message = 64 << 20; /**< Bytes of a client's message. */
    /** A message must be complete by then, and what is written be read. */
    std::chrono::seconds stall{60};
};

/**
 * Passes messages of a client on to the library's end of a pair of sockets, if they are such, and
 * its answers back; until either end closes, or `ends` is set.
 */
void relay(Stream &client, int library, const ly_ctx *context, const RelayLimits &limits,
           const std::atomic<bool> &ends);

} // namespace host::twin
