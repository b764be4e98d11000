/** Events of asking, as one line each: how a child process tells its parent what the plug-in does.
 */
#pragma once

#include "checker/asking.h"

#include <string>
#include <string_view>

namespace host
{

/**
 * Writes events to a file descriptor before the plug-in runs again: a process that dies leaves
 * nothing behind. Only an answer waits for the next event, to save a call of the system for each
 * of thousands of requests.
 */
class EventWriter : public AskingListener
{
public:
    explicit EventWriter(int fd) : m_fd(fd) {}
    ~EventWriter() override;
    EventWriter(const EventWriter &) = delete;
    EventWriter &operator=(const EventWriter &) = delete;

    void step(Step step) override;
    void before(std::size_t request) override;
    void after(std::size_t request, const engine::Answer &answer) override;
    void unusable(const std::vector<engine::Problem> &problems) override;
    void threw(const std::string &exception) override;
    void ended() override;

private:
    void tell(const std::string &line);
    void flush();

    int m_fd;
    std::string m_pending; /**< Answers that no other event has followed yet. */
};

/** Tells the listener of the event in a line. @throws std::runtime_error  The line is no event. */
void replay_event(std::string_view line, AskingListener &listener);

} // namespace host
