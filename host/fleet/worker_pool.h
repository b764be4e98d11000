/**
 * @file
 * Processes that take on one piece of work after the other.
 */
#pragma once

#include "checker/descriptor.h"

#include <chrono>
#include <csignal>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace host
{

/** The processors that this process may use. */
unsigned usable_processors();

/** SIGINT, SIGTERM and SIGHUP as something to wait for, unless they are ignored. */
class EndSignals
{
public:
    /** @throws std::system_error */
    EndSignals();
    ~EndSignals();
    EndSignals(const EndSignals &) = delete;
    EndSignals &operator=(const EndSignals &) = delete;

    int descriptor() const { return m_descriptor.get(); }
    /** @return A signal that came; 0: none. */
    int take() const;
    /** In a child process: signals are as they were. */
    void restore() const;

private:
    sigset_t m_signals;
    sigset_t m_before{};
    Descriptor m_descriptor;
};

/** What a pool does, and what it tells of. Pieces of work are told apart by number. */
struct PoolWork {
    std::size_t count = 0;
    /** Is called in a worker. @return What `on_done` gets, without a newline. */
    std::function<std::string(std::size_t number)> work;
    std::function<void(std::size_t number, const std::string &answer,
                       std::chrono::nanoseconds time)>
        on_done;
    /** Two workers died of it, each in a process of its own. @param status  As of waitpid. */
    std::function<void(std::size_t number, int status)> on_lost;
    /** Is called several times a second. */
    std::function<void()> on_tick;
};

/**
 * Runs pieces of work in processes forked from this one, which must have no threads. Each has one
 * piece at a time. A worker that dies is replaced, and its piece is done once more. Workers end
 * with this object and with this process, whatever ends that.
 */
class WorkerPool
{
public:
    /** Forks nothing yet. @param jobs  Processes at a time, at least one. */
    WorkerPool(unsigned jobs, PoolWork work) : m_jobs(jobs), m_work(std::move(work)) {}
    ~WorkerPool();
    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    /**
     * Does all of it.
     * @return 0, or the signal that asked this process to end: the workers have ended by then.
     * @throws std::system_error, and what the callbacks throw.
     */
    int run();

private:
    using Clock = std::chrono::steady_clock;

    struct Worker {
        pid_t process;
        Descriptor socket;
        std::string answer;                /**< As far as it came. */
        std::optional<std::size_t> number; /**< What it works on. */
        Clock::time_point start{};
    };

    void hire();
    /** Gives it the next piece of work, or lets it go. */
    void occupy(Worker &worker);
    std::optional<std::size_t> next();
    void wait();
    /** @return False: it has ended. */
    bool read_answer(Worker &worker);
    void bury(Worker &worker);
    [[noreturn]] void work_on(int socket) const;

    unsigned m_jobs;
    PoolWork m_work;
    EndSignals m_signals;
    std::vector<std::unique_ptr<Worker>> m_workers;
    std::size_t m_next = 0;
    std::vector<std::size_t> m_again;  /**< To be done once more. */
    std::vector<std::size_t> m_failed; /**< A worker died of these already. */
};

} // namespace host
