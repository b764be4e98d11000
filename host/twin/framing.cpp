#include "twin/framing.h"

#include <algorithm>
#include <utility>

namespace host::twin
{
namespace
{

constexpr std::string_view kEndMark = "]]>]]>";
constexpr std::string_view kEndOfChunks = "##\n";
constexpr std::size_t kMaxHeader = 13; /**< `\n#4294967295\n` */
constexpr std::size_t kMaxChunk = 4294967295;
constexpr std::size_t kBeginning = 4096; /**< What is kept of a message that is too big. */

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

} // namespace

std::optional<FramedMessage> FrameReader::next()
{
    return m_is_chunked ? next_chunked() : next_marked();
}

std::optional<FramedMessage> FrameReader::next_marked()
{
    const auto end = m_bytes.find(kEndMark);
    if (end != std::string::npos) {
        take(end);
        m_bytes.erase(0, kEndMark.size());
        return finish();
    }
    // What may be the beginning of an end mark stays.
    take(m_bytes.size() - std::min(m_bytes.size(), kEndMark.size() - 1));
    return std::nullopt;
}

std::optional<FramedMessage> FrameReader::next_chunked()
{
    while (!m_bytes.empty()) {
        if (m_chunk > 0) {
            const auto size = std::min(m_chunk, m_bytes.size());
            take(size);
            m_chunk -= size;
        } else if (read_header()) {
            return finish();
        } else if (m_chunk == 0) {
            return std::nullopt; // The header is not complete.
        }
    }
    return std::nullopt;
}

bool FrameReader::read_header()
{
    const std::string_view bytes = std::string_view(m_bytes).substr(0, kMaxHeader);
    if (bytes[0] != '\n' || (bytes.size() > 1 && bytes[1] != '#')) {
        throw FramingError("there is no chunk where one must begin");
    }
    const auto rest = bytes.substr(std::min<std::size_t>(bytes.size(), 1));
    if (rest.substr(0, 2) == kEndOfChunks.substr(0, 2)) {
        if (rest.size() < kEndOfChunks.size()) {
            return false;
        }
        if (rest.substr(0, kEndOfChunks.size()) != kEndOfChunks || !m_has_chunk) {
            throw FramingError("a message ends without a chunk, or not as it must");
        }
        m_bytes.erase(0, 1 + kEndOfChunks.size());
        return true;
    }
    std::size_t at = 2;
    std::size_t size = 0;
    for (; at < bytes.size() && is_digit(bytes[at]); ++at) {
        size = size * 10 + static_cast<std::size_t>(bytes[at] - '0');
    }
    const bool is_complete = at < bytes.size();
    if ((bytes.size() > 2 && (bytes[2] < '1' || bytes[2] > '9')) || size > kMaxChunk ||
        (is_complete && bytes[at] != '\n') || (!is_complete && bytes.size() == kMaxHeader)) {
        throw FramingError("a chunk has no size that there can be");
    }
    if (is_complete) {
        m_bytes.erase(0, at + 1);
        m_chunk = size;
        m_has_chunk = true;
    }
    return false;
}

/** Moves bytes into the message, unless there are too many already. */
void FrameReader::take(std::size_t size)
{
    m_message.is_too_big = m_message.is_too_big || m_message.text.size() + size > m_limit;
    if (!m_message.is_too_big) {
        m_message.text.append(m_bytes, 0, size);
    } else if (m_message.text.size() > kBeginning) {
        m_message.text.resize(kBeginning);
    }
    m_bytes.erase(0, size);
}

FramedMessage FrameReader::finish()
{
    m_has_chunk = false;
    return std::exchange(m_message, {});
}

std::string framed(const std::string &text, bool chunked)
{
    return chunked ? "\n#" + std::to_string(text.size()) + "\n" + text + "\n##\n"
                   : text + std::string(kEndMark);
}

} // namespace host::twin
