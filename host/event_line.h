/**
 * Events of asking, as one line of JSON each: how a child process tells its parent what the
 * plug-in does.
 */
#pragma once

#include "asking.h"

#include <string_view>

namespace host
{

/** Writes each event to a file descriptor at once: a process that dies leaves nothing behind. */
class EventWriter : public AskingListener
{
public:
    explicit EventWriter(int fd) : m_fd(fd) {}

    void step(Step step) override;
    void before(std::size_t request) override;
    void after(std::size_t request, const engine::Answer &answer) override;
    void unusable(const std::vector<engine::Problem> &problems) override;
    void threw(const std::string &exception) override;
    void ended() override;

private:
    int m_fd;
};

/** Tells the listener of the event in a line. @throws std::runtime_error  The line is no event. */
void replay_event(std::string_view line, AskingListener &listener);

} // namespace host
