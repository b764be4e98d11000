/**
 * @file
 * Runs work that may die in a child process, and lives on to tell.
 */
#pragma once

#include "checker/child_start.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace host
{

/** What to do with what comes from a child process. */
struct ChildEvents {
    std::function<void(std::string_view line)> on_line;
    /** What the child writes to stdout and stderr, as it comes. */
    std::function<void(std::string_view text)> on_output;
    /** Is called several times a second. */
    std::function<void()> on_tick;
    /** What the child shows of its work; may be null. Something else than before is as good as a
     *  line. */
    std::function<std::optional<std::size_t>()> pulse;
    /**
     * Longest time from one line to the next; 0: no limit. The child is killed after that. Time
     * that the callbacks take, or in which this process is stopped, does not count.
     */
    std::chrono::milliseconds idle_timeout{0};
};

/** How a child came to its end. */
struct ChildEnd {
    bool timed_out = false;
    int signal = 0; /**< 0: it exited. */
    int exit_status = 0;
};

/**
 * Work in a child process. What the work has started ends with it, and both end with this object
 * and with this process, whatever ends that.
 */
class Child
{
public:
    /** Starts it. @throws std::system_error */
    explicit Child(const ChildMain &work) : m_child(start_child(work)) {}
    ~Child();
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    /**
     * Gives it something to read, without waiting until it does.
     * @return Whether it took all: otherwise it is out of step for good.
     */
    bool send(std::string_view text);
    /** It reads the end of the input. */
    void end_input() { m_child.input.close(); }

    /**
     * Takes what comes until it is enough, or until the child ends.
     * @param is_enough  Is asked after each round; what the child wrote before is passed on.
     * @return Nothing: it was enough, and the child lives on.
     * @throws std::system_error, std::runtime_error for a line without end, and what the callbacks
     *         throw.
     */
    std::optional<ChildEnd> watch(const ChildEvents &events,
                                  const std::function<bool()> &is_enough);

private:
    using Duration = std::chrono::steady_clock::duration;

    void wait_for_something();
    template <typename Callback>
    void call(const Callback &callback);
    void feel_pulse(const ChildEvents &events);
    void add_silence(Duration time);
    void read_lines(const ChildEvents &events);
    void pass_lines(const ChildEvents &events);
    void read_output(const ChildEvents &events);
    void read_status();
    void end_when_late(const ChildEvents &events);
    ChildEnd end() const;

    StartedChild m_child;
    std::string m_partial_line;
    Duration m_silence{0};      /**< Since the last line, as far as we were listening. */
    Duration m_in_callbacks{0}; /**< In this round. */
    bool m_has_line = false;    /**< Or a pulse, in this round. */
    bool m_timed_out = false;
    std::optional<std::size_t> m_pulse;
    std::optional<int> m_status;
};

/** Work that needs nothing but to be run. */
struct ChildWork : ChildEvents {
    std::function<void(int line_fd)> work;
};

/** Runs the work and waits for its end. @throws As Child. */
ChildEnd run_in_child(const ChildWork &work);

} // namespace host
