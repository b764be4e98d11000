#include "cli/output_file.h"

#include "engine/data/error.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace host
{
namespace
{

/** Place of a file: with links followed as far as they lead somewhere. */
std::string place_of(const std::string &path)
{
    std::error_code failure;
    const auto place =
        std::filesystem::weakly_canonical(std::filesystem::absolute(path, failure), failure);
    return failure ? path : place.string();
}

bool is_same_file(const struct stat &one, const struct stat &other)
{
    return S_ISREG(one.st_mode) && one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool is_same_file(const std::string &one, const std::string &other)
{
    struct stat one_status {
    };
    struct stat other_status {
    };
    const bool has_one = stat(one.c_str(), &one_status) == 0;
    const bool has_other = stat(other.c_str(), &other_status) == 0;
    if (has_one && has_other) {
        return is_same_file(one_status, other_status);
    }
    return !has_one && !has_other && place_of(one) == place_of(other);
}

bool is_file_of(int descriptor, const std::string &path)
{
    struct stat one {
    };
    struct stat other {
    };
    return fstat(descriptor, &one) == 0 && stat(path.c_str(), &other) == 0 &&
           is_same_file(one, other);
}

[[noreturn]] void refuse_same(const std::string &path, const std::string &role,
                              const std::string &other)
{
    throw engine::InputError({{engine::Fault::kInvalidOption, path, 0, "",
                               role + " is the same file as " + other, "name another file"}});
}

void require_other(const NamedFile &output, const NamedFile &known)
{
    if (!known.path.empty() && is_same_file(output.path, known.path)) {
        refuse_same(output.path, output.role, known.role);
    }
}

void require_not_printed_to(const NamedFile &file)
{
    for (const auto &[descriptor, name] :
         {std::pair{STDOUT_FILENO, "stdout"}, {STDERR_FILENO, "stderr"}}) {
        if (is_file_of(descriptor, file.path)) {
            refuse_same(file.path, file.role, name);
        }
    }
}

} // namespace

void require_separate(const std::vector<NamedFile> &outputs, const std::vector<NamedFile> &inputs)
{
    for (auto output = outputs.begin(); output != outputs.end(); ++output) {
        if (output->path.empty()) {
            continue;
        }
        for (const auto &input : inputs) {
            require_other(*output, input);
        }
        for (auto before = outputs.begin(); before != output; ++before) {
            require_other(*output, *before);
        }
        require_not_printed_to(*output);
    }
}

void require_not_printed_to(const std::vector<NamedFile> &inputs)
{
    for (const auto &input : inputs) {
        require_not_printed_to(input);
    }
}

OutputFile::OutputFile(std::string path) : m_path(std::move(path)), m_target(place_of(m_path))
{
    struct stat status {
    };
    const bool exists = stat(m_path.c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode)) {
        m_fd = open(m_path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    } else {
        open_beside(m_target);
    }
    if (m_fd < 0) {
        fail(errno);
    }
    if (exists && !m_beside.empty()) {
        static_cast<void>(!fchmod(m_fd, status.st_mode & ALLPERMS)); // As it was, if we may.
    }
}

OutputFile::~OutputFile()
{
    if (m_fd >= 0) {
        ::close(m_fd);
    }
    if (!m_beside.empty()) {
        ::unlink(m_beside.c_str());
    }
}

void OutputFile::open_beside(const std::string &target)
{
    constexpr int kMaxTrials = 100;
    constexpr mode_t kMode = 0666; // The umask takes from it.
    for (int trial = 0; trial < kMaxTrials && m_fd < 0; ++trial) {
        m_beside = target + "." + std::to_string(getpid()) + "." + std::to_string(trial) + ".tmp";
        m_fd = open(m_beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kMode);
        if (m_fd < 0 && errno != EEXIST) {
            break;
        }
    }
    if (m_fd < 0) {
        m_beside.clear();
    }
}

int OutputFile::write(std::string_view text) const
{
    while (!text.empty()) {
        const ssize_t written = ::write(m_fd, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return 0;
}

void OutputFile::commit()
{
    if (::close(std::exchange(m_fd, -1)) != 0) {
        fail(errno);
    }
    if (!m_beside.empty() && std::rename(m_beside.c_str(), m_target.c_str()) != 0) {
        fail(errno);
    }
    m_beside.clear();
}

void OutputFile::fail(int error) const
{
    throw engine::InputError({{engine::Fault::kUnreadable, m_path, 0, "",
                               std::string("cannot be written: ") + std::strerror(error), ""}});
}

} // namespace host
