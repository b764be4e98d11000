#include "checker/supervisor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using host::ChildEnd;
using host::ChildWork;
using namespace std::chrono_literals;

namespace
{

class Supervisor : public testing::Test
{
protected:
    ChildEnd run(std::function<void(int)> work, std::chrono::milliseconds idle_timeout = 0ms)
    {
        ChildWork child;
        child.work = std::move(work);
        child.on_line = [this](std::string_view line) { lines.emplace_back(line); };
        child.on_output = [this](std::string_view text) { output += text; };
        child.on_tick = [] {};
        child.idle_timeout = idle_timeout;
        return host::run_in_child(child);
    }

    std::vector<std::string> lines;
    std::string output;
};

void say(int fd, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(fd, text.data(), text.size());
        if (written < 0) {
            _exit(99);
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

TEST_F(Supervisor, DeliversLinesAndOutputInWhole)
{
    const std::string long_line(200000, 'x');
    const ChildEnd end = run([&](int fd) {
        say(fd, "one\nt");
        say(fd, "wo\n" + long_line + "\n");
        say(STDERR_FILENO, long_line);
        say(STDOUT_FILENO, "end");
    });
    EXPECT_EQ(lines, (std::vector<std::string>{"one", "two", long_line}));
    EXPECT_EQ(output, long_line + "end");
    EXPECT_EQ(end.signal, 0);
    EXPECT_EQ(end.exit_status, 0);
}

TEST_F(Supervisor, DoesNotWaitForAGrandchildThatHoldsThePipes)
{
    // Without a time limit: only the end of the child can end this.
    const ChildEnd end = run([](int fd) {
        if (fork() == 0) {
            alarm(30);
            pause();
            _exit(0);
        }
        say(fd, "gone\n");
        _exit(0);
    });
    EXPECT_EQ(end.exit_status, 0);
    EXPECT_EQ(lines, std::vector<std::string>{"gone"});
}

/** Waits until nobody holds the writing end any more. */
bool comes_to_an_end(int read_end)
{
    pollfd end{read_end, POLLIN, 0};
    constexpr int kMilliseconds = 10000;
    return poll(&end, 1, kMilliseconds) == 1;
}

/** Starts a process in a session of its own that nobody waits for. */
void start_daemon()
{
    if (fork() == 0) {
        setsid();
        if (fork() == 0) {
            alarm(60);
            pause();
        }
        _exit(0);
    }
}

/** Whether a process is told of the ends of those that its children leave behind. */
bool tells_of_orphans()
{
    const pid_t ancestor = fork();
    if (ancestor == 0) {
        prctl(PR_SET_CHILD_SUBREAPER, 1);
        if (fork() == 0) {
            const pid_t parent = getpid();
            if (fork() == 0) {
                while (getppid() == parent) {
                    usleep(1000);
                }
            }
            _exit(0);
        }
        wait(nullptr);
        _exit(wait(nullptr) > 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(ancestor, &status, 0);
    return status == 0;
}

TEST_F(Supervisor, LeavesNothingThatTheChildStarted)
{
    if (!tells_of_orphans()) {
        GTEST_SKIP() << "this kernel has no subreapers: a daemon of the plug-in's stays";
    }
    for (const bool is_supervisor_killed : {false, true}) {
        std::array<int, 2> holders{};
        ASSERT_EQ(pipe(holders.data()), 0);
        const pid_t supervisor = fork();
        if (supervisor == 0) {
            ::close(holders[0]);
            const pid_t self = getpid();
            run([&](int) {
                start_daemon();
                if (is_supervisor_killed) {
                    kill(self, SIGKILL);
                    pause();
                }
            });
            _exit(0);
        }
        ::close(holders[1]);
        EXPECT_TRUE(comes_to_an_end(holders[0])) << "a process is left";
        ::close(holders[0]);
        waitpid(supervisor, nullptr, 0);
    }
}

TEST_F(Supervisor, CountsOnlyTheChildsOwnSilence)
{
    ChildWork child;
    child.work = [](int fd) {
        say(STDERR_FILENO, "to a pager");
        usleep(1000000);
        say(fd, "line\n");
    };
    child.on_line = [](std::string_view) {};
    child.on_output = [](std::string_view) { usleep(900000); };
    child.on_tick = [] {};
    child.idle_timeout = 800ms;
    EXPECT_FALSE(host::run_in_child(child).timed_out);
}

TEST_F(Supervisor, RefusesALineWithoutEnd)
{
    const std::string part(65536, 'x');
    EXPECT_THROW(run([&](int fd) {
                     for (;;) {
                         say(fd, part);
                     }
                 }),
                 std::runtime_error);
}

TEST_F(Supervisor, KillsAChildThatNeverStopsWriting)
{
    const ChildEnd end = run(
        [](int) {
            const std::string noise(60000, 'x');
            for (;;) {
                say(STDERR_FILENO, noise);
            }
        },
        500ms);
    EXPECT_TRUE(end.timed_out);
}

TEST_F(Supervisor, LeavesNoChildWhenACallbackThrows)
{
    ChildWork child;
    child.work = [](int fd) {
        say(fd, "line\n");
        for (;;) {
            pause();
        }
    };
    child.on_line = [](std::string_view) { throw std::runtime_error("enough"); };
    child.on_output = [](std::string_view) {};
    child.on_tick = [] {};
    EXPECT_THROW(host::run_in_child(child), std::runtime_error);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
}

} // namespace
