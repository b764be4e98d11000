#include "checker/answering.h"

#include "checker/event_line.h"
#include "checker/task_line.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <optional>
#include <system_error>
#include <unistd.h>

namespace host
{
namespace
{

/** A line without its newline; nothing at the end. The parent sends no second one unasked. */
std::optional<std::string> read_line(int fd)
{
    std::string line;
    std::array<char, 16384> buffer;
    for (;;) {
        const ssize_t size = read(fd, buffer.data(), buffer.size());
        if (size == 0) {
            return std::nullopt;
        }
        if (size < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "cannot read the next task");
        }
        line.append(buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
        if (line.ends_with('\n')) {
            line.pop_back();
            return line;
        }
    }
}

/** The questions of one task after the other. */
class Tasks
{
public:
    Tasks(int transaction, engine::Framework &framework, const Prepare &prepare, int fd)
        : m_framework(framework), m_prepare(prepare), m_fd(fd), m_transaction(transaction)
    {
    }

    /** Null: there are no more. */
    const Questions *next()
    {
        const auto line = read_line(m_fd);
        if (!line) {
            return nullptr;
        }
        const Task task = read_task(*line);
        if (task.commits) {
            m_framework.commit(m_transaction);
        } else {
            m_framework.end(m_transaction);
        }
        const engine::Transaction &transaction = m_prepare(task.change);
        m_transaction = transaction.handle();
        m_requests = requests_of(task, transaction);
        return &m_questions.emplace(Questions{transaction, m_requests, "", task.all});
    }

private:
    engine::Framework &m_framework;
    const Prepare &m_prepare;
    int m_fd;
    int m_transaction; /**< That is open. */
    std::vector<engine::Request> m_requests;
    std::optional<Questions> m_questions;
};

} // namespace

void answer(const Questions &first, engine::Framework &framework, const Prepare &prepare,
            const AnswerLines &lines)
{
    EventWriter writer(lines.events, lines.key, lines.board);
    Tasks tasks(first.transaction.handle(), framework, prepare, lines.tasks);
    ask_plugin(first, writer, [&]() -> const Questions * {
        if (lines.tasks < 0) {
            return nullptr;
        }
        // What the plug-in wrote belongs to this check.
        std::cout.flush();
        static_cast<void>(std::fflush(nullptr));
        writer.answered();
        return tasks.next();
    });
}

} // namespace host
