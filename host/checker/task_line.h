/**
 * @file
 * What a process that is kept is to do next, as one line.
 */
#pragma once

#include "checker/asking.h"
#include "checker/change.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host
{

struct Task {
    bool commits = false; /**< The transaction before is committed, not ended. */
    Change change;
    bool all = false; /**< See Questions. */
    /** What to ask: a point of the schema by its number, and the path of an instance. */
    std::vector<std::pair<std::size_t, std::string>> requests;
};

/** The task of asking the same in another process. */
Task task_of(const Questions &questions, const Change &change, bool commits);

/** Ends with a newline, and holds no other. */
std::string line_of(const Task &task);

/** @throws std::runtime_error  It is no such line. */
Task read_task(std::string_view line);

/** The requests of a task, in a transaction on its change. @throws std::runtime_error */
std::vector<engine::Request> requests_of(const Task &task, const engine::Transaction &transaction);

} // namespace host
