/**
 * @file
 * What a child process does in which the plug-in answers.
 */
#pragma once

#include "checker/asking.h"
#include "checker/change.h"
#include "checker/event_board.h"

#include <functional>
#include <string>

namespace host
{

/** Opens a transaction on the candidate that a change makes. */
using Prepare = std::function<engine::Transaction &(const Change &)>;

/** Where the questions of a child process come from and its answers go. */
struct AnswerLines {
    std::string key;   /**< Of events; see make_event_key. */
    EventBoard &board; /**< Of this process. */
    int events = -1;   /**< To write to. */
    int tasks = -1;    /**< To read from; -1: there are no tasks but the first. */
};

/**
 * Asks the plug-in about the transaction that the process inherited, then does one task after the
 * other, until their line ends.
 */
void answer(const Questions &first, engine::Framework &framework, const Prepare &prepare,
            const AnswerLines &lines);

} // namespace host
