/** Questions to the operator: the answers that are understood. */
#include "cli/console.h"

#include <gtest/gtest.h>

#include <optional>
#include <sstream>

namespace
{

TEST(Question, IsRepeatedUntilTheAnswerIsClear)
{
    const std::string question = "Proceed? [yes,no] ";
    const struct {
        const char *typed;
        std::optional<bool> answer;
        const char *shown;
    } dialogues[] = {{"yes\n", true, ""},
                     {"n\n", false, ""},
                     {"YES\n\ny\n", true,
                      "Answer yes or no.\nProceed? [yes,no] Answer yes or no.\nProceed? [yes,no] "},
                     {"", std::nullopt, "\n"}};
    for (const auto &dialogue : dialogues) {
        std::istringstream in(dialogue.typed);
        std::ostringstream out;
        EXPECT_EQ(host::ask_yes_or_no(in, out), dialogue.answer) << dialogue.typed;
        EXPECT_EQ(out.str(), question + dialogue.shown) << dialogue.typed;
    }
}

} // namespace
