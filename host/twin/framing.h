/**
 * @file
 * The framing of NETCONF messages (RFC 6242).
 */
#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace host::twin
{

/** Bytes that are no framing: the connection must be closed. */
class FramingError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** A client's message. */
struct FramedMessage {
    std::string text;
    bool is_too_big = false; /**< Only its beginning was kept. */
};

/** Takes messages out of a stream of bytes, however they come in pieces. */
class FrameReader
{
public:
    /** @param limit  Bytes of a message. */
    explicit FrameReader(std::size_t limit) : m_limit(limit) {}

    /** From the next message on there are chunks, not end marks. */
    void use_chunks() { m_is_chunked = true; }
    void add(std::string_view bytes) { m_bytes.append(bytes); }
    /** Whether a message has begun. */
    bool has_more() const { return !m_bytes.empty(); }
    /** Nothing as long as there is no whole message. @throws FramingError */
    std::optional<FramedMessage> next();

private:
    std::optional<FramedMessage> next_marked();
    std::optional<FramedMessage> next_chunked();
    /** @return Whether the message is complete. */
    bool read_header();
    void take(std::size_t size);
    FramedMessage finish();

    std::size_t m_limit;
    bool m_is_chunked = false;
    std::string m_bytes;      /**< Not yet looked at. */
    std::size_t m_chunk = 0;  /**< Bytes that the open chunk still lacks. */
    bool m_has_chunk = false; /**< Of this message. */
    FramedMessage m_message;
};

/** As it goes over the wire. */
std::string framed(const std::string &text, bool chunked);

} // namespace host::twin
