#include "program_runner.h"

#include <regex>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace
{

using Check = ProgramTest;

constexpr const char *kWarning = "fec_confirmation_warning=warn:Traffic stops.\n";

TEST_F(Check, ShowsARejectionWithoutAReadableText)
{
    const std::string link = "/config/interface/gpon{1 1 1}/";
    const auto shown = [&](const std::string &words) {
        return "rejected: " + words + " (2 times)\n  " + link +
               "downstream-fec (fec_confirmation_warning)\n  because it changed: ";
    };
    const ProgramRun rejected = check_fec("fec_confirmation_warning=reject\n", {"--all"});
    EXPECT_EQ(rejected.code, 1) << rejected;
    EXPECT_THAT(rejected.out, HasSubstr(shown("rejected without a text")));
    EXPECT_THAT(check_fec("fec_confirmation_warning=answer:7\n", {"--all"}).out,
                HasSubstr(shown("rejected without a text (result 7)")));
    EXPECT_THAT(check_fec("fec_confirmation_warning=reject:\xff\n").out,
                HasSubstr("rejected: \xef\xbf\xbd\n")); // What is no UTF-8.
    EXPECT_THAT(check_fec("fec_confirmation_warning=warn\n").out,
                HasSubstr("warning: warned without a text (2 times)\n"));
}

TEST_F(Check, AsksTheOperatorOnlyWhenAnAnswerIsMissing)
{
    int asked = 0;
    ask = [&asked]() -> std::optional<bool> {
        ++asked;
        return true;
    };
    EXPECT_EQ(check_fec(kWarning).code, 0);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(check_fec(kWarning, {"--no"}).code, 2);
    EXPECT_EQ(check_fec(kWarning, {"--json"}).code, 2);
    EXPECT_EQ(check_fec("").code, 0);
    EXPECT_EQ(check_fec("fec_confirmation_warning=reject\n").code, 1);
    EXPECT_EQ(asked, 1) << "asked without need";
}

/** In turn, what was confirmed is committed: the second edit changes nothing any more. */
TEST_F(Check, AsksAboutEachEditOfASeries)
{
    int asked = 0;
    ask = [&asked]() -> std::optional<bool> { return ++asked < 3; };
    const std::string second = file("second.xml", kFecEdit);
    EXPECT_EQ(check_fec(kWarning, {"--edit", second, "--in-turn"}).code, 0);
    EXPECT_EQ(asked, 1);
    const ProgramRun both = check_fec(kWarning, {"--edit", second});
    EXPECT_EQ(both.code, 2) << both;
    EXPECT_EQ(asked, 3);
    EXPECT_THAT(both.out, HasSubstr("\n2 edits: 1 accepted, 1 not confirmed.\n"));
    EXPECT_EQ(check_fec("fec_confirmation_warning=print:note\n", {"--edit", second}).err,
              "note\nnote\nnote\nnote\n");
    std::filesystem::create_directory(path("folder"));
    EXPECT_THAT(check("", {"--edits", path("folder")}).out, HasSubstr("folder: there is no edit"));
}

TEST_F(Check, PassesOnWhatAPluginWritesToStderr)
{
    const ProgramRun done = check_fec("fec_confirmation_warning=print:note\n");
    EXPECT_EQ(done.code, 0) << done;
    EXPECT_EQ(done.err, "note\nnote\n");
    EXPECT_EQ(done.out, "Accepted. 1 rule ran (2 requests).\n");
}

/** What the child tells its parent comes through whole: texts, verdicts, calls. */
TEST_F(Check, RunsInThisProcessWithTheSameReport)
{
    const auto without_times = [](const std::string &text) {
        const auto kept = std::regex_replace(text, std::regex(" +[0-9.]+ ms"), "");
        return std::regex_replace(kept, std::regex("  +"), " "); // Columns are as wide as times.
    };
    for (const std::string plugin : {CARD_PLUGIN, kScripted}) {
        for (const std::string script :
             {"fec_confirmation_warning=reject:a \"b\" 7 0\n", kWarning}) {
            std::vector<std::string> words{"--plugin", plugin, "--all", "--calls"};
            const ProgramRun child = check_fec(script, words);
            words.push_back("--in-process");
            const ProgramRun here = check_fec(script, words);
            EXPECT_EQ(without_times(here.out), without_times(child.out));
            EXPECT_EQ(here.code, child.code);
            EXPECT_THAT(here.out, HasSubstr("downstream-fec and 1 more\n"));
        }
    }
}

/** Nothing may be asked about data that the model does not allow. */
TEST_F(Check, ReportsAFaultyFileBeforeThePluginIsCalled)
{
    const std::string broken = file("broken.xml", "<config xmlns=\"urn:olt:gpon:base\">\n");
    const std::string running = file("running.xml", kRunning);
    for (const auto &[before, after] : {std::pair{broken, running}, std::pair{running, broken}}) {
        const ProgramRun done = check("lib_init=exit:9\n", {"--running", before, after});
        EXPECT_EQ(done.code, 3) << done;
        EXPECT_THAT(done.out, AllOf(HasSubstr("broken.xml:2:1: "), HasSubstr("\nNot checked.\n")));
    }
    const ProgramRun folder = check("", {path(".")});
    EXPECT_EQ(folder.code, 3) << folder;
}

TEST_F(Check, WritesTracesToAFileOrPassesThemOn)
{
    const std::vector<std::string> words{"--plugin", CARD_PLUGIN, "--yes", "--trace", "decisions"};
    const std::string decision = "upstream-fec value_changed=1";
    const ProgramRun to_stderr = check_fec("", words);
    EXPECT_EQ(to_stderr.code, 0) << to_stderr;
    EXPECT_THAT(to_stderr.err, HasSubstr(decision));
    EXPECT_THAT(to_stderr.out, Not(HasSubstr(decision)));

    auto with_file = words;
    with_file.insert(with_file.end(), {"--trace-file", path("trace")});
    EXPECT_EQ(check_fec("", with_file).err, "");
    EXPECT_THAT(read("trace"), HasSubstr(decision));

    with_file.back() = "/proc/trace";
    const ProgramRun unwritable = check_fec("", with_file);
    EXPECT_EQ(unwritable.code, 3) << unwritable;
    EXPECT_THAT(unwritable.out, HasSubstr("/proc/trace"));
}

TEST_F(Check, ColorsOnlyWhereTheyAreWanted)
{
    EXPECT_THAT(check_fec("", {"--color", "always"}).out, HasSubstr("\033[32mAccepted."));
    EXPECT_THAT(check_fec("").out, Not(HasSubstr("\033")));
}

} // namespace
