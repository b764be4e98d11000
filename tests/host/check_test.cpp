#include "program_runner.h"

#include <nlohmann/json.hpp>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace
{

class Check : public ProgramTest
{
protected:
    /** Checks the FEC edit: one rule, asked about two leaves. */
    ProgramRun check_fec(const std::string &script, std::vector<std::string> words = {}) const
    {
        words.insert(words.end(), {"--running", file("running.xml", kRunning), "--edit",
                                   file("change.xml", kFecEdit)});
        return check(script, words);
    }
};

constexpr const char *kDownstream = "/config/interface/gpon{1 1 1}/downstream-fec";
constexpr const char *kUpstream = "/config/interface/gpon{1 1 1}/upstream-fec";
constexpr const char *kWarning = "fec_confirmation_warning=warn:Traffic stops.\n";

TEST_F(Check, AcceptsWhatNoRuleObjectsTo)
{
    const ProgramRun done = check_fec("");
    EXPECT_EQ(done.code, 0) << done;
    EXPECT_EQ(done.out, "Accepted. 1 rule ran (2 requests).\n");
    EXPECT_EQ(done.err, "");
}

TEST_F(Check, SaysWhenNothingDiffers)
{
    const ProgramRun done =
        check("", {"--running", file("running.xml", kRunning), path("running.xml")});
    EXPECT_EQ(done.code, 0) << done;
    EXPECT_EQ(done.out, "Accepted. The candidate does not differ from the running configuration. "
                        "No rule was called for.\n");
}

TEST_F(Check, ShowsTheFirstRejectionUnderPathAndRule)
{
    const ProgramRun done = check_fec("fec_confirmation_warning=reject:Not now.\n");
    EXPECT_EQ(done.code, 1) << done;
    EXPECT_EQ(done.out, std::string("Objections:\n  ") + kDownstream +
                            " (fec_confirmation_warning)\n    Not now.\nRejected.\n");
}

TEST_F(Check, ShowsAllRejectionsOnRequest)
{
    const ProgramRun done = check_fec("fec_confirmation_warning=reject\n", {"--all"});
    EXPECT_EQ(done.code, 1) << done;
    EXPECT_EQ(done.out,
              std::string("Objections:\n  ") + kDownstream +
                  " (fec_confirmation_warning)\n    rejected without a text\n  " + kUpstream +
                  " (fec_confirmation_warning)\n    rejected without a text\nRejected.\n");
}

TEST_F(Check, TakesAnUnknownResultForARejection)
{
    const ProgramRun done = check_fec("fec_confirmation_warning=answer:7\n");
    EXPECT_EQ(done.code, 1) << done;
    EXPECT_THAT(done.out, HasSubstr("rejected without a text (result 7)"));
}

TEST_F(Check, GathersWarningsAndTakesTheAnswerOfTheCommandLine)
{
    const std::string warnings = std::string("Warnings:\n  ") + kDownstream +
                                 " (fec_confirmation_warning)\n    Traffic stops.\n  " + kUpstream +
                                 " (fec_confirmation_warning)\n    Traffic stops.\n";
    const ProgramRun yes = check_fec(kWarning, {"--yes"});
    EXPECT_EQ(yes.code, 0) << yes;
    EXPECT_EQ(yes.out, warnings + "Proceed? [yes,no] yes\n"
                                  "Accepted after confirmation. 1 rule ran (2 requests).\n");
    const ProgramRun no = check_fec(kWarning, {"--no"});
    EXPECT_EQ(no.code, 2) << no;
    EXPECT_EQ(no.out, warnings + "Proceed? [yes,no] no\nNot confirmed.\n");
    const ProgramRun nobody = check_fec(kWarning);
    EXPECT_EQ(nobody.code, 2) << nobody;
    EXPECT_EQ(nobody.out, warnings + "Not confirmed: nobody answered. Answer beforehand with --yes "
                                     "or --no.\n");
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

TEST_F(Check, PassesOnWhatAPluginWritesToStderr)
{
    const ProgramRun done = check_fec("fec_confirmation_warning=print:note\n");
    EXPECT_EQ(done.code, 0) << done;
    EXPECT_EQ(done.err, "note\nnote\n");
    EXPECT_THAT(done.out, Not(HasSubstr("note")));
}

TEST_F(Check, ExplainsWhichRulesRanAndWhy)
{
    const ProgramRun done = check_fec("", {"--explain"});
    EXPECT_THAT(done.out,
                AllOf(HasSubstr("fec_confirmation_warning      2"), HasSubstr(kDownstream),
                      HasSubstr("and 1 more"), HasSubstr("YANG check")))
        << done;
}

TEST_F(Check, WithoutRunningTheWholeCandidateIsNew)
{
    const ProgramRun done =
        check("interface_validation=reject:Too few.\n", {file("candidate.xml", kRunning)});
    EXPECT_EQ(done.code, 1) << done;
    EXPECT_THAT(done.out, HasSubstr("/config/interface/gpon (interface_validation)\n    Too few."));
}

TEST_F(Check, ReadsJsonByItsContent)
{
    const std::string running = file("running", R"({"base:config": {"interface": {"gpon": [
        {"chassis-id": 1, "slot-id": 1, "port-id": 1, "upstream-fec": true}]}}})");
    const ProgramRun done = check("", {"--running", running, file("candidate", kRunning)});
    EXPECT_EQ(done.code, 0) << done;
    EXPECT_EQ(done.out, "Accepted. 1 rule ran (1 request).\n");
}

TEST_F(Check, RunsInThisProcessWithTheSameReport)
{
    for (const std::string script : {"", "fec_confirmation_warning=reject:No.\n", kWarning}) {
        const ProgramRun child = check_fec(script, {"--all"});
        const ProgramRun here = check_fec(script, {"--all", "--in-process"});
        EXPECT_EQ(here.out, child.out);
        EXPECT_EQ(here.code, child.code);
    }
}

struct BadInput {
    const char *name;
    const char *running;
    const char *edit;
    std::vector<std::string> says; /**< In this order. */
};

std::ostream &operator<<(std::ostream &out, const BadInput &input)
{
    return out << input.name;
}

class BadInputs : public ProgramTest, public testing::WithParamInterface<BadInput>
{
};

/** Nothing may be asked about data that the model does not allow. */
TEST_P(BadInputs, AreReportedBeforeAnyRuleRuns)
{
    const ProgramRun done =
        check("lib_init=exit:9\n", {"--running", file("running.xml", GetParam().running), "--edit",
                                    file("change.xml", GetParam().edit)});
    EXPECT_EQ(done.code, 3) << done;
    std::size_t at = 0;
    for (const auto &text : GetParam().says) {
        at = done.out.find(text, at);
        ASSERT_NE(at, std::string::npos) << "no (further) \"" << text << "\" in\n" << done;
    }
    EXPECT_THAT(done.out, testing::EndsWith("\nNot checked.\n"));
}

constexpr const char *kBrokenXml = "<config xmlns=\"urn:olt:gpon:base\">\n  <interface>\n";
constexpr const char *kUnknownNode =
    "<config xmlns=\"urn:olt:gpon:base\">\n  <interfaces/>\n</config>\n";
constexpr const char *kOutOfRange =
    "<config xmlns=\"urn:olt:gpon:base\"><interface><gpon>\n  <chassis-id>1</chassis-id>"
    "<slot-id>1</slot-id>\n  <port-id>17</port-id></gpon></interface></config>\n";
constexpr const char *kCreateWhatExists =
    "<config xmlns=\"urn:olt:gpon:base\" xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\">\n"
    "<interface><gpon nc:operation=\"create\"><chassis-id>1</chassis-id><slot-id>1</slot-id>"
    "<port-id>1</port-id></gpon></interface></config>\n";
constexpr const char *kDeleteWhatIsNot =
    "<config xmlns=\"urn:olt:gpon:base\" xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\">\n"
    "<service-port nc:operation=\"delete\"><id>7</id></service-port></config>\n";

INSTANTIATE_TEST_SUITE_P(
    Faults, BadInputs,
    testing::Values(BadInput{"BrokenXml", kRunning, kBrokenXml, {"change.xml:3: "}},
                    BadInput{"BrokenRunning", kBrokenXml, kFecEdit, {"running.xml:3: "}},
                    BadInput{
                        "UnknownNode", kRunning, kUnknownNode, {"change.xml:2: ", "interfaces"}},
                    BadInput{"OutOfRange", kRunning, kOutOfRange, {"change.xml:3: ", "17"}},
                    BadInput{"CreateWhatExists",
                             kRunning,
                             kCreateWhatExists,
                             {"change.xml:", "/config/interface/gpon{1 1 1}: "}},
                    BadInput{"DeleteWhatIsNot",
                             kRunning,
                             kDeleteWhatIsNot,
                             {"change.xml:", "/config/service-port{7}: "}}),
    [](const auto &tested) { return tested.param.name; });

TEST_F(Check, NamesAFileThatIsNotThere)
{
    const ProgramRun done = check("", {path("nothing.xml")});
    EXPECT_EQ(done.code, 3) << done;
    EXPECT_THAT(done.out, testing::StartsWith("nothing.xml: "));
}

TEST_F(Check, NamesWhatIsWrongWithACard)
{
    const ProgramRun done =
        check_fec("", {"--card", file("card.json", "{\n  \"max_pon_links\": \"many\"\n}\n")});
    EXPECT_EQ(done.code, 3) << done;
    EXPECT_THAT(done.out, AllOf(HasSubstr("card.json"), HasSubstr("max_pon_links")));
}

TEST_F(Check, NamesATraceFileThatCannotBeWritten)
{
    const ProgramRun done = check_fec("", {"--trace", "fine", "--trace-file", "/proc/trace"});
    EXPECT_EQ(done.code, 3) << done;
    EXPECT_THAT(done.out, HasSubstr("/proc/trace"));
}

TEST_F(Check, WritesTracesToAFileOrPassesThemOn)
{
    const std::vector<std::string> words{"check",
                                         "--plugin",
                                         CARD_PLUGIN,
                                         "--running",
                                         file("running.xml", kRunning),
                                         "--edit",
                                         file("change.xml", kFecEdit),
                                         "--yes",
                                         "--trace",
                                         "decisions"};
    const std::string decision = "upstream-fec value_changed=1";
    const ProgramRun to_stderr = run(words);
    EXPECT_EQ(to_stderr.code, 0) << to_stderr;
    EXPECT_THAT(to_stderr.err, HasSubstr(decision));
    EXPECT_THAT(to_stderr.out, Not(HasSubstr(decision)));

    std::vector<std::string> with_file = words;
    with_file.insert(with_file.end(), {"--trace-file", path("trace")});
    const ProgramRun to_file = run(with_file);
    EXPECT_EQ(to_file.err, "");
    EXPECT_THAT(read("trace"), HasSubstr(decision));
}

TEST_F(Check, ColorsOnlyWhereTheyAreWanted)
{
    EXPECT_THAT(check_fec("", {"--color", "always"}).out, HasSubstr("\033[32mAccepted."));
    EXPECT_THAT(check_fec("").out, Not(HasSubstr("\033")));
}

} // namespace
