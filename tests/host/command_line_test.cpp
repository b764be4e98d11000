#include "program_runner.h"

#include "schema_checker.h"

#include <nlohmann/json.hpp>

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

/** An unset variable of a script must not pass for a choice. */
TEST_F(ProgramTest, RefusesAFileWithoutAName)
{
    const std::string some = file("some.xml", kRunning);
    for (const auto &[option, words] :
         std::vector<std::pair<const char *, std::vector<std::string>>>{
             {"--running", {"check", some, "--running", ""}},
             {"--running", {"check", some, "--running="}},
             {"--running", {"check", "--running=", some}},
             {"--edit", {"check", "--running", some, "--edit", ""}},
             {"CANDIDATE", {"check", "--running", some, ""}},
             {"--card", {"check", some, "--card", ""}},
             {"--plugin", {"check", some, "--plugin", ""}},
             {"--trace-file", {"check", some, "--trace", "fine", "--trace-file", ""}},
             {"--output", {"generate", "-o", ""}},
             {"--card", {"generate", "--card", ""}}}) {
        const ProgramRun done = run(words);
        EXPECT_EQ(done.code, 3) << done;
        EXPECT_THAT(done.err, HasSubstr(option));
    }
}

/** Whatever comes in the way, a program gets the report that it asked for. */
TEST_F(ProgramTest, ReportsEarlyFailuresAsJson)
{
    SchemaChecker schema(nlohmann::json::parse(std::ifstream(REPORT_SCHEMA)));
    const std::string some = file("some.xml", kRunning);
    const std::string card = file("card.json", "{\"max_pon_links\": 1e999}");
    for (const auto &[fault, words] :
         std::vector<std::pair<const char *, std::vector<std::string>>>{
             {"invalid-option", {"check", "--json"}},
             {"invalid-option", {"check", "--json", "--runing", some}},
             {"invalid-option", {"check", "--json", some, "--timeout", "soon"}},
             {"invalid-option", {"check", "--json", "--running", ""}},
             {"invalid-option", {"check", "--json", some, "--max-size", "1 acre"}},
             {"invalid-option", {"check", "--json", some, "--trace", "fine", "--trace-file", some}},
             {"too-large", {"check", "--json", some, "--max-size", "10 B"}},
             {"invalid-card", {"check", "--json", some, "--card", card}},
             {"unreadable", {"check", "--json", some, "--card", path("nothing")}}}) {
        const ProgramRun done = run(words);
        SCOPED_TRACE(testing::Message() << words.back() << ": " << done);
        EXPECT_EQ(done.code, 3);
        const auto report = nlohmann::json::parse(done.out, nullptr, false);
        ASSERT_TRUE(report.is_object());
        EXPECT_THAT(schema.faults(report), testing::IsEmpty());
        EXPECT_EQ(report.at("problems").at(0).at("fault"), fault);
    }
}

TEST_F(ProgramTest, TakesNumbersAsDecimal)
{
    const auto made_with = [this](const char *seed, const char *links) {
        return run(
            {"generate", "--links", links, "--onus", "1", "--service-ports", "8", "--seed", seed});
    };
    const ProgramRun plain = made_with("8", "10");
    EXPECT_EQ(plain.code, 0) << plain.err;
    EXPECT_EQ(made_with("008", "010").out, plain.out);
    EXPECT_EQ(made_with("0x8", "10").code, 3);
}

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
