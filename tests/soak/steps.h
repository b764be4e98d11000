/** A round of changes to the base card, with what the rules must say to each. */
#pragma once

#include <string>
#include <vector>

namespace soak
{

/** Stands for a digit that is another one in each round. */
inline constexpr char kDigitMark = '#';

struct Step {
    std::string edit; /**< What stands inside <config>. */
    /** Objections and warnings, as `rule: text`. Without an objection the change is committed. */
    std::vector<std::string> remarks;
};

/** Each rule is asked, and nearly each has something to say. At its end the card is what it was at
 *  its beginning, but for values with a digit. */
const std::vector<Step> &round_of_steps();

} // namespace soak
