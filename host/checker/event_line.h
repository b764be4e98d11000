/**
 * @file
 * Events of asking, as one line each: how a child process tells its parent what the plug-in
 * does.
 */
#pragma once

#include "checker/asking.h"
#include "checker/event_board.h"
#include "checker/fork_mark.h"

#include <optional>
#include <string>
#include <string_view>

namespace host
{

/**
 * What each line of a run begins with. The plug-in has the same descriptors as the writer: what it
 * writes there by mistake is no event, and none of its making is taken for one.
 */
std::string make_event_key();

/**
 * Writes events to a file descriptor before the plug-in runs again: a process that dies leaves
 * nothing behind. Of requests and their answers, of which there are thousands, a board tells at
 * once: answers are written when it is full, or before another event. A copy of the process, which
 * a plug-in may fork, tells nothing: its answers are not those of the process that was asked.
 */
class EventWriter : public AskingListener
{
public:
    EventWriter(int fd, std::string key, EventBoard &board);

    void step(Step step) override;
    void before(std::size_t request) override;
    void after(std::size_t request, const engine::Answer &answer) override;
    void unusable(const std::vector<engine::Problem> &problems) override;
    void threw(const std::string &exception) override;
    void answered() override;
    void ended() override;

private:
    void tell(const std::string &line);
    void add(const std::string &line);
    void send();

    int m_fd;
    std::string m_key;
    EventBoard &m_board;
    ForkMark m_mark;                      /**< Of the process that writes. */
    bool m_is_copy = false;               /**< This is another one. */
    std::string m_line;                   /**< Of an answer; kept for its memory. */
    std::optional<std::size_t> m_request; /**< That is being made. */
};

/**
 * Tells the listener of the event in a line: of an answer, that the request is made, and the
 * answer.
 * @param key  Of the writer.
 * @throws std::runtime_error  The line is no event of that writer.
 */
void replay_event(std::string_view line, std::string_view key, AskingListener &listener);

} // namespace host
