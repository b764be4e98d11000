/**
 * @file
 * Asking the plug-in about a change, from its loading to its end.
 */
#pragma once

#include "checker/outcome.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace host
{

/**
 * Is notified of what happens while the plug-in is asked. What the plug-in does is uncertain, so
 * every step is told before it is taken: whoever listens knows where the plug-in was when it died.
 * Requests are known by their index in the plan.
 */
class AskingListener : public engine::Observer
{
public:
    /** The plug-in is about to take this step. */
    virtual void step(Step step) = 0;
    /** The plug-in is unusable, or has become so: no further request is made. */
    virtual void unusable(const std::vector<engine::Problem> &problems) = 0;
    /** An exception left the plug-in: nothing follows. */
    virtual void threw(const std::string &exception) = 0;
    /** All was asked that there was to ask, and the plug-in is ready for more. */
    virtual void answered() = 0;
    /** All was asked that there was to ask, and the plug-in came to its proper end. */
    virtual void ended() = 0;
};

/** What to ask. */
struct Questions {
    const engine::Transaction &transaction;
    const std::vector<engine::Request> &requests;
    std::string plugin; /**< See Plugin. */
    bool all = false;   /**< Go on after a rejection. */
};

/** Waits for more to ask; null: there is no more. */
using NextQuestions = std::function<const Questions *()>;

/** Loads the plug-in, asks it and lets it come to its end, in the order that it expects on the
 * card. */
void ask_plugin(
    const Questions &questions, AskingListener &listener,
    const NextQuestions &next = [] { return nullptr; });

} // namespace host
