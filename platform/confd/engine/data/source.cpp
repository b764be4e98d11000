#include "engine/data/source.h"

#include "engine/data/encoding.h"
#include "engine/data/error.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace engine
{
namespace
{

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr const char *kFileHint = "a file is required";

[[noreturn]] void fail(Fault fault, const std::string &source, const TextPlace &place,
                       const std::string &message, const std::string &hint)
{
    throw InputError(
        {{fault, source, place.line, "", message, hint, static_cast<unsigned>(place.column)}});
}

class FileDescriptor
{
public:
    /** Does not wait: a pipe that nobody writes to opens as well. */
    explicit FileDescriptor(const std::string &path)
        : m_fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC))
    {
        if (m_fd < 0) {
            fail(Fault::kUnreadable, path, kNowhere, std::strerror(errno), kFileHint);
        }
    }
    ~FileDescriptor() { ::close(m_fd); }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

/** Such as "512 MiB". */
std::string size_text(std::size_t bytes)
{
    constexpr std::size_t kMebibyte = std::size_t{1} << 20U;
    return bytes % kMebibyte == 0 && bytes != 0 ? std::to_string(bytes / kMebibyte) + " MiB"
                                                : std::to_string(bytes) + " bytes";
}

class FileReader
{
public:
    FileReader(const std::string &path, const ReadLimits &limits)
        : m_file(path), m_limits(limits), m_source{path, {}}
    {
    }

    Source read()
    {
        reserve();
        while (read_chunk()) {
        }
        convert_to_utf8(m_source);
        return std::move(m_source);
    }

private:
    void reserve();
    bool read_chunk();
    void wait() const;
    [[noreturn]] void fail_for(int error) const
    {
        fail(Fault::kUnreadable, m_source.name, kNowhere, std::strerror(error), kFileHint);
    }
    void require_size(std::size_t bytes) const
    {
        if (bytes > m_limits.max_bytes) {
            fail(Fault::kTooLarge, m_source.name, kNowhere,
                 "Larger than " + size_text(m_limits.max_bytes), "");
        }
    }

    FileDescriptor m_file;
    const ReadLimits m_limits;
    Source m_source;
    std::array<char, 65536> m_chunk{};
};

/** A file whose size is known need not be read to be refused. */
void FileReader::reserve()
{
    struct stat status {
    };
    if (::fstat(m_file.get(), &status) == 0 && S_ISREG(status.st_mode)) {
        const auto size =
            std::min<std::uintmax_t>(static_cast<std::uintmax_t>(status.st_size), SIZE_MAX / 2);
        require_size(static_cast<std::size_t>(size));
        m_source.text.reserve(static_cast<std::size_t>(size));
    }
}

/** @return False at the end. */
bool FileReader::read_chunk()
{
    // A pipe to which nobody has written yet looks like one at its end: only poll tells them apart.
    wait();
    const ssize_t count = ::read(m_file.get(), m_chunk.data(), m_chunk.size());
    if (count < 0) {
        if (errno != EINTR && errno != EAGAIN) {
            fail_for(errno);
        }
        return true;
    }
    const auto length = static_cast<std::size_t>(count);
    require_size(m_source.text.size() + length);
    m_source.text.append(m_chunk.data(), length);
    if (std::memchr(m_chunk.data(), '\0', length) != nullptr && !is_wide(m_source.text)) {
        require_utf8(m_source); // Throws, since a NUL is in it: a device may have no end.
    }
    return length > 0;
}

void FileReader::wait() const
{
    pollfd ready{m_file.get(), POLLIN, 0};
    const auto limit = std::min<long long>(m_limits.idle_timeout.count(), INT_MAX);
    const int count = ::poll(&ready, 1, limit > 0 ? static_cast<int>(limit) : -1);
    if (count < 0 && errno != EINTR) {
        fail_for(errno);
    }
    if (count == 0) {
        const auto waited = std::chrono::duration_cast<std::chrono::seconds>(m_limits.idle_timeout);
        fail(Fault::kUnreadable, m_source.name, kNowhere,
             "No data for " + std::to_string(waited.count()) + " s", "nobody writes to this pipe");
    }
}

/** Whether eight bytes are all ASCII. */
bool is_ascii(const char *bytes)
{
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return (word & 0x8080808080808080U) == 0;
}

/** Length of the character that begins there; 0 when it is not UTF-8. */
std::size_t character_length(std::string_view text)
{
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const auto continues = [&](std::size_t i) { return (byte(i) & 0xC0U) == 0x80U; };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return continues(1) ? 2 : 0;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        const bool is_overlong = first == 0xE0 && byte(1) < 0xA0;
        const bool is_surrogate = first == 0xED && byte(1) > 0x9F;
        return continues(1) && continues(2) && !is_overlong && !is_surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool is_overlong = first == 0xF0 && byte(1) < 0x90;
        const bool is_beyond = first == 0xF4 && byte(1) > 0x8F;
        return continues(1) && continues(2) && continues(3) && !is_overlong && !is_beyond ? 4 : 0;
    }
    return 0;
}

/** Offset of the first byte that is not UTF-8; the text's length when all are. */
std::size_t find_not_utf8(std::string_view text)
{
    std::size_t at = 0;
    while (at < text.size()) {
        if (at + sizeof(std::uint64_t) <= text.size() && is_ascii(text.data() + at)) {
            at += sizeof(std::uint64_t);
            continue;
        }
        const std::size_t length = character_length(text.substr(at));
        if (length == 0) {
            return at;
        }
        at += length;
    }
    return at;
}

bool is_utf16(std::string_view text)
{
    const bool has_nul = text.size() >= 2 && (text[0] == '\0') != (text[1] == '\0');
    return is_wide(text) || has_nul;
}

} // namespace

Format format_of(std::string_view text)
{
    const auto begin = text.substr(0, 3) == kByteOrderMark ? kByteOrderMark.size() : 0;
    const auto first = text.find_first_not_of(" \t\r\n", begin);
    return first != std::string_view::npos && text[first] == '{' ? Format::kJson : Format::kXml;
}

Source read_source(const std::string &path, const ReadLimits &limits)
{
    return FileReader(path, limits).read();
}

TextPlace place_of(std::string_view text, std::size_t offset)
{
    const auto before = text.substr(0, offset);
    const auto newline = before.rfind('\n');
    const auto line = before.substr(newline == std::string_view::npos ? 0 : newline + 1);
    TextPlace place;
    place.line += static_cast<unsigned>(std::count(before.begin(), before.end(), '\n'));
    place.column += static_cast<std::size_t>(std::count_if(line.begin(), line.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    }));
    return place;
}

std::string_view without_mark(const std::string &text)
{
    const std::string_view whole = text;
    return whole.substr(0, 3) == kByteOrderMark ? whole.substr(kByteOrderMark.size()) : whole;
}

void require_utf8(const Source &source)
{
    const std::string_view text = source.text;
    const auto nul = std::min(text.find('\0'), text.size());
    const auto fault = std::min(find_not_utf8(text.substr(0, nul)), nul);
    if (fault == text.size()) {
        return;
    }
    if (is_utf16(text)) {
        fail(Fault::kMalformed, source.name, TextPlace{}, "The text is UTF-16", kEncodingHint);
    }
    const auto place = place_of(text, fault);
    if (fault == nul) {
        fail(Fault::kMalformed, source.name, place, "NUL byte", "the file is not a text");
    }
    std::array<char, 8> byte{};
    std::snprintf(byte.data(), byte.size(), "0x%02X",
                  static_cast<unsigned>(static_cast<unsigned char>(text[fault])));
    fail(Fault::kMalformed, source.name, place, "Not UTF-8: byte " + std::string(byte.data()),
         kEncodingHint);
}

} // namespace engine
