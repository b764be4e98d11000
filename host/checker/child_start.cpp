#include "checker/child_start.h"

#include "checker/guardian.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <malloc.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

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

#ifdef __GLIBC__
/** Where the heap ends that was ever used; null if it is that of another allocator. */
const char *end_of_used_heap()
{
    const auto unused = mallinfo2().keepcost;
    return unused != 0 ? static_cast<const char *>(sbrk(0)) - unused : nullptr;
}

/** Without this the compiler leaves out what it allocates in vain. */
void keep(void *memory)
{
    [[maybe_unused]] static void *volatile never_freed = nullptr;
    never_freed = memory;
}

constexpr std::size_t kLargestGap = std::size_t{64}
                                    << 10U; // One that is larger is filled in parts.

/** Takes the free pieces of the heap, the larger ones first, and never frees them. */
void fill_gaps()
{
    constexpr std::size_t kSmall = 256; // From here down each size that there is.
    constexpr std::size_t kStep = 2 * sizeof(std::size_t);
    const auto heap = mallinfo2();
    auto left = heap.fordblks - heap.keepcost;
    const char *end = end_of_used_heap();
    for (std::size_t size = kLargestGap; size >= kStep; size -= size > kSmall ? size / 2 : kStep) {
        while (left >= size) {
            void *gap = std::malloc(size);
            if (static_cast<const char *>(gap) >= end) {
                std::free(gap); // There is none of this size.
                break;
            }
            keep(gap);
            left -= size;
        }
    }
}

/** Has the heap go on in a large page that nothing was written to. */
void fill_page()
{
    constexpr std::size_t kLargePage = std::size_t{2} << 20U;
    constexpr std::size_t kHeader = 64; // What the allocator writes stays in the page before.
    const auto end = reinterpret_cast<std::uintptr_t>(end_of_used_heap());
    auto rest = kLargePage - end % kLargePage;
    if (rest < 2 * kLargestGap) {
        rest += kLargePage; // The search for gaps may have written there.
    }
    keep(std::malloc(rest - kHeader));
}
#endif

/**
 * Whatever either process writes to a page that both have costs a copy of it: what is allocated
 * from now on gets pages of its own. A loaded configuration leaves thousands of gaps between its
 * nodes.
 */
void part_heaps()
{
#ifdef __GLIBC__
    static bool is_done = false; // The gaps of the loading are the many.
    if (!std::exchange(is_done, true) && end_of_used_heap() != nullptr) {
        fill_gaps();
        fill_page();
    }
#endif
}

} // namespace

StartedChild start_child(const ChildMain &work)
{
    part_heaps();
    Pipes pipes;
    // What stands in buffers would otherwise be written twice.
    std::cout.flush();
    static_cast<void>(std::fflush(nullptr));
    const pid_t guardian = fork_guardian(work, pipes);
    return {guardian, std::move(pipes.lines.read_end), std::move(pipes.output.read_end),
            std::move(pipes.status.read_end), std::move(pipes.input.write_end)};
}

} // namespace host
