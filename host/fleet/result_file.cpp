#include "fleet/result_file.h"

#include "fleet/problem_list.h"
#include "fleet/result_line.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace host
{
namespace
{

using engine::Fault;

constexpr const char *kLineHint = "a line of `gpon-validate fleet` is required";

[[noreturn]] void refuse(Fault fault, const std::string &path, const std::string &message,
                         const std::string &hint)
{
    throw engine::InputError({{fault, path, 0, "", message, hint}});
}

int open_results(const std::string &path, ResultFile::Mode mode)
{
    constexpr mode_t kMode = 0666; // The umask takes from it.
    const int flags = O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY;
    const int fd =
        open(path.c_str(), flags | (mode == ResultFile::Mode::kNew ? O_EXCL : O_NONBLOCK), kMode);
    if (fd < 0 && errno == EEXIST) {
        refuse(Fault::kInvalidOption, path, "this file exists",
               "go on with it by --resume, or name another file");
    }
    return fd;
}

/** Whether a line that was cut off can have begun so. */
bool is_beginning(std::string_view text)
{
    const auto size = std::min(text.size(), kResultLineStart.size());
    return text.substr(0, size) == kResultLineStart.substr(0, size);
}

} // namespace

ResultReader::ResultReader(std::string path)
    : m_path(std::move(path)),
      m_file(open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK))
{
    struct stat status {
    };
    if (!m_file.is_open() || fstat(m_file.get(), &status) != 0) {
        refuse(Fault::kUnreadable, m_path, std::strerror(errno), "");
    }
    if (!S_ISREG(status.st_mode)) {
        refuse(Fault::kUnreadable, m_path, "this is no file", "");
    }
}

std::uint64_t ResultReader::size() const
{
    struct stat status {
    };
    fstat(m_file.get(), &status);
    return static_cast<std::uint64_t>(status.st_size);
}

std::string ResultReader::read(const StoredResult &result) const
{
    std::string text(result.size, '\0');
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t size = pread(m_file.get(), text.data() + done, text.size() - done,
                                   static_cast<off_t>(result.offset + done));
        if (size == 0 || (size < 0 && errno != EINTR)) {
            refuse(Fault::kUnreadable, m_path, size == 0 ? "it became shorter" : strerror(errno),
                   "");
        }
        done += size > 0 ? static_cast<std::size_t>(size) : 0;
    }
    return text;
}

std::uint64_t ResultReader::read_all(const Take &take)
{
    constexpr std::uint64_t kChunk = std::uint64_t{1} << 20U;
    ProblemList problems;
    std::string rest;
    StoredResult result;
    const std::uint64_t all = size();
    for (std::uint64_t at = 0; at < all; at += kChunk) {
        StoredResult chunk;
        chunk.offset = at;
        chunk.size = std::min(kChunk, all - at);
        rest += read(chunk);
        std::size_t start = 0;
        for (auto end = rest.find('\n'); end != std::string::npos; end = rest.find('\n', start)) {
            ++result.line;
            result.size = end + 1 - start;
            const auto line = parse_result_line(std::string_view(rest).substr(start, end - start));
            if (line) {
                result.inputs = line->inputs;
                result.result = line->outcome.result();
                take(line->name, result);
            } else {
                problems.add(
                    {Fault::kMalformed, m_path, result.line, "", "this is no result", kLineHint});
            }
            result.offset += result.size;
            start = end + 1;
        }
        rest.erase(0, start);
    }
    if (!is_beginning(rest)) {
        problems.add(
            {Fault::kMalformed, m_path, result.line + 1, "", "this is no result", kLineHint});
    }
    problems.throw_if_any();
    return result.offset;
}

ResultFile::ResultFile(const std::string &path, Mode mode)
    : m_path(path), m_file(open_results(path, mode))
{
    if (!m_file.is_open()) {
        fail(errno);
    }
    m_reader.emplace(path);
    lock();
    load();
}

/** Children do not inherit this lock: it ends with this process. */
void ResultFile::lock()
{
    struct flock whole {
    };
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    if (fcntl(m_file.get(), F_SETLK, &whole) == 0) {
        return;
    }
    if (errno != EACCES && errno != EAGAIN) {
        fail(errno);
    }
    refuse(Fault::kInvalidOption, m_path, "another run is writing this file",
           "wait for its end, or name another file");
}

void ResultFile::load()
{
    m_size = m_reader->read_all(
        [this](const std::string &name, const StoredResult &result) { m_stored[name] = result; });
    if (m_size != m_reader->size() && ftruncate(m_file.get(), static_cast<off_t>(m_size)) != 0) {
        fail(errno);
    }
}

StoredResult ResultFile::append(std::string_view line, Result result)
{
    std::string text(line);
    text += '\n';
    ssize_t written = 0;
    do {
        written = write(m_file.get(), text.data(), text.size());
    } while (written < 0 && errno == EINTR);
    if (written != static_cast<ssize_t>(text.size())) {
        // A write that is cut short gives its reason with the next one only.
        int error = written < 0 ? errno : 0;
        if (error == 0) {
            const auto rest = static_cast<std::size_t>(written);
            error = write(m_file.get(), text.data() + rest, text.size() - rest) < 0 ? errno : EIO;
        }
        static_cast<void>(!ftruncate(m_file.get(), static_cast<off_t>(m_size)));
        fail(error);
    }
    const StoredResult stored{"", result, m_size, text.size(), 0};
    m_size += text.size();
    return stored;
}

bool ResultFile::holds_just(const std::vector<StoredResult> &results) const
{
    std::uint64_t at = 0;
    for (const auto &result : results) {
        if (result.offset != at) {
            return false;
        }
        at += result.size;
    }
    return at == m_size;
}

void ResultFile::fail(int error) const
{
    refuse(Fault::kUnreadable, m_path, std::string("cannot be written: ") + std::strerror(error),
           m_size != 0 ? "what is in it is whole: go on with --resume" : "");
}

} // namespace host
