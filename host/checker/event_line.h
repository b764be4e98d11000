/**
 * @file
 * Events of asking, as one line each: how a child process tells its parent what the plug-in
 * does.
 */
#pragma once

#include "checker/asking.h"

#include <string>
#include <string_view>
#include <sys/types.h>

namespace host
{

/**
 * What each line of a run begins with. The plug-in has the same descriptors as the writer: what it
 * writes there by mistake is no event, and none of its making is taken for one.
 */
std::string make_event_key();

/**
 * Writes events to a file descriptor before the plug-in runs again: a process that dies leaves
 * nothing behind. Only an answer waits for the next event, to save a call of the system for each
 * of thousands of requests. A copy of the process, which a plug-in may fork, writes nothing: its
 * answers are not those of the process that was asked.
 */
class EventWriter : public AskingListener
{
public:
    EventWriter(int fd, std::string key);
    ~EventWriter() override;
    EventWriter(const EventWriter &) = delete;
    EventWriter &operator=(const EventWriter &) = delete;

    void step(Step step) override;
    void before(std::size_t request) override;
    void after(std::size_t request, const engine::Answer &answer) override;
    void unusable(const std::vector<engine::Problem> &problems) override;
    void threw(const std::string &exception) override;
    void answered() override;
    void ended() override;

private:
    void tell(const std::string &line);
    void flush();

    int m_fd;
    std::string m_key;
    pid_t m_owner;         /**< Process that writes. */
    std::string m_pending; /**< Answers that no other event has followed yet. */
};

/**
 * Tells the listener of the event in a line.
 * @param key  Of the writer.
 * @throws std::runtime_error  The line is no event of that writer.
 */
void replay_event(std::string_view line, std::string_view key, AskingListener &listener);

} // namespace host
