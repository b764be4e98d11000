/**
 * @file
 * Whole messages between the server and its check process.
 */
#pragma once

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace host::twin
{

/** The other side has gone, or does not answer. */
class WireError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** Facts, and a text that need not be escaped: a configuration, or an edit. */
struct Message {
    nlohmann::json head;
    std::string text{};
};

/** One end of a connected pair of sockets; owns it. */
class Wire
{
public:
    explicit Wire(int fd) : m_fd(fd) {}
    ~Wire();
    Wire(Wire &&other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Wire &operator=(Wire &&other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }

    /** @throws WireError */
    void send(const Message &message);
    /**
     * @param patience  For silence; nothing: waits for ever.
     * @return Nothing when the other side has closed its end between two messages.
     * @throws WireError
     */
    std::optional<Message> receive(std::optional<std::chrono::milliseconds> patience = {});

private:
    /** @return Bytes that are missing at the end. */
    std::size_t read_all(char *data, std::size_t size,
                         std::optional<std::chrono::milliseconds> patience);
    void write_all(const char *data, std::size_t size);

    int m_fd;
};

} // namespace host::twin
