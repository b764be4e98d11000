#include "fleet/worker_pool.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>

namespace host
{
namespace
{

constexpr std::chrono::milliseconds kTick{200};

[[noreturn]] void fail(const char *what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

sigset_t end_signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {
        };
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN) {
            sigaddset(&signals, signal);
        }
    }
    return signals;
}

bool write_all(int socket, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t sent = send(socket, text.data(), text.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(sent > 0 ? static_cast<std::size_t>(sent) : 0);
    }
    return true;
}

} // namespace

unsigned usable_processors()
{
    cpu_set_t processors;
    CPU_ZERO(&processors);
    const bool is_known = sched_getaffinity(0, sizeof(processors), &processors) == 0;
    return is_known ? static_cast<unsigned>(std::max(CPU_COUNT(&processors), 1)) : 1;
}

EndSignals::EndSignals()
    : m_signals(end_signals()), m_descriptor(signalfd(-1, &m_signals, SFD_NONBLOCK | SFD_CLOEXEC))
{
    if (!m_descriptor.is_open()) {
        fail("cannot wait for signals");
    }
    sigprocmask(SIG_BLOCK, &m_signals, &m_before);
}

EndSignals::~EndSignals()
{
    while (take() != 0) { // It was told already.
    }
    restore();
}

int EndSignals::take() const
{
    signalfd_siginfo info{};
    const bool came = read(m_descriptor.get(), &info, sizeof(info)) == sizeof(info);
    return came ? static_cast<int>(info.ssi_signo) : 0;
}

void EndSignals::restore() const
{
    sigprocmask(SIG_SETMASK, &m_before, nullptr);
}

WorkerPool::~WorkerPool()
{
    for (auto &worker : m_workers) {
        kill(worker->process, SIGKILL);
        waitpid(worker->process, nullptr, 0);
    }
}

int WorkerPool::run()
{
    while (m_next < m_work.count || !m_again.empty() || !m_workers.empty()) {
        while (m_workers.size() < m_jobs && (m_next < m_work.count || !m_again.empty())) {
            hire();
        }
        wait();
        if (const int signal = m_signals.take(); signal != 0) {
            return signal;
        }
        m_work.on_tick();
    }
    return 0;
}

void WorkerPool::hire()
{
    std::array<int, 2> sockets{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0) {
        fail("cannot make a pair of sockets");
    }
    Descriptor ours(sockets[0]);
    Descriptor theirs(sockets[1]);
    std::cout.flush(); // What stands in buffers would otherwise be written twice.
    const pid_t parent = getpid();
    const pid_t process = fork();
    if (process < 0) {
        fail("cannot start a worker");
    }
    if (process == 0) {
        setpgid(0, 0); // What the operator types is for the parent.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() == parent) {
            ours.close();
            m_workers.clear(); // The others' sockets are not ours to hold open.
            m_signals.restore();
            work_on(theirs.get());
        }
        _exit(EXIT_FAILURE);
    }
    m_workers.push_back(std::make_unique<Worker>(Worker{process, std::move(ours), {}, {}}));
    occupy(*m_workers.back());
}

std::optional<std::size_t> WorkerPool::next()
{
    if (!m_again.empty()) {
        const auto number = m_again.back();
        m_again.pop_back();
        return number;
    }
    return m_next < m_work.count ? std::optional(m_next++) : std::nullopt;
}

void WorkerPool::occupy(Worker &worker)
{
    worker.number = next();
    if (!worker.number) {
        shutdown(worker.socket.get(), SHUT_WR); // It reads the end, and ends.
        return;
    }
    worker.start = Clock::now();
    // One that cannot take it has died, and its socket tells so.
    static_cast<void>(write_all(worker.socket.get(), std::to_string(*worker.number) + '\n'));
}

void WorkerPool::wait()
{
    std::vector<pollfd> fds;
    fds.reserve(m_workers.size() + 1);
    for (const auto &worker : m_workers) {
        fds.push_back({worker->socket.get(), POLLIN, 0});
    }
    fds.push_back({m_signals.descriptor(), POLLIN, 0});
    if (poll(fds.data(), fds.size(), static_cast<int>(kTick.count())) < 0 && errno != EINTR) {
        fail("cannot wait for the workers");
    }
    for (std::size_t i = m_workers.size(); i-- > 0;) {
        if (fds[i].revents != 0 && !read_answer(*m_workers[i])) {
            bury(*m_workers[i]);
            m_workers.erase(m_workers.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
}

bool WorkerPool::read_answer(Worker &worker)
{
    std::array<char, 65536> buffer;
    const ssize_t size = recv(worker.socket.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (size <= 0) {
        return size < 0 && (errno == EAGAIN || errno == EINTR);
    }
    worker.answer.append(buffer.data(), static_cast<std::size_t>(size));
    if (worker.answer.back() == '\n' && worker.number) {
        worker.answer.pop_back();
        const auto time = Clock::now() - worker.start;
        m_work.on_done(*std::exchange(worker.number, std::nullopt), worker.answer, time);
        worker.answer.clear();
        occupy(worker);
    }
    return true;
}

void WorkerPool::bury(Worker &worker)
{
    int status = 0;
    kill(worker.process, SIGKILL); // One that closed its socket and lives on is of no use.
    while (waitpid(worker.process, &status, 0) < 0 && errno == EINTR) {
    }
    if (!worker.number) {
        return;
    }
    const auto number = *worker.number;
    if (std::find(m_failed.begin(), m_failed.end(), number) == m_failed.end()) {
        m_failed.push_back(number);
        m_again.push_back(number);
    } else {
        m_work.on_lost(number, status);
    }
}

void WorkerPool::work_on(int socket) const
{
    try {
        std::string number;
        for (char letter = 0; recv(socket, &letter, 1, 0) == 1;) {
            if (letter != '\n') {
                number += letter;
                continue;
            }
            if (!write_all(socket, m_work.work(std::stoul(number)) + '\n')) {
                break;
            }
            number.clear();
        }
    } catch (const std::exception &failure) {
        std::cerr << "a worker failed: " << failure.what() << std::endl;
        _exit(EXIT_FAILURE);
    }
    _exit(EXIT_SUCCESS);
}

} // namespace host
