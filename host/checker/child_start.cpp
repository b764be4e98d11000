#include "checker/child_start.h"

#include "checker/guardian.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <malloc.h>
#include <sys/socket.h>
#include <system_error>
#include <vector>

namespace host
{
namespace
{

[[noreturn]] void fail(const char *what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

/** Or a connected pair of sockets. */
struct Pipe {
    Descriptor read_end;
    Descriptor write_end;
};

/** The parent does not wait for what comes. */
Pipe make_pipe()
{
    std::array<int, 2> fds{};
    if (pipe2(fds.data(), O_CLOEXEC) != 0) {
        fail("cannot make a pipe");
    }
    Pipe pipe{Descriptor(fds[0]), Descriptor(fds[1])};
    if (fcntl(fds[0], F_SETFL, O_NONBLOCK) != 0) {
        fail("cannot set up a pipe");
    }
    return pipe;
}

/** Sockets: writing to a child that has ended is an error there, not a signal. */
Pipe make_input()
{
    std::array<int, 2> fds{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds.data()) != 0) {
        fail("cannot make a pair of sockets");
    }
    return {Descriptor(fds[0]), Descriptor(fds[1])};
}

struct Pipes {
    Pipe lines = make_pipe();
    Pipe output = make_pipe();
    Pipe status = make_pipe();
    Pipe input = make_input();
};

/** Child side: never returns into the parent's code, and runs none of its destructors. */
[[noreturn]] void run_child(const ChildMain &work, const Pipes &pipes)
{
    // What the operator types is for the parent.
    const Descriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    dup2(nothing.get(), STDIN_FILENO);
    dup2(pipes.output.write_end.get(), STDOUT_FILENO);
    dup2(pipes.output.write_end.get(), STDERR_FILENO);
    int status = 0;
    try {
        work(pipes.lines.write_end.get(), pipes.input.read_end.get());
    } catch (const std::exception &failure) {
        std::cerr << "the work in the child process failed: " << failure.what() << '\n';
        status = 1;
    }
    std::cout.flush();
    static_cast<void>(std::fflush(nullptr));
    _exit(status);
}

pid_t fork_guardian(const ChildMain &work, Pipes &pipes)
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
        pipes.input.write_end.close(); // Its end is the parent's to tell.
        run_guardian(parent, pipes.status.write_end.get(), [&] {
            pipes.status.write_end.close(); // The end of the work is not the worker's to tell.
            run_child(work, pipes);
        });
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    if (guardian < 0) {
        fail("cannot start a child process");
    }
    return guardian;
}

/**
 * A loaded configuration leaves thousands of gaps of a few bytes between its nodes. Whatever the
 * child would put there costs it a copy of a page: the gaps are taken before it is there, for good.
 */
void fill_gaps()
{
#ifdef __GLIBC__
    constexpr std::size_t kLargest = 256;
    constexpr std::size_t kStep = 2 * sizeof(std::size_t);
    [[gnu::used]] static std::vector<void *> *gaps = nullptr;
    if (gaps != nullptr) {
        return; // Those of the loading are the many.
    }
    gaps = new std::vector<void *>;
    for (std::size_t size = kStep + sizeof(std::size_t); size <= kLargest; size += kStep) {
        for (auto left = mallinfo2().ordblks; left > 0; --left) {
            gaps->push_back(std::malloc(size));
        }
    }
#endif
}

} // namespace

StartedChild start_child(const ChildMain &work)
{
    fill_gaps();
    Pipes pipes;
    // What stands in buffers would otherwise be written twice.
    std::cout.flush();
    static_cast<void>(std::fflush(nullptr));
    const pid_t guardian = fork_guardian(work, pipes);
    return {guardian, std::move(pipes.lines.read_end), std::move(pipes.output.read_end),
            std::move(pipes.status.read_end), std::move(pipes.input.write_end)};
}

} // namespace host
