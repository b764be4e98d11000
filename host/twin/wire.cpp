#include "twin/wire.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace host::twin
{
namespace
{

using Sizes = std::array<std::uint64_t, 2>; /**< Of head and text. */

[[noreturn]] void fail(const char *what)
{
    throw WireError(std::string(what) + ": " + std::strerror(errno));
}

} // namespace

Wire::~Wire()
{
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

void Wire::send(const Message &message)
{
    const std::string head =
        message.head.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    const Sizes sizes{head.size(), message.text.size()};
    write_all(reinterpret_cast<const char *>(sizes.data()), sizeof(sizes));
    write_all(head.data(), head.size());
    write_all(message.text.data(), message.text.size());
}

std::optional<Message> Wire::receive(std::optional<std::chrono::milliseconds> patience)
{
    Sizes sizes{};
    const auto missing = read_all(reinterpret_cast<char *>(sizes.data()), sizeof(sizes), patience);
    if (missing == sizeof(sizes)) {
        return std::nullopt;
    }
    std::string head(missing == 0 ? sizes[0] : 0, '\0');
    Message message{{}, std::string(missing == 0 ? sizes[1] : 0, '\0')};
    if (missing != 0 || read_all(head.data(), head.size(), patience) != 0 ||
        read_all(message.text.data(), message.text.size(), patience) != 0) {
        throw WireError("ended in the middle of a message");
    }
    message.head = nlohmann::json::parse(head);
    return message;
}

std::size_t Wire::read_all(char *data, std::size_t size,
                           std::optional<std::chrono::milliseconds> patience)
{
    while (size > 0) {
        pollfd ready{m_fd, POLLIN, 0};
        const int found = ::poll(&ready, 1, patience ? static_cast<int>(patience->count()) : -1);
        if (found == 0) {
            throw WireError("does not answer");
        }
        const ssize_t count = found < 0 ? -1 : ::recv(m_fd, data, size, 0);
        if (count == 0 || (count < 0 && errno == ECONNRESET)) {
            break;
        }
        if (count < 0 && errno != EINTR) {
            fail("cannot be read from");
        }
        if (count > 0) {
            data += count;
            size -= static_cast<std::size_t>(count);
        }
    }
    return size;
}

void Wire::write_all(const char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t count = ::send(m_fd, data, size, MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR) {
            fail("cannot be written to");
        }
        if (count > 0) {
            data += count;
            size -= static_cast<std::size_t>(count);
        }
    }
}

} // namespace host::twin
