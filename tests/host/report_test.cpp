/** Reports of fixed outcomes, text by text. */
#include "report/report_explain.h"
#include "report/report_json.h"
#include "report/report_text.h"
#include "schema_checker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

using engine::Verdict;
using host::Death;
using host::Outcome;
using host::RuleRun;
using namespace std::chrono_literals;
using testing::ElementsAre;

namespace
{

RuleRun run_of(const char *rule, const char *path, const char *cause, Verdict verdict,
               const char *text = "")
{
    RuleRun run{rule, path, cause, {}};
    run.answer.verdict = verdict;
    run.answer.result = verdict == Verdict::kRejected ? -1 : verdict == Verdict::kWarning ? -3 : 0;
    run.answer.text = text;
    run.answer.calls = {{"maapi_exists", 2}, {"maapi_get_elem", 1}};
    run.answer.time = 1500us;
    return run;
}

Outcome changed()
{
    Outcome outcome;
    outcome.running = "running.xml";
    outcome.form = host::ChangeForm::kEdit;
    outcome.change = "change.xml";
    outcome.differs = true;
    outcome.completed = true;
    outcome.planned = 4;
    outcome.phases = {{"load", 2ms}, {"rules", 4500us}};
    return outcome;
}

/** Two rules about three nodes: one warns, one rejects with two lines. */
Outcome rejected()
{
    Outcome outcome = changed();
    outcome.runs = {run_of("small", "/a", "/x", Verdict::kWarning, "careful\n"),
                    run_of("small", "/b", "/y", Verdict::kAccepted),
                    run_of("great_rule", "/c{1 2}", "", Verdict::kRejected, "one\ntwo\n")};
    return outcome;
}

Outcome died()
{
    Outcome outcome = changed();
    Death death;
    death.kind = Death::Kind::kTimeout;
    death.number = 60;
    death.step = host::Step::kValidate;
    death.rule = "small";
    death.path = "/a";
    outcome.death = death;
    outcome.plugin_output = "broken \xff byte\n";
    return outcome;
}

Outcome not_checked()
{
    Outcome outcome = changed();
    outcome.problems = {
        {engine::Fault::kInvalidValue, "change.xml", 7, "/a/b", "is wrong", "be right"},
        {engine::Fault::kMalformed, "change.xml", 0, "", "is wrong, too", ""},
        {engine::Fault::kInvalidCard, "", 0, "", "no card", ""}};
    return outcome;
}

Outcome confirmed(std::optional<bool> answer)
{
    Outcome outcome = changed();
    outcome.runs = {run_of("small", "/a", "/x", Verdict::kWarning, "careful")};
    outcome.confirmation.needed = true;
    outcome.confirmation.answer = answer;
    return outcome;
}

std::string text_of(const Outcome &outcome)
{
    std::ostringstream out;
    const host::Style plain(false);
    host::print_findings(out, outcome, plain);
    host::print_conclusion(out, outcome, plain);
    return out.str();
}

TEST(TextReport, ShowsRejectionsBeforeWarnings)
{
    EXPECT_EQ(text_of(rejected()), "Objections:\n"
                                   "  /c{1 2} (great_rule)\n"
                                   "    one\n"
                                   "    two\n"
                                   "Warnings:\n"
                                   "  /a (small)\n"
                                   "    careful\n"
                                   "Rejected.\n");
}

TEST(TextReport, ShowsProblemsAsCompilersDo)
{
    EXPECT_EQ(text_of(not_checked()), "change.xml:7: /a/b: is wrong\n"
                                      "  be right\n"
                                      "change.xml: is wrong, too\n"
                                      "no card\n"
                                      "Not checked.\n");
}

TEST(TextReport, CutsALongOutputOfTheDead)
{
    Outcome outcome = died();
    outcome.plugin_output.clear();
    for (int i = 1; i <= 41; ++i) {
        outcome.plugin_output += "line " + std::to_string(i) + "\n";
    }
    const std::string text = text_of(outcome);
    EXPECT_THAT(
        text, testing::StartsWith("The plug-in was stopped in small at /a: no answer within 60 s.\n"
                                  "The plug-in had written, in the end:\n  line 2\n"));
    EXPECT_THAT(text, testing::EndsWith("  line 41\nNot decided.\n"));
}

TEST(Colors, RespectTheTerminalAndTheEnvironment)
{
    using host::ColorChoice;
    unsetenv("NO_COLOR");
    EXPECT_TRUE(host::wants_color(ColorChoice::kAuto, true));
    EXPECT_FALSE(host::wants_color(ColorChoice::kAuto, false));
    EXPECT_TRUE(host::wants_color(ColorChoice::kAlways, false));
    EXPECT_FALSE(host::wants_color(ColorChoice::kNever, true));
    setenv("NO_COLOR", "1", 1);
    EXPECT_FALSE(host::wants_color(ColorChoice::kAuto, true));
    EXPECT_TRUE(host::wants_color(ColorChoice::kAlways, true));
    unsetenv("NO_COLOR");
}

TEST(Explanation, SumsUpEachRule)
{
    std::ostringstream out;
    host::print_explanation(out, rejected(), true);
    EXPECT_EQ(out.str(), "Rules:\n"
                         "  rule        asked  calls     time   verdict  because of\n"
                         "  small           2      6  3.00 ms    warned  /x and 1 more\n"
                         "  great_rule      1      3  1.50 ms  rejected  (asked at every commit)\n"
                         "  total           3      9  4.50 ms            of 4 requests planned\n"
                         "Calls:\n"
                         "  small\n"
                         "           4  maapi_exists\n"
                         "           2  maapi_get_elem\n"
                         "  great_rule\n"
                         "           2  maapi_exists\n"
                         "           1  maapi_get_elem\n"
                         "Times:\n"
                         "  load   2.00 ms\n"
                         "  rules  4.50 ms\n"
                         "  total  6.50 ms\n");
}

class JsonReport : public testing::Test
{
protected:
    JsonReport() : m_checker(nlohmann::json::parse(std::ifstream(REPORT_SCHEMA))) {}

    /** The report as a program reads it. */
    nlohmann::json report(const Outcome &outcome, bool with_explanation = false)
    {
        return nlohmann::json::parse(
            host::print_json(host::json_report(outcome, with_explanation), false));
    }

    SchemaChecker m_checker;
};

TEST_F(JsonReport, KeepsToItsSchema)
{
    Outcome none = changed();
    none.form = host::ChangeForm::kNone;
    none.unchecked_links = {{"1/1/3", "/config/gpon{1/1}/pon-link"}};
    for (const Outcome &outcome : {rejected(), died(), not_checked(), confirmed(true),
                                   confirmed(false), confirmed(std::nullopt), none}) {
        for (const bool with_explanation : {false, true}) {
            const auto document = report(outcome, with_explanation);
            EXPECT_THAT(m_checker.faults(document), ElementsAre()) << document.dump(2);
        }
    }
}

/** A checker that finds nothing would prove nothing. */
TEST_F(JsonReport, SchemaRefusesOtherDocuments)
{
    auto document = report(rejected(), true);
    document.erase("result");
    document["more"] = 1;
    document["warnings"][0]["result"] = "three";
    document["explanation"]["rules"][0]["verdict"] = "perhaps";
    EXPECT_THAT(m_checker.faults(document),
                ElementsAre(" lacks result", "/explanation/rules/0/verdict is \"perhaps\"",
                            "/more is not in the schema", "/warnings/0/result is no integer"));
}

TEST_F(JsonReport, HoldsTheFactsOfTheText)
{
    const auto document = report(rejected());
    EXPECT_EQ(document.at("result"), "rejected");
    EXPECT_EQ(document.at("exit-code"), 1);
    EXPECT_EQ(document.at("edit"), "change.xml");
    EXPECT_EQ(document.at("rejections"), nlohmann::json::parse(R"([{"rule": "great_rule",
        "path": "/c{1 2}", "result": -1, "text": "one\ntwo\n"}])"));
    EXPECT_EQ(document.at("confirmation"),
              nlohmann::json::parse(R"({"needed": false, "answer": null})"));
    EXPECT_FALSE(document.contains("explanation"));
}

TEST_F(JsonReport, SurvivesBytesThatAreNoUtf8)
{
    EXPECT_EQ(report(died()).at("plugin-output"), "broken \xef\xbf\xbd byte\n");
}

TEST(Result, IsTheWorstThatHappened)
{
    Outcome outcome = confirmed(true);
    EXPECT_EQ(outcome.result(), host::Result::kAccepted);
    outcome.runs.push_back(run_of("small", "/b", "/x", Verdict::kRejected));
    EXPECT_EQ(outcome.result(), host::Result::kRejected);
    outcome.death.emplace();
    EXPECT_EQ(outcome.result(), host::Result::kPluginDied);
}

} // namespace
