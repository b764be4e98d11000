#include "twin/relay.h"

#include "twin/framing.h"
#include "twin/inspection.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace host::twin
{
namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t kBlock = 256 << 10;
constexpr int kRound = 500; /**< ms after which it looks whether it shall end. */

class Relay
{
public:
    Relay(Stream &client, int library, const ly_ctx *context, const RelayLimits &limits)
        : m_client(client), m_library(library), m_context(context), m_limits(limits),
          m_reader(limits.message), m_block(kBlock)
    {
    }

    void run(const std::atomic<bool> &ends)
    {
        while (!ends) {
            pollfd ready[] = {{m_has_ended ? -1 : m_client.fd(), POLLIN, 0},
                              {m_library, POLLIN, 0}};
            ::poll(ready, 2, kRound);
            if (ready[1].revents != 0 && !answer()) {
                return;
            }
            // Also without a sign: a stream may hold bytes that it has read ahead.
            take();
            if (m_is_open && Clock::now() - m_last > m_limits.stall) {
                throw FramingError("a message does not come to its end");
            }
        }
    }

private:
    void take();
    void pass_on(FramedMessage message);
    void send(std::string_view data);
    /** @return Whether the library goes on. */
    bool answer();

    Stream &m_client;
    int m_library;
    const ly_ctx *m_context;
    RelayLimits m_limits;
    FrameReader m_reader;
    std::vector<char> m_block;
    bool m_is_chunked = false;
    bool m_has_hello = false;
    bool m_is_open = false;   /**< A message has begun. */
    bool m_has_ended = false; /**< The client sends no more. */
    Clock::time_point m_last = Clock::now();
};

void Relay::take()
{
    while (!m_has_ended) {
        const auto size = m_client.read(m_block.data(), m_block.size());
        if (size == 0) {
            return;
        }
        if (!size) {
            // What it has asked for is answered all the same.
            m_has_ended = true;
            m_is_open = false;
            ::shutdown(m_library, SHUT_WR);
            return;
        }
        m_last = Clock::now();
        m_is_open = true;
        m_reader.add({m_block.data(), *size});
        while (auto message = m_reader.next()) {
            m_is_open = m_reader.has_more();
            pass_on(std::move(*message));
        }
    }
}

void Relay::pass_on(FramedMessage message)
{
    if (!m_has_hello) {
        m_has_hello = true;
        send(framed(message.text, false));
        if (wants_chunks(message.text)) {
            m_is_chunked = true;
            m_reader.use_chunks();
        }
        return;
    }
    auto rejection = inspect(m_context, message.text);
    if (message.is_too_big) {
        rejection = {rejection && rejection->is_rpc,
                     rejection ? rejection->message_id : std::nullopt,
                     {"too-big", "The message is longer than this server takes.", "rpc"}};
    }
    if (rejection && !rejection->is_rpc && !m_is_chunked) {
        // The error malformed-message is new in base:1.1, and this client does not speak that.
        throw FramingError("a message that is no request");
    }
    send(framed(rejection ? message_of(*rejection) : message.text, m_is_chunked));
}

/** The library may wait for its answer to be read before it reads on. */
void Relay::send(std::string_view data)
{
    while (!data.empty()) {
        const ssize_t count =
            ::send(m_library, data.data(), data.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0) {
            data.remove_prefix(static_cast<std::size_t>(count));
            continue;
        }
        if (errno != EAGAIN && errno != EINTR) {
            throw std::runtime_error("the session has ended");
        }
        pollfd ready{m_library, POLLIN | POLLOUT, 0};
        ::poll(&ready, 1, kRound);
        if ((ready.revents & POLLIN) != 0) {
            answer();
        }
    }
}

bool Relay::answer()
{
    const ssize_t size = ::recv(m_library, m_block.data(), m_block.size(), MSG_DONTWAIT);
    if (size > 0) {
        m_client.write(m_block.data(), static_cast<std::size_t>(size));
    }
    return size > 0 || (size < 0 && (errno == EAGAIN || errno == EINTR));
}

} // namespace

SocketStream::~SocketStream()
{
    ::close(m_fd);
}

std::optional<std::size_t> SocketStream::read(char *data, std::size_t size)
{
    const ssize_t count = ::recv(m_fd, data, size, MSG_DONTWAIT);
    if (count < 0 && errno != EAGAIN && errno != EINTR) {
        throw std::runtime_error("the client has gone");
    }
    if (count == 0) {
        return std::nullopt;
    }
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void SocketStream::write(const char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t count = ::send(m_fd, data, size, MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR) {
            throw std::runtime_error("the client does not read, or has gone");
        }
        data += count > 0 ? count : 0;
        size -= count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

void relay(Stream &client, int library, const ly_ctx *context, const RelayLimits &limits,
           const std::atomic<bool> &ends)
{
    Relay(client, library, context, limits).run(ends);
}

} // namespace host::twin
