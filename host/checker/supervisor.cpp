#include "checker/supervisor.h"

#include "checker/guardian.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <optional>
#include <poll.h>
#include <stdexcept>
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
constexpr std::chrono::milliseconds kMaxRound{2 * kTick};
constexpr std::chrono::milliseconds kNap{1};
constexpr std::chrono::milliseconds kQuickSuccession{5};
/** An event of ours is shorter: see EventWriter. */
constexpr std::size_t kMaxLine = 1U << 20U;

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
    Watch(const ChildWork &work, pid_t guardian, Descriptor lines, Descriptor output,
          Descriptor status)
        : m_work(work), m_guardian(guardian), m_lines(std::move(lines)),
          m_output(std::move(output)), m_status_pipe(std::move(status))
    {
    }

    /** A callback that throws must leave no process behind. */
    ~Watch()
    {
        if (!m_status) {
            kill(m_guardian, SIGTERM);
        }
        waitpid(m_guardian, nullptr, 0);
    }
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;

    ChildEnd run()
    {
        while (!m_status) {
            const auto start = Clock::now();
            m_in_callbacks = Clock::duration::zero();
            m_has_line = false;
            wait_for_something();
            // A grandchild may hold the pipes open: the end of the child is what counts. Asked
            // first, so that what it wrote before its end is read below.
            read_status();
            read_output();
            read_lines();
            call([this] { m_work.on_tick(); });
            add_silence(Clock::now() - start - m_in_callbacks);
            end_when_late();
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
        std::array<pollfd, 3> fds{{{m_lines.get(), POLLIN, 0},
                                   {m_output.get(), POLLIN, 0},
                                   {m_status_pipe.get(), POLLIN, 0}}};
        if (poll(fds.data(), fds.size(), static_cast<int>(kTick.count())) < 0 && errno != EINTR) {
            fail("cannot wait for the child process");
        }
    }

    /** What is called may wait for others, such as a pager: that is no silence of the child's. */
    template <typename Callback>
    void call(const Callback &callback)
    {
        const auto start = Clock::now();
        callback();
        m_in_callbacks += Clock::now() - start;
    }

    /** Of one round; a round that took long is one in which this process was stopped. */
    void add_silence(Clock::duration time)
    {
        m_silence = m_has_line ? Clock::duration::zero()
                               : m_silence + std::min<Clock::duration>(time, kMaxRound);
    }

    void read_lines()
    {
        read_all(m_lines, [this](std::string_view text) {
            m_partial_line += text;
            m_has_line = true;
        });
        m_is_busy = m_has_line && m_silence < kQuickSuccession;
        pass_lines();
        if (m_partial_line.size() > kMaxLine) {
            throw std::runtime_error("the child process sent a line without end");
        }
    }

    void pass_lines()
    {
        std::size_t start = 0;
        for (std::size_t end = m_partial_line.find('\n'); end != std::string::npos;
             end = m_partial_line.find('\n', start)) {
            call([&] {
                m_work.on_line(std::string_view(m_partial_line).substr(start, end - start));
            });
            start = end + 1;
        }
        m_partial_line.erase(0, start);
    }

    void read_output()
    {
        read_all(m_output,
                 [this](std::string_view text) { call([&] { m_work.on_output(text); }); });
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

    void read_status()
    {
        int status = 0;
        const ssize_t size = read(m_status_pipe.get(), &status, sizeof(status));
        if (size == sizeof(status)) {
            m_status = status;
        } else if (size >= 0) {
            throw std::runtime_error("the child process was lost");
        } else if (errno != EAGAIN && errno != EINTR) {
            fail("cannot wait for the child process");
        }
    }

    void end_when_late()
    {
        const bool is_late = m_work.idle_timeout.count() > 0 && m_silence >= m_work.idle_timeout;
        if (is_late && !m_timed_out && !m_status) {
            m_timed_out = true;
            kill(m_guardian, SIGTERM);
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
    pid_t m_guardian;
    Descriptor m_lines;
    Descriptor m_output;
    Descriptor m_status_pipe;
    std::string m_partial_line;
    Clock::duration m_silence{0};      /**< Since the last line, as far as we were listening. */
    Clock::duration m_in_callbacks{0}; /**< In this round. */
    bool m_has_line = false;           /**< In this round. */
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

pid_t fork_guardian(const ChildWork &work, const Pipe &lines, const Pipe &output,
                    const Pipe &status)
{
    sigset_t signals;
    sigset_t before;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGCHLD);
    sigprocmask(SIG_BLOCK, &signals, &before); // For the guardian, before the first can come.
    const pid_t parent = getpid();
    const pid_t guardian = fork();
    if (guardian == 0) {
        run_guardian(parent, status.write_end.get(), [&] {
            ::close(status.write_end.get()); // The end of the work is not the worker's to tell.
            run_child(work, lines, output);
        });
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    if (guardian < 0) {
        fail("cannot start a child process");
    }
    return guardian;
}

} // namespace

ChildEnd run_in_child(const ChildWork &work)
{
    Pipe lines = make_pipe();
    Pipe output = make_pipe();
    Pipe status = make_pipe();
    for (const Pipe *pipe : {&lines, &output, &status}) {
        read_without_waiting(pipe->read_end);
    }
    // What stands in buffers would otherwise be written twice.
    std::cout.flush();
    static_cast<void>(std::fflush(nullptr));
    const pid_t guardian = fork_guardian(work, lines, output, status);
    for (Pipe *pipe : {&lines, &output, &status}) {
        pipe->write_end.close();
    }
    return Watch(work, guardian, std::move(lines.read_end), std::move(output.read_end),
                 std::move(status.read_end))
        .run();
}

} // namespace host
