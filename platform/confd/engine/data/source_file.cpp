#include "engine/data/source_file.h"

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
#include <cstring>
#include <utility>

namespace engine
{
namespace
{

constexpr const char *kFileHint = "a file is required";

[[noreturn]] void fail(Fault fault, const std::string &source, const std::string &message,
                       const std::string &hint)
{
    throw InputError({{fault, source, 0, "", message, hint}});
}

class FileDescriptor
{
public:
    /** Does not wait: a pipe that nobody writes to opens as well. */
    explicit FileDescriptor(const std::string &path)
        : m_fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC))
    {
        if (m_fd < 0) {
            fail(Fault::kUnreadable, path, std::strerror(errno), kFileHint);
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
        fail(Fault::kUnreadable, m_source.name, std::strerror(error), kFileHint);
    }
    void require_size(std::size_t bytes) const
    {
        if (bytes > m_limits.max_bytes) {
            fail(Fault::kTooLarge, m_source.name, "Larger than " + size_text(m_limits.max_bytes),
                 "");
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
        fail(Fault::kUnreadable, m_source.name,
             "No data for " + std::to_string(waited.count()) + " s", "nobody writes to this pipe");
    }
}

} // namespace

Source read_source(const std::string &path, const ReadLimits &limits)
{
    return FileReader(path, limits).read();
}

} // namespace engine
