#include "program_runner.h"

using testing::HasSubstr;

namespace
{

using CommandLine = ProgramTest;

TEST_F(CommandLine, IsRefusedWithExitCode3)
{
    const std::pair<std::vector<std::string>, const char *> refusals[] = {
        {{},
         "A command: check, headroom, diff, fleet, audit, points, generate or replay is required"},
        {{"chekc"}, "chekc is no command\ndid you mean check?"},
        {{"check", "--runing", "a", "--edit", "b"}, "did you mean --running?"},
        {{"check", "--quite-another", "a"}, "is no option of gpon-validate check\nSee "},
        {{"check", "a", "--yes=onu_snmp_rt_warn,vlan_limit_chekc"}, "mean vlan_limit_check?"},
        {{"check", "a", "--yes", "--warnings-as-errors"}, "excludes"},
        {{"check", "--rule", "vlan_limit_check", "a"}, "a is no path of the card"},
        {{"check", "--edit", "a", "--in-turn", "--rule", "vlan_limit_check"}, "excludes"},
        {{"check", "a", "--config", "/nowhere.toml"}, "/nowhere.toml was not readable"},
        {{"check"}, "A configuration"},
        {{"check", "--edit", "a", "b"}, "excludes"},
        {{"check", "--edits", "a", "b"}, "excludes"},
        {{"check", "--edit", "a", "--edits", "b"}, "excludes"},
        {{"check", "--running", "a", "--in-turn"}, "--in-turn requires --edit or --edits"},
        {{"check", "--running", "a", "--edits", ""}, "--edits: no file"},
        {{"check", "a", "--yes", "--no"}, "excludes"},
        {{"check", "a", "--trace", "13"}, "13 is none of fine, progress, decisions, "},
        {{"check", "a", "--trace-file", "b"}, "--trace"},
        {{"check", "a", "--timeout", "-1"}, "--timeout"},
        {{"check", "a", "--color", "red"}, "red is none of auto, always, never"},
        // An unset variable of a script must not pass for a choice.
        {{"check", "a", "--running", ""}, "--running: no file"},
        {{"check", "a", "--running="}, "--running: nothing"},
        {{"check", "--running=", "a"}, "--running: nothing"},
        {{"check", "--running", "a", "--edit", ""}, "--edit: no file"},
        {{"check", "--running", "a", ""}, "CANDIDATE: no file"},
        {{"check", "a", "--card", ""}, "--card: no file"},
        {{"check", "a", "--plugin", ""}, "--plugin: no file"},
        {{"check", "a", "--trace", "fine", "--trace-file", ""}, "--trace-file: no file"},
        {{"check", "--running", "-", "--edit", "-"}, "only one input can be stdin"},
        {{"check", "-", "--card", "-"}, "only one input can be stdin"},
        {{"check", "a", "--default-operation", "create"}, "create is none of merge, replace, none"},
        {{"diff"}, "A change: --edit or CANDIDATE"},
        {{"diff", "a", "--format", "xml"}, "--format requires --output"},
        {{"generate", "-o", ""}, "--output: no file"},
        {{"generate", "--card", ""}, "--card: no file"},
        {{"generate", "--seed", "0x8"}, "--seed"},
        {{"generate", "--links", "257"}, "--links"},
        {{"generate", "--onus", "0"}, "--onus"},
        {{"generate", "--links", "1", "--onus", "1", "--service-ports", "3501"}, "no room"},
        {{"generate", "-o", "/proc/card.xml"}, "/proc/card.xml"},
        {{"points", "bw_check"}, "no rule has the key bw_check\n`gpon-validate points` lists"},
    };
    for (const auto &[words, complaint] : refusals) {
        SCOPED_TRACE(testing::PrintToString(words));
        const ProgramRun done = run(words);
        EXPECT_EQ(done.code, 3) << done;
        EXPECT_THAT(done.err, HasSubstr(complaint));
        EXPECT_EQ(done.out, "");
    }
}

TEST_F(CommandLine, TakesDefaultsFromAFile)
{
    const std::pair<std::string, const char *> files[] = {
        {"[check]\ncard = \"nowhere.json\"\n", "nowhere.json: "},
        {"[check]\nyes = \"vlan_limit\"\n", "no rule has the key vlan_limit"},
        {"[check]\ncrad = \"card.json\"\n", "check.crad"},
        {"[chekc]\n", "chekc"}};
    for (const auto &[text, complaint] : files) {
        SCOPED_TRACE(text);
        const std::string defaults = file("defaults.toml", text);
        const ProgramRun done = run({"check", "--config", defaults, "--running", "/dev/null"});
        EXPECT_EQ(done.code, 3) << done;
        EXPECT_THAT(done.out + done.err, HasSubstr(complaint));
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
