#include "program_runner.h"

#include <nlohmann/json.hpp>

using testing::HasSubstr;

namespace
{

using CommandLine = ProgramTest;

TEST_F(CommandLine, IsRefusedWithExitCode3)
{
    const std::pair<std::vector<std::string>, const char *> refusals[] = {
        {{}, "A command: check, points or generate is required"},
        {{"chekc"}, "The following argument was not expected: chekc"},
        {{"check", "--runing", "a"}, "--runing"},
        {{"check"}, "A configuration"},
        {{"check", "--edit", "a", "b"}, "excludes"},
        {{"check", "a", "--yes", "--no"}, "excludes"},
        {{"check", "a", "--trace", "13"}, "13 is none of fine, progress, decisions, "},
        {{"check", "a", "--trace-file", "b"}, "--trace"},
        {{"check", "a", "--timeout", "-1"}, "--timeout"},
        {{"check", "a", "--color", "red"}, "red is none of auto, always, never"},
        {{"generate", "--links", "17"}, "--links"},
        {{"generate", "--onus", "0"}, "--onus"},
        {{"generate", "--links", "1", "--onus", "1", "--service-ports", "3501"}, "no room"},
        {{"generate", "-o", "/proc/card.xml"}, "/proc/card.xml"},
        {{"points", "bw_check"}, "no rule has the key bw_check"},
    };
    for (const auto &[words, complaint] : refusals) {
        SCOPED_TRACE(testing::PrintToString(words));
        const ProgramRun done = run(words);
        EXPECT_EQ(done.code, 3) << done;
        EXPECT_THAT(done.err, HasSubstr(complaint));
        EXPECT_EQ(done.out, "");
    }
}

/** An unset variable of a script must not pass for a choice. */
TEST_F(CommandLine, RefusesAFileWithoutAName)
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
TEST_F(CommandLine, ReportsEarlyFailuresAsJson)
{
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
        EXPECT_EQ(report.at("problems").at(0).at("fault"), fault);
    }
}

TEST_F(CommandLine, TakesNumbersAsDecimal)
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

TEST_F(CommandLine, HelpTeachesWithExamples)
{
    EXPECT_THAT(run({"--help"}).out, HasSubstr("Examples:\n  gpon-validate "));
    for (const std::string command : {"check", "points", "generate"}) {
        const ProgramRun done = run({command, "--help"});
        EXPECT_EQ(done.code, 0) << done;
        EXPECT_THAT(done.out, HasSubstr("Examples:\n  gpon-validate " + command));
    }
}

TEST_F(CommandLine, TellsItsVersion)
{
    const ProgramRun done = run({"--version"});
    EXPECT_EQ(done.code, 0) << done;
    EXPECT_THAT(done.out, testing::MatchesRegex("gpon-validate [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

} // namespace
