/** Reports for pipelines: what golden cases cannot hold, and files that cannot be written. */
#include "program_runner.h"

#include "report/report_formats.h"

#include <nlohmann/json.hpp>

#include <set>

using host::ReportFormat;
using nlohmann::json;
using testing::HasSubstr;

namespace
{

/** Bytes that mean something to one format or another, or to a terminal, and two that are no text.
 */
constexpr const char *kHostile = "100% <a>\n::b,c ]]>&\x1b[31m \xe2\x80\xae\uffff\xff";

host::RuleRun remark(const char *rule, const std::string &text, host::FileLocation place)
{
    host::RuleRun run{rule, "/a{" + text + "}", "", {}};
    run.answer.verdict = engine::Verdict::kRejected;
    run.answer.text = text;
    run.evidence.emplace();
    run.evidence->location = std::move(place);
    return run;
}

host::Outcome rejected(const std::string &edit, std::vector<host::RuleRun> runs)
{
    host::Outcome outcome;
    outcome.running = "running.xml";
    outcome.form = host::ChangeForm::kEdit;
    outcome.change = edit;
    outcome.completed = true;
    outcome.runs = std::move(runs);
    return outcome;
}

std::string report_of(ReportFormat format, const std::vector<host::Outcome> &outcomes)
{
    host::ReportSettings settings;
    settings.is_series = true;
    settings.working_folder = "/work here";
    const auto report = host::make_report(format, settings);
    host::RunSummary summary;
    std::string text;
    for (const auto &outcome : outcomes) {
        summary.worst = worse_of(summary.worst, outcome.result());
        text += report->findings(outcome, {1, 2}) + report->conclusion(outcome, {1, 2});
    }
    return text + report->end(summary);
}

json sarif_of(const std::vector<host::Outcome> &outcomes)
{
    return json::parse(report_of(ReportFormat::kSarif, outcomes)).at("runs").at(0);
}

const std::vector<host::Outcome> &hostile()
{
    static const std::vector<host::Outcome> outcomes{
        rejected("./50%, a:b.xml", {remark("sp_gem_check", kHostile, {"./50%, a:b.xml", 3, 7})})};
    return outcomes;
}

TEST(GithubReport, IsOneCommandWhateverStandsInIt)
{
    EXPECT_EQ(report_of(ReportFormat::kGithub, hostile()),
              "::error file=50%25%2C a%3Ab.xml,line=3,col=7,title=sp_gem_check::"
              "100%25 <a>%0A::b,c ]]>&\\x1b[31m \\u{202e}\\u{ffff}\\xff%0A"
              "/a{100%25 <a>%0A::b,c ]]>&\\x1b[31m \\u{202e}\\u{ffff}\\xff}\n");
}

TEST(JunitReport, IsXmlWhateverStandsInIt)
{
    EXPECT_EQ(report_of(ReportFormat::kJunit, hostile()),
              R"(<?xml version="1.0" encoding="UTF-8"?>
<testsuites name="gpon-validate" tests="1" failures="1" errors="0" time="0.000000">
  <testsuite name="running.xml" tests="1" failures="1" errors="0" skipped="0" time="0.000000">
    <testcase classname="gpon-validate" name="./50%, a:b.xml" time="0.000000">
      <failure message="100% &lt;a> ::b,c ]]>&amp;\x1b[31m \u{202e}\u{ffff}\xff" type="sp_gem_check">./50%, a:b.xml:3:7: sp_gem_check: 100% &lt;a&gt;
::b,c ]]&gt;&amp;\x1b[31m \u{202e}\u{ffff}\xff
  /a{100% &lt;a&gt;
::b,c ]]&gt;&amp;\x1b[31m \u{202e}\u{ffff}\xff}
</failure>
    </testcase>
  </testsuite>
</testsuites>
)");
}

TEST(SarifReport, LeadsToFilesInAndOutsideOfTheWorkingFolder)
{
    const json run = sarif_of({rejected("./50%, a:b.xml", {remark("sp_gem_check", kHostile, {})}),
                               rejected("../b.xml", {remark("no_such_rule", "No.", {})}),
                               rejected("/work here/c.xml", {remark("sp_gem_check", "No.", {})})});
    EXPECT_EQ(run.at("originalUriBaseIds").at("%SRCROOT%").at("uri"), "file:///work%20here/");
    const auto place = [&run](std::size_t result) {
        return run.at("results").at(result).at("locations").at(0).at("physicalLocation");
    };
    EXPECT_EQ(place(0).at("artifactLocation").at("uri"), "50%25%2C%20a%3Ab.xml");
    EXPECT_EQ(place(0).at("region"), json({{"startLine", 1}}));
    EXPECT_EQ(place(1).at("artifactLocation"), json({{"uri", "file:///b.xml"}}));
    EXPECT_EQ(place(2).at("artifactLocation").at("uri"), "c.xml");
    EXPECT_EQ(run.at("tool").at("driver").at("rules").at(23).at("id"), "no_such_rule");
    EXPECT_EQ(run.at("results").at(0).at("message").at("text"),
              "100% <a>\n::b,c ]]>&\\x1b[31m \\u{202e}\\u{ffff}\\xff");
}

TEST(SarifReport, TellsTheCauseAndWhetherItIsNew)
{
    auto outcome = rejected("a.xml", {remark("sp_gem_check", "No.", {"a.xml", 3, 7})});
    outcome.runs[0].evidence->is_new = false;
    outcome.runs[0].evidence->cause = {"/config/a", "changed", "1", "2"};
    const json result = sarif_of({outcome}).at("results").at(0);
    EXPECT_EQ(result.at("baselineState"), "unchanged");
    EXPECT_EQ(result.at("message").at("text"), "No.\nbecause /config/a changed: 1 → 2");
    EXPECT_THAT(report_of(ReportFormat::kGithub, {outcome}), HasSubstr("::notice file=a.xml,"));
    EXPECT_EQ(
        result.at("properties").at("cause"),
        json::parse(R"({"path": "/config/a", "operation": "changed", "old": "1", "new": "2"})"));
}

TEST(Fingerprints, AreUniqueAndKnowNoLines)
{
    const auto marks = [](unsigned line) {
        const host::FileLocation place{"a.xml", line, 1};
        const auto outcome = rejected("a.xml", {remark("sp_gem_check", "No.", place),
                                                remark("sp_gem_check", "No.", place),
                                                remark("sp_gem_check", "Never.", place),
                                                remark("vlan_limit_check", "No.", place)});
        std::vector<std::string> found;
        for (const auto &issue : json::parse(
                 report_of(ReportFormat::kGitlab,
                           {outcome, rejected("b.xml", {remark("sp_gem_check", "No.", {})})}))) {
            found.push_back(issue.at("fingerprint"));
        }
        return found;
    };
    const auto before = marks(3);
    EXPECT_EQ(before, marks(40));
    EXPECT_EQ(std::set(before.begin(), before.end()).size(), 5U);
}

class Reports : public ProgramTest
{
};

TEST_F(Reports, AreWrittenEvenIfOneCannotBe)
{
    const ProgramRun done =
        check_fec("fec_confirmation_warning=reject:No.",
                  {"--report", "sarif=" + path("no/folder"), "--report", "gitlab=" + path("gitlab"),
                   "--report=junit=" + path("junit"), "--report", "json=/dev/full"});
    EXPECT_EQ(done.code, 3);
    EXPECT_THAT(done.out, HasSubstr("Rejected."));
    EXPECT_THAT(done.err, HasSubstr("no/folder: cannot be written: "));
    EXPECT_THAT(done.err, HasSubstr("/dev/full: cannot be written: "));
    EXPECT_EQ(json::parse(read("gitlab")).size(), 1U);
    EXPECT_THAT(read("junit"), HasSubstr("</testsuites>"));
}

TEST_F(Reports, HaveFilesOfTheirOwn)
{
    for (const auto &[first, second] : std::vector<std::pair<std::string, std::string>>{
             {"sarif=" + path("one"), "junit=" + path("./one")},
             {"sarif=" + path("one"), "junit=" + path("running.xml")},
             {"sarif", "junit"},
             {"sarif=" + path("one"), "junit="},
             {"sarif=" + path("one"), "html=" + path("two")}}) {
        EXPECT_EQ(check_fec("", {"--report", first, "--report", second}).code, 3) << second;
        EXPECT_FALSE(std::filesystem::exists(path("one"))) << second;
    }
    EXPECT_EQ(read("running.xml"), kRunning);
}

TEST_F(Reports, AskWhoReadsTheText)
{
    int asked = 0;
    ask = [&asked] {
        ++asked;
        return true;
    };
    const std::string script = "fec_confirmation_warning=warn:Well.";
    EXPECT_EQ(check_fec(script, {"--report", "github"}).code, 2);
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(check_fec(script, {"--report", "json=" + path("json")}).code, 0);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(json::parse(read("json")).at("confirmation").at("answer"), "yes");
}

} // namespace
