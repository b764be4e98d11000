/** One rule on one card: the rule itself, and its requests alone. */
#pragma once

#include "commit.h"
#include "tape.h"

#include <cstdint>
#include <string>
#include <vector>

namespace bench
{

/**
 * The card is about to be replaced by another one; each rule is asked about every instance of its
 * node, whether that change calls for it or not.
 */
class RuleTrial
{
public:
    explicit RuleTrial(std::uint32_t links);

    std::uint32_t links() const { return m_links; }

    /** Keys of the 23 rules, in the order in which a commit asks them. */
    static std::vector<std::string> rules();

    /** Goes on to a rule and records it. */
    void choose(const std::string &rule);

    std::size_t instances() const { return m_tapes.size(); }
    std::uint64_t allocated_bytes() const { return m_allocated; }
    Sum ask();
    /** Makes the very same requests with no rule around them. */
    Sum replay();

private:
    Commit m_commit;
    std::uint32_t m_links;
    std::string m_rule;
    /** Each instance twice: what the first asking brings into the caches is there for the second,
     *  which counts. So neither the rule nor the replay pays for having been away. */
    std::vector<engine::Request> m_twice;
    std::vector<Tape> m_tapes; /**< One for each instance. */
    std::uint64_t m_allocated = 0;
};

/** Of that size. Only the last one is kept. */
RuleTrial &rule_trial(std::uint32_t links);
void forget_rule_trial();

} // namespace bench
