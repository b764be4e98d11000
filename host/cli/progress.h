/**
 * @file
 * A line on the terminal that tells how far a long check has come.
 */
#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>

namespace host
{

class Progress
{
public:
    /** @param terminal  Null: nobody watches, nothing is shown. */
    explicit Progress(std::ostream *terminal) : m_terminal(terminal) {}
    ~Progress() { clear(); }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /** What all that follows is part of, such as an edit of many. */
    void within(const std::string &part);
    /** Shows at once what will take long. */
    void show(const std::string &work);
    /** Request `number` of `total` is being made. */
    void at(std::size_t number, std::size_t total, const std::string &rule);
    /** Shows it if the work takes long enough by now; to be called every now and then. */
    void tick();
    /** Wipes the line. */
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    std::ostream *m_terminal;
    Clock::time_point m_start = Clock::now();
    Clock::time_point m_last{};
    std::string m_part; /**< Ends with a comma, if there is one. */
    std::string m_text;
    bool m_shown = false;
};

} // namespace host
