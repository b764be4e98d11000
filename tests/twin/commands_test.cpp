/** What is asked of a state folder: history, show and rollback. */
#include "support/golden_case.h"
#include "support/model.h"
#include "twin/state_folder.h"

#include "twin/history_command.h"
#include "twin/rollback_command.h"

#include <gmock/gmock.h>

#include <sstream>

using namespace host::twin;
using testing::HasSubstr;
using testing::Not;

namespace
{

using Form = Step::Form;

Commit commit_by(const std::string &user, const std::string &verdict)
{
    Commit commit;
    commit.time_ms = 1700000000123;
    commit.author = {user, "operator", 7, "ssh", "127.0.0.1"};
    commit.verdict = verdict;
    return commit;
}

class Commands : public test_support::StateFolder
{
public:
    std::string list(std::size_t limit = 0) const
    {
        std::ostringstream out;
        list_commits({path().string(), limit}, out);
        return out.str();
    }

    std::string show(CommitNumber number, bool configuration = false, bool json = false) const
    {
        std::ostringstream out;
        show_commit({path().string(), 0, number, configuration, json}, out, host::Style(false));
        return out.str();
    }

    /** @return The exit code, and what was said. */
    std::string roll_back(CommitNumber number, const std::string &card = "",
                          bool confirms = false) const
    {
        std::ostringstream out;
        const int code = host::twin::roll_back(
            {path().string(), "", number, card, CARD_PLUGIN, confirms}, out, host::Style(false));
        return std::to_string(code) + ": " + out.str();
    }
};

std::string edit(const std::string &inside)
{
    return "<config xmlns='urn:olt:gpon:base' "
           "xmlns:nc='urn:ietf:params:xml:ns:netconf:base:1.0'><profile><gpon>" +
           inside + "</gpon></profile></config>";
}

TEST(Commands, TellWhatEachCommitChanged)
{
    const Commands commands;
    {
        History history = commands.serve();
        history.begin("<config xmlns='urn:olt:gpon:base'/>");
        history.add(commit_by("eve", "accepted"),
                    {Form::kEdit, edit("<rg-profile><name>home</name></rg-profile>"
                                       "<tr069-acs-profile><name>acs</name><password>"
                                       "$8$c2VjcmV0IHdvcmRzIG9mIG91cnM=</password>"
                                       "</tr069-acs-profile>")});
        history.add(commit_by("\x1b[2Jbob", "rejected"),
                    {Form::kNothing,
                     edit("<rg-profile nc:operation='delete'><name>home</name></rg-profile>")});
        history.add(commit_by("eve", "accepted"), {Form::kRestore, "", 0});
    }
    EXPECT_EQ(commands.list(),
              "3*  2023-11-14T22:13:20.123Z  eve (operator)         ssh from 127.0.0.1, session 7"
              "  commit  accepted\n"
              "2   2023-11-14T22:13:20.123Z  \\x1b[2Jbob (operator)  ssh from 127.0.0.1, session 7"
              "  commit  rejected\n"
              "1   2023-11-14T22:13:20.123Z  eve (operator)         ssh from 127.0.0.1, session 7"
              "  commit  accepted\n");
    EXPECT_THAT(commands.list(1), Not(HasSubstr("bob")));
    EXPECT_THAT(commands.show(1), testing::AllOf(HasSubstr("rg-profile{home}"), HasSubstr("***"),
                                                 Not(HasSubstr("$8$"))));
    EXPECT_THAT(commands.show(2),
                testing::AllOf(HasSubstr("-   rg-profile{home}"), HasSubstr("1 deleted.\n")));
    EXPECT_THAT(commands.show(3), HasSubstr("2 deleted.\n"));
    EXPECT_THAT(commands.show(1, true), HasSubstr("$8$"));
    EXPECT_THAT(commands.show(1, false, true), HasSubstr("\"operation\": \"created\""));
    EXPECT_THROW(commands.show(2, true), HistoryError);
}

/** Commit 0 is what a golden case makes, and commit 1 what it begins with: the way back is the
 *  case's change. */
void begin_behind(const Commands &commands, const std::string &name)
{
    const auto golden = test_support::read_golden_case(test_support::schema(),
                                                       std::string(GOLDEN_CASES) + "/" + name);
    History history = commands.serve();
    history.begin(golden.candidate.print(engine::Format::kXml));
    history.add(commit_by("eve", "accepted"),
                {Form::kWhole, golden.running.print(engine::Format::kXml)});
}

TEST(Commands, RollBackThroughTheRules)
{
    const Commands rejected;
    begin_behind(rejected, "full-card");
    const std::string card = std::string(GOLDEN_CASES) + "/full-card/card.json";
    EXPECT_THAT(rejected.roll_back(0, card),
                testing::AllOf(HasSubstr("1: "), HasSubstr("Total bandwidth exceeds")));
    EXPECT_THAT(rejected.list(), HasSubstr("rollback  rejected"));
    EXPECT_THAT(rejected.show(2), HasSubstr("line-profile: line-159 → business"));
    EXPECT_EQ(rejected.serve().running_number(), 1);
    EXPECT_THAT(rejected.roll_back(1, card), HasSubstr("Commit 3 is running"));
    {
        // What a server left unconfirmed has gone before the rules are asked.
        History history = rejected.serve();
        history.add(commit_by("eve", "accepted"), {Form::kRestore, "", 0},
                    PendingConfirmation{1, {}, {}});
    }
    EXPECT_THAT(rejected.roll_back(0, card), HasSubstr("1: "));
    EXPECT_FALSE(rejected.serve().pending());

    const Commands warned;
    begin_behind(warned, "fec_confirmation_warning/upstream-on");
    EXPECT_THAT(warned.roll_back(0), HasSubstr("2: "));
    EXPECT_THAT(warned.list(), HasSubstr("rollback  not-confirmed"));
    EXPECT_THAT(warned.roll_back(0, "", true), HasSubstr("0: "));
    EXPECT_THAT(warned.list(),
                HasSubstr("rollback  accepted, confirmed fec_confirmation_warning\n"));
    EXPECT_EQ(warned.show(0, true), warned.show(3, true));

    EXPECT_THROW(Commands().roll_back(1), HistoryError);
}

} // namespace
