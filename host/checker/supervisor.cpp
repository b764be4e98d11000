#include "checker/supervisor.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <optional>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace host
{
namespace
{

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kTick{100};
constexpr std::chrono::milliseconds kNap{1};
constexpr std::chrono::milliseconds kQuickSuccession{5};

[[noreturn]] void fail(const char *what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

class Descriptor
{
public:
    explicit Descriptor(int fd = -1) : m_fd(fd) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor &&other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor &operator=(Descriptor &&) = delete;

    int get() const { return m_fd; }
    bool is_open() const { return m_fd >= 0; }
    void close()
    {
        if (m_fd >= 0) {
            ::close(m_fd);
            m_fd = -1;
        }
    }

private:
    int m_fd;
};

struct Pipe {
    Descriptor read_end;
    Descriptor write_end;
};

Pipe make_pipe()
{
    std::array<int, 2> fds{};
    if (pipe2(fds.data(), O_CLOEXEC) != 0) {
        fail("cannot make a pipe");
    }
    return {Descriptor(fds[0]), Descriptor(fds[1])};
}

/** Child side: never returns into the parent's code, and runs none of its destructors. */
[[noreturn]] void run_child(const ChildWork &work, const Pipe &lines, const Pipe &output)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // What the operator types is for the parent.
    const Descriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    dup2(nothing.get(), STDIN_FILENO);
    dup2(output.write_end.get(), STDOUT_FILENO);
    dup2(output.write_end.get(), STDERR_FILENO);
    int status = 0;
    try {
        work.work(lines.write_end.get());
    } catch (const std::exception &failure) {
        std::cerr << "the work in the child process failed: " << failure.what() << '\n';
        status = 1;
    }
    std::cout.flush();
    static_cast<void>(std::fflush(nullptr));
    _exit(status);
}

/** Parent side. */
class Watch
{
public:
    Watch(const ChildWork &work, pid_t child, Descriptor lines, Descriptor output)
        : m_work(work), m_child(child), m_lines(std::move(lines)), m_output(std::move(output))
    {
    }

    /** A callback that throws must leave no process behind. */
    ~Watch()
    {
        if (!m_status) {
            kill(m_child, SIGKILL);
            waitpid(m_child, nullptr, 0);
        }
    }
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;

    ChildEnd run()
    {
        while (!m_status) {
            wait_for_something();
            // A grandchild may hold the pipes open: the end of the child is what counts. Asked
            // first, so that what it wrote before its end is read below.
            reap();
            read_output();
            read_lines();
            m_work.on_tick();
            kill_when_late();
        }
        return end();
    }

private:
    void wait_for_something()
    {
        if (m_is_busy) {
            // Lines come in quick succession: many at a time cost less than each by itself.
            std::this_thread::sleep_for(kNap);
        }
        std::array<pollfd, 2> fds{{{m_lines.get(), POLLIN, 0}, {m_output.get(), POLLIN, 0}}};
        if (poll(fds.data(), fds.size(), static_cast<int>(time_to_wait().count())) < 0 &&
            errno != EINTR) {
            fail("cannot wait for the child process");
        }
    }

    std::chrono::milliseconds time_to_wait() const
    {
        // Both pipes are closed a moment before the child can be reaped.
        return m_lines.is_open() || m_output.is_open() ? kTick : std::chrono::milliseconds(1);
    }

    void read_lines()
    {
        const auto last_line = m_last_line;
        read_all(m_lines, [this](std::string_view text) {
            m_partial_line += text;
            m_last_line = Clock::now();
        });
        m_is_busy = m_last_line - last_line < kQuickSuccession && m_last_line != last_line;
        std::size_t start = 0;
        for (std::size_t end = m_partial_line.find('\n'); end != std::string::npos;
             end = m_partial_line.find('\n', start)) {
            m_work.on_line(std::string_view(m_partial_line).substr(start, end - start));
            start = end + 1;
        }
        m_partial_line.erase(0, start);
    }

    void read_output()
    {
        read_all(m_output, [this](std::string_view text) { m_work.on_output(text); });
    }

    /** Empties the pipe; but a child that never stops writing must not keep us here. */
    template <typename Take>
    static void read_all(Descriptor &from, const Take &take)
    {
        constexpr int kMaxReads = 64;
        std::array<char, 16384> buffer;
        for (int reads = 0; reads < kMaxReads && from.is_open(); ++reads) {
            const ssize_t size = read(from.get(), buffer.data(), buffer.size());
            if (size > 0) {
                take(std::string_view(buffer.data(), static_cast<std::size_t>(size)));
            } else if (size == 0) {
                from.close();
            } else if (errno == EAGAIN) {
                return;
            } else if (errno != EINTR) {
                fail("cannot read from the child process");
            }
        }
    }

    void reap()
    {
        int status = 0;
        const pid_t reaped = waitpid(m_child, &status, WNOHANG);
        if (reaped < 0 && errno != EINTR) {
            fail("cannot wait for the child process");
        }
        if (reaped == m_child) {
            m_status = status;
        }
    }

    void kill_when_late()
    {
        const bool is_late =
            m_work.idle_timeout.count() > 0 && Clock::now() - m_last_line >= m_work.idle_timeout;
        if (is_late && !m_timed_out && !m_status) {
            m_timed_out = true;
            kill(m_child, SIGKILL);
        }
    }

    ChildEnd end() const
    {
        ChildEnd end;
        end.timed_out = m_timed_out;
        if (WIFSIGNALED(*m_status)) {
            end.signal = WTERMSIG(*m_status);
        } else {
            end.exit_status = WEXITSTATUS(*m_status);
        }
        return end;
    }

    const ChildWork &m_work;
    pid_t m_child;
    Descriptor m_lines;
    Descriptor m_output;
    std::string m_partial_line;
    Clock::time_point m_last_line = Clock::now();
    bool m_is_busy = false;
    bool m_timed_out = false;
    std::optional<int> m_status;
};

void read_without_waiting(const Descriptor &descriptor)
{
    if (fcntl(descriptor.get(), F_SETFL, O_NONBLOCK) != 0) {
        fail("cannot set up a pipe");
    }
}

} // namespace

ChildEnd run_in_child(const ChildWork &work)
{
    Pipe lines = make_pipe();
    Pipe output = make_pipe();
    read_without_waiting(lines.read_end);
    read_without_waiting(output.read_end);
    // What stands in buffers would otherwise be written twice.
    std::cout.flush();
    static_cast<void>(std::fflush(nullptr));
    const pid_t child = fork();
    if (child < 0) {
        fail("cannot start a child process");
    }
    if (child == 0) {
        run_child(work, lines, output);
    }
    lines.write_end.close();
    output.write_end.close();
    return Watch(work, child, std::move(lines.read_end), std::move(output.read_end)).run();
}

} // namespace host
