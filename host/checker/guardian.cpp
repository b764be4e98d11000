#include "checker/guardian.h"

#include "checker/process_end.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace host
{
namespace
{

sigset_t watched_signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGCHLD);
    return signals;
}

/** Whether the worker has ended; it stays a zombie, so that its group's number stays taken. */
bool has_ended(pid_t worker)
{
    for (;;) {
        siginfo_t info{};
        if (waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0) {
            return errno == ECHILD;
        }
        if (info.si_pid == 0 || info.si_pid == worker) {
            return info.si_pid == worker;
        }
        waitpid(info.si_pid, nullptr, 0); // What the worker left behind, and that ended.
    }
}

/** From /proc/PID/stat; the name before it may hold blanks and parentheses. 0 where none is told.
 */
pid_t parent_of(const std::filesystem::path &process)
{
    std::string line;
    std::getline(std::ifstream(process / "stat"), line);
    std::istringstream behind_name(line.substr(line.rfind(')') + 1));
    char state = 0;
    pid_t parent = 0;
    behind_name >> state >> parent;
    return parent;
}

/** Not every kernel has the file in /proc that names a process's children. */
void kill_children()
{
    std::error_code ignored; // A process may end while it is looked at.
    for (const auto &entry : std::filesystem::directory_iterator("/proc", ignored)) {
        const auto process =
            static_cast<pid_t>(std::strtol(entry.path().filename().c_str(), nullptr, 10));
        if (process > 0 && parent_of(entry.path()) == getpid()) {
            kill(process, SIGKILL);
        }
    }
}

/** Orphans become our children, generation by generation. */
void kill_orphans()
{
    constexpr int kMaxTrials = 1000;
    constexpr std::chrono::milliseconds kNap{1};
    for (int trial = 0; trial < kMaxTrials; ++trial) {
        pid_t reaped = 0;
        do {
            reaped = waitpid(-1, nullptr, WNOHANG);
        } while (reaped > 0);
        if (reaped < 0) {
            return;
        }
        kill_children();
        std::this_thread::sleep_for(kNap);
    }
}

pid_t start(const std::function<void()> &work)
{
    const pid_t guardian = getpid();
    const pid_t worker = fork();
    if (worker != 0) {
        return worker;
    }
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() == guardian) {
        const sigset_t signals = watched_signals();
        sigprocmask(SIG_UNBLOCK, &signals, nullptr);
        work();
    }
    _exit(EXIT_FAILURE);
}

} // namespace

void run_guardian(int parent, int status_fd, const std::function<void()> &work)
{
    remove_crash_handler();
    setpgid(0, 0); // What the operator types ends the parent, and with it the worker.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t worker = getppid() == parent ? start(work) : -1;
    if (worker < 0) {
        _exit(EXIT_FAILURE);
    }
    setpgid(worker, worker); // Whoever of the two comes first.
    const sigset_t signals = watched_signals();
    int signal = 0;
    do {
        sigwait(&signals, &signal);
    } while (signal != SIGTERM && !has_ended(worker));
    kill(-worker, SIGKILL);
    int status = 0;
    waitpid(worker, &status, 0);
    kill_orphans();
    static_cast<void>(!write(status_fd, &status, sizeof(status)));
    _exit(EXIT_SUCCESS);
}

} // namespace host
