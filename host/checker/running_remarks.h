/**
 * @file
 * What the rules say of the running configuration on its own.
 */
#pragma once

#include "checker/change.h"
#include "checker/outcome.h"

#include <map>
#include <optional>
#include <string>
#include <utility>

namespace host
{

/**
 * Tells remarks that a change brings from those that the running configuration draws, too. What the
 * rules said of it is kept until something is committed.
 */
class RunningRemarks
{
public:
    /**
     * Asks the rules that remarked the same about the running configuration, in a process of its
     * own, and notes in the evidence what is new. Nothing is noted when that does not work.
     * @param transaction  That the outcome is of, still open.
     */
    void compare(engine::Framework &framework, const engine::Transaction &transaction,
                 const std::string &plugin, const Policy &policy, Outcome &outcome);
    void forget() { m_texts.clear(); }

private:
    /** Of a rule at a path; nothing: it does not remark. */
    std::map<std::pair<std::string, std::string>, std::optional<std::string>> m_texts;
};

} // namespace host
