#include "twin/check_client.h"

#include "twin/check_process.h"

#include <array>
#include <csignal>
#include <cstring>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace host::twin
{
namespace
{

/** Longest silence: the process tells several times a second that the plug-in runs. */
constexpr std::chrono::milliseconds kSilence{30'000};

/** A program of its own rather than a fork: it must not inherit the server's threads and sockets.
 */
pid_t spawn(int fd)
{
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    // The file descriptor may be the wanted one already: it must lose its close-on-exec flag.
    posix_spawn_file_actions_adddup2(&actions, fd, kCheckProcessFd);
    posix_spawn_file_actions_addclosefrom_np(&actions, kCheckProcessFd + 1);
    // The server's threads block the signals that end it; the process must not inherit that.
    posix_spawnattr_t attributes{};
    posix_spawnattr_init(&attributes);
    sigset_t none{};
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    std::array<char, 10> name{"gpon-twin"};
    std::array<char, 14> task{};
    std::strcpy(task.data(), kCheckProcess);
    const std::array<char *, 3> words{name.data(), task.data(), nullptr};
    pid_t process = -1;
    const int failure =
        posix_spawn(&process, "/proc/self/exe", &actions, &attributes, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (failure != 0) {
        throw CheckFailure(std::string("the check process cannot be started: ") +
                           std::strerror(failure));
    }
    return process;
}

std::string end_of(pid_t process)
{
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFSIGNALED(status) ? "died with signal " + std::to_string(WTERMSIG(status))
                               : "ended with exit code " + std::to_string(WEXITSTATUS(status));
}

} // namespace

CheckClient::CheckClient(CheckSetup setup, std::function<std::string()> running)
    : m_setup(std::move(setup)), m_running(std::move(running))
{
}

CheckClient::~CheckClient()
{
    stop(false);
}

std::optional<CheckClient::Turn> CheckClient::take_turn(std::chrono::milliseconds patience)
{
    std::unique_lock lock(m_mutex, patience);
    if (!lock.owns_lock()) {
        return std::nullopt;
    }
    return Turn(*this, std::move(lock));
}

void CheckClient::warm_up()
{
    const std::lock_guard lock(m_mutex);
    start();
}

CheckReport CheckClient::Turn::check(const Change &change, bool confirms_warnings)
{
    m_client.start();
    return m_client.ask({{{"task", "check"},
                          {"form", static_cast<int>(change.form)},
                          {"name", change.source.name},
                          {"confirms", confirms_warnings}},
                         change.source.text});
}

void CheckClient::Turn::commit()
{
    try {
        m_client.ask({{{"task", "commit"}}});
    } catch (const CheckFailure &) {
        m_client.stop(true);
    }
}

void CheckClient::Turn::forget()
{
    m_client.stop(true);
}

void CheckClient::start()
{
    if (m_wire) {
        return;
    }
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw CheckFailure(std::string("no connection to a check process: ") +
                           std::strerror(errno));
    }
    const Wire other(ends[1]);
    m_wire.emplace(ends[0]);
    try {
        m_process = spawn(ends[1]);
    } catch (...) {
        m_wire.reset();
        throw;
    }
    ask({{{"task", "open"},
          {"card", m_setup.card},
          {"plugin", m_setup.plugin},
          {"timeout", m_setup.idle_timeout.count()},
          {"latency", m_setup.call_latency.count()},
          {"fail_rule", m_setup.fail_rule},
          {"fail_call", m_setup.fail_call}},
         m_running()});
}

void CheckClient::stop(bool kill)
{
    m_wire.reset();
    if (m_process > 0) {
        if (kill) {
            ::kill(m_process, SIGKILL);
        }
        end_of(std::exchange(m_process, -1));
    }
}

nlohmann::json CheckClient::ask(const Message &message)
{
    std::optional<Message> answer;
    try {
        m_wire->send(message);
        do {
            answer = m_wire->receive(kSilence);
        } while (answer && answer->head.contains("tick"));
    } catch (const std::exception &failure) {
        stop(true);
        throw CheckFailure(std::string("the check process ") + failure.what() +
                           "; it is started anew");
    }
    if (!answer) {
        m_wire.reset();
        throw CheckFailure("the check process " + end_of(std::exchange(m_process, -1)) +
                           "; it is started anew");
    }
    if (answer->head.contains("failure")) {
        stop(true);
        throw CheckFailure("the check failed: " + answer->head.at("failure").get<std::string>());
    }
    return std::move(answer->head);
}

} // namespace host::twin
