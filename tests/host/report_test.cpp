/** Parts of reports that golden cases cannot show: deaths, times, colours. */
#include "report/report_explain.h"
#include "report/report_json.h"
#include "report/report_text.h"
#include "report/words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>

using engine::Verdict;
using host::Outcome;
using namespace std::chrono_literals;

namespace
{

host::RuleRun run_of(const char *rule, const char *cause, Verdict verdict)
{
    host::RuleRun run{rule, "/a", cause, {}, nullptr};
    run.answer.verdict = verdict;
    run.answer.calls = {{"maapi_exists", 2}, {"maapi_get_elem", 1}};
    run.answer.time = 1500us;
    return run;
}

Outcome died(const std::string &plugin_output)
{
    Outcome outcome;
    outcome.death.emplace();
    outcome.death->kind = host::Death::Kind::kTimeout;
    outcome.death->number = 60;
    outcome.death->step = host::Step::kValidate;
    outcome.death->rule = "small";
    outcome.death->path = "/a";
    outcome.plugin_output = plugin_output;
    return outcome;
}

TEST(TextReport, CutsALongOutputOfTheDead)
{
    std::string output;
    for (int i = 1; i <= 41; ++i) {
        output += "line " + std::to_string(i) + "\n";
    }
    std::ostringstream out;
    host::print_findings(out, died(output), host::Style(false));
    host::print_conclusion(out, died(output), host::Style(false));
    EXPECT_THAT(out.str(), testing::StartsWith(
                               "The plug-in was stopped in small at /a: no answer within 60 s.\n"
                               "The plug-in had written, in the end:\n  line 2\n"));
    EXPECT_THAT(out.str(), testing::EndsWith("  line 41\nInconclusive: the plug-in died.\n"));
}

TEST(TextReport, ShowsAProblemOfNoFile)
{
    std::ostringstream out;
    host::print_problems(out, {{engine::Fault::kInternal, "", 0, "", "Broken", ""}},
                         host::Style(false));
    EXPECT_EQ(out.str(), "Broken\n");
}

TEST(JsonReport, SurvivesBytesThatAreNoUtf8)
{
    const auto report =
        host::print_json(host::json_report(died("broken \xff byte\n"), false), false);
    EXPECT_EQ(nlohmann::json::parse(report).at("plugin-output"), "broken \xef\xbf\xbd byte\n");
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
    Outcome outcome;
    outcome.planned = 9;
    outcome.phases = {{"load", 2ms}, {"rules", 4500us}};
    outcome.runs = {run_of("small", "/x", Verdict::kWarning),
                    run_of("small", "/y", Verdict::kAccepted),
                    run_of("great_rule", "", Verdict::kRejected)};
    std::ostringstream out;
    outcome.reused = {{"great_rule", 5}};
    host::print_explanation(out, outcome, {true, false});
    EXPECT_EQ(out.str(), R"(Rules:
  rule        asked  calls     time   verdict  because of
  small           2      6  3.00 ms    warned  /x and 1 more
  great_rule      1      3  1.50 ms  rejected  (asked at every commit)
  total           3      9  4.50 ms            of 9 requests planned
  answers used again: 5
Calls:
  small
           4  maapi_exists
           2  maapi_get_elem
  great_rule
           2  maapi_exists
           1  maapi_get_elem
Times:
  load   2.00 ms
  rules  4.50 ms
  total  6.50 ms
)");
}

TEST(Result, IsTheWorstThatHappened)
{
    const auto exit_code = [](const Outcome &of) { return static_cast<int>(of.result()); };
    Outcome outcome;
    EXPECT_EQ(exit_code(outcome), 3) << "nothing was completed";
    outcome.completed = true;
    outcome.runs = {run_of("small", "", Verdict::kWarning)};
    outcome.confirmation.rules = {"other"};
    EXPECT_EQ(exit_code(outcome), 2) << "of another rule's warning nothing was confirmed";
    outcome.confirmation.rules = {"small"};
    EXPECT_EQ(exit_code(outcome), 0);
    outcome.runs.push_back(run_of("small", "", Verdict::kRejected));
    EXPECT_EQ(exit_code(outcome), 1);
    outcome.death.emplace();
    EXPECT_EQ(exit_code(outcome), 4);
}

} // namespace
