#include "checker/process_end.h"

#include "checker/outcome.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace host
{
namespace
{

constexpr std::array kFatalSignals{SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL};

std::atomic<ExitGuard *> armed_guard{nullptr};
bool has_crash_handler = false;

/** Safe in a signal handler, as all that is called here. */
void write_error(std::string_view text)
{
    // Nothing can be done about a failure.
    static_cast<void>(!write(STDERR_FILENO, text.data(), text.size()));
}

[[noreturn]] void end_now(int status)
{
    for (;;) {
        syscall(SYS_exit_group, status);
    }
}

/** What _exit() does, here and in all that this process loads. */
[[noreturn]] void leave(int status)
{
    if (ExitGuard::is_armed()) {
        if (ExitGuard::is_owner()) {
            write_error("gpon-validate: the plug-in ended this process at once, with _exit\n");
        }
        status = static_cast<int>(Result::kPluginDied);
    }
    end_now(status);
}

void on_crash(int signal)
{
    const bool is_plugin = ExitGuard::is_armed();
    const char *name = sigdescr_np(signal);
    write_error("gpon-validate: ");
    write_error(is_plugin ? "the plug-in died in this process: " : "internal failure: ");
    write_error(name != nullptr ? name : "unknown signal");
    write_error("\n");
    end_now(static_cast<int>(is_plugin ? Result::kPluginDied : Result::kNotChecked));
}

void set_handler(void (*handler)(int), int flags)
{
    struct sigaction action {
    };
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    for (const int signal : kFatalSignals) {
        sigaction(signal, &action, nullptr);
    }
}

} // namespace

ExitGuard::ExitGuard(std::function<void(int)> report)
    : m_report(std::move(report)), m_owner(getpid())
{
    static const int registered = on_exit(at_exit, nullptr);
    static_cast<void>(registered);
    armed_guard = this;
}

ExitGuard::~ExitGuard()
{
    armed_guard = nullptr;
    if (getpid() != m_owner) {
        end_now(static_cast<int>(Result::kPluginDied));
    }
}

bool ExitGuard::is_armed()
{
    return armed_guard != nullptr;
}

bool ExitGuard::is_owner()
{
    const ExitGuard *guard = armed_guard;
    return guard != nullptr && guard->m_owner == getpid();
}

void ExitGuard::at_exit(int status, void *)
{
    const ExitGuard *guard = armed_guard.exchange(nullptr);
    if (guard == nullptr) {
        return;
    }
    try {
        if (getpid() == guard->m_owner) {
            guard->m_report(status);
        }
    } catch (const std::exception &failure) {
        write_error("gpon-validate: the plug-in ended this process, and there is no report: ");
        write_error(failure.what());
        write_error("\n");
    }
    end_now(static_cast<int>(Result::kPluginDied));
}

void install_crash_handler()
{
#ifndef WITH_SANITIZERS // They tell more about a crash than we can.
    constexpr std::size_t kStackSize = 65536;
    static std::array<char, kStackSize> stack;
    stack_t alternate{};
    alternate.ss_sp = stack.data();
    alternate.ss_size = stack.size();
    sigaltstack(&alternate, nullptr);
    set_handler(on_crash, SA_ONSTACK | static_cast<int>(SA_RESETHAND));
    has_crash_handler = true;
#endif
}

void remove_crash_handler()
{
    if (has_crash_handler) {
        set_handler(SIG_DFL, 0);
    }
}

} // namespace host

// These stand in front of the C library's, which no handler could follow.

extern "C" void _exit(int status)
{
    host::leave(status);
}

extern "C" void _Exit(int status) noexcept
{
    host::leave(status);
}
