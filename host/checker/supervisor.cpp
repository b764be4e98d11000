#include "checker/supervisor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <utility>

namespace host
{
namespace
{

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kTick{100};
constexpr std::chrono::milliseconds kMaxRound{2 * kTick};
/** An event of ours is shorter: see EventWriter. */
constexpr std::size_t kMaxLine = 1U << 20U;

[[noreturn]] void fail(const char *what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

/** Empties the pipe; but a child that never stops writing must not keep us here. */
template <typename Take>
void read_all(Descriptor &from, const Take &take)
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

} // namespace

/** A callback that throws must leave no process behind. */
Child::~Child()
{
    if (!m_status) {
        kill(m_child.guardian, SIGTERM);
    }
    waitpid(m_child.guardian, nullptr, 0);
}

bool Child::send(std::string_view text)
{
    const ssize_t sent =
        ::send(m_child.input.get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    return sent == static_cast<ssize_t>(text.size());
}

std::optional<ChildEnd> Child::watch(const ChildEvents &events,
                                     const std::function<bool()> &is_enough)
{
    m_silence = Duration::zero();
    while (!m_status && (m_timed_out || !is_enough())) {
        const auto start = Clock::now();
        m_in_callbacks = Duration::zero();
        m_has_line = false;
        wait_for_something();
        // A grandchild may hold the pipes open: the end of the child is what counts. Asked
        // first, so that what it wrote before its end is read below.
        read_status();
        read_output(events);
        read_lines(events);
        call([&] { events.on_tick(); });
        feel_pulse(events);
        add_silence(Clock::now() - start - m_in_callbacks);
        end_when_late(events);
    }
    if (m_status) {
        return end();
    }
    // It was written before the last line, but perhaps after it was looked for.
    read_output(events);
    return std::nullopt;
}

void Child::wait_for_something()
{
    std::array<pollfd, 3> fds{{{m_child.lines.get(), POLLIN, 0},
                               {m_child.output.get(), POLLIN, 0},
                               {m_child.status.get(), POLLIN, 0}}};
    if (poll(fds.data(), fds.size(), static_cast<int>(kTick.count())) < 0 && errno != EINTR) {
        fail("cannot wait for the child process");
    }
}

/** What is called may wait for others, such as a pager: that is no silence of the child's. */
template <typename Callback>
void Child::call(const Callback &callback)
{
    const auto start = Clock::now();
    callback();
    m_in_callbacks += Clock::now() - start;
}

void Child::feel_pulse(const ChildEvents &events)
{
    const auto pulse = events.pulse ? events.pulse() : std::nullopt;
    m_has_line = m_has_line || pulse != std::exchange(m_pulse, pulse);
}

/** Of one round; a round that took long is one in which this process was stopped. */
void Child::add_silence(Duration time)
{
    m_silence = m_has_line ? Duration::zero() : m_silence + std::min<Duration>(time, kMaxRound);
}

void Child::read_lines(const ChildEvents &events)
{
    read_all(m_child.lines, [this](std::string_view text) {
        m_partial_line += text;
        m_has_line = true;
    });
    pass_lines(events);
    if (m_partial_line.size() > kMaxLine) {
        throw std::runtime_error("the child process sent a line without end");
    }
}

void Child::pass_lines(const ChildEvents &events)
{
    std::size_t start = 0;
    for (std::size_t end = m_partial_line.find('\n'); end != std::string::npos;
         end = m_partial_line.find('\n', start)) {
        call([&] { events.on_line(std::string_view(m_partial_line).substr(start, end - start)); });
        start = end + 1;
    }
    m_partial_line.erase(0, start);
}

void Child::read_output(const ChildEvents &events)
{
    read_all(m_child.output, [&](std::string_view text) { call([&] { events.on_output(text); }); });
}

void Child::read_status()
{
    int status = 0;
    const ssize_t size = read(m_child.status.get(), &status, sizeof(status));
    if (size == sizeof(status)) {
        m_status = status;
    } else if (size >= 0) {
        throw std::runtime_error("the child process was lost");
    } else if (errno != EAGAIN && errno != EINTR) {
        fail("cannot wait for the child process");
    }
}

void Child::end_when_late(const ChildEvents &events)
{
    const bool is_late = events.idle_timeout.count() > 0 && m_silence >= events.idle_timeout;
    if (is_late && !m_timed_out && !m_status) {
        m_timed_out = true;
        kill(m_child.guardian, SIGTERM);
    }
}

ChildEnd Child::end() const
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

ChildEnd run_in_child(const ChildWork &work)
{
    Child child([&work](int line_fd, int /*input_fd*/) { work.work(line_fd); });
    return *child.watch(work, [] { return false; });
}

} // namespace host
