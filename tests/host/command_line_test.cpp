#include "program_runner.h"

#include <ostream>

using testing::HasSubstr;

namespace
{

struct Refusal {
    const char *name;
    std::vector<std::string> words;
    const char *complaint;
};

std::ostream &operator<<(std::ostream &out, const Refusal &refusal)
{
    return out << refusal.name;
}

class CommandLine : public ProgramTest, public testing::WithParamInterface<Refusal>
{
};

TEST_P(CommandLine, RefusesWithExitCode3)
{
    const ProgramRun done = run(GetParam().words);
    EXPECT_EQ(done.code, 3) << done;
    EXPECT_THAT(done.err, HasSubstr(GetParam().complaint));
    EXPECT_EQ(done.out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Faults, CommandLine,
    testing::Values(
        Refusal{"NoCommand", {}, "A command: check, points or generate is required"},
        Refusal{"UnknownCommand", {"chekc"}, "The following argument was not expected: chekc"},
        Refusal{"UnknownOption", {"check", "--runing", "a"}, "--runing"},
        Refusal{"NothingToCheck", {"check"}, "A configuration"},
        Refusal{"EditAndCandidate", {"check", "--edit", "a", "b"}, "excludes"},
        Refusal{"YesAndNo", {"check", "a", "--yes", "--no"}, "excludes"},
        Refusal{"UnknownLevel",
                {"check", "a", "--trace", "13"},
                "13 is none of fine, progress, decisions, "},
        Refusal{"TraceFileAlone", {"check", "a", "--trace-file", "b"}, "--trace"},
        Refusal{"NegativeTimeout", {"check", "a", "--timeout", "-1"}, "--timeout"},
        Refusal{
            "UnknownColor", {"check", "a", "--color", "red"}, "red is none of auto, always, never"},
        Refusal{"TooManyLinks", {"generate", "--links", "17"}, "--links"},
        Refusal{"NoOnu", {"generate", "--onus", "0"}, "--onus"},
        Refusal{"NoRoomForServicePorts",
                {"generate", "--links", "1", "--onus", "1", "--service-ports", "3501"},
                "no room"},
        Refusal{"UnwritableOutput", {"generate", "-o", "/proc/card.xml"}, "/proc/card.xml"},
        Refusal{"UnknownKey", {"points", "bw_check"}, "no rule has the key bw_check"}),
    [](const auto &tested) { return tested.param.name; });

TEST_F(ProgramTest, HelpTeachesWithExamples)
{
    for (const std::string command : {"", "check", "points", "generate"}) {
        std::vector<std::string> words{"--help"};
        if (!command.empty()) {
            words.insert(words.begin(), command);
        }
        const ProgramRun done = run(words);
        EXPECT_EQ(done.code, 0) << done;
        EXPECT_THAT(done.out, HasSubstr("Examples:\n  gpon-validate " + command)) << command;
    }
}

TEST_F(ProgramTest, TellsItsVersion)
{
    const ProgramRun done = run({"--version"});
    EXPECT_EQ(done.code, 0) << done;
    EXPECT_THAT(done.out, testing::MatchesRegex("gpon-validate [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

} // namespace
