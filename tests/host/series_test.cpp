/** Many edits in one run: every report is that of a run of its own, whatever the plug-in does. */
#include "program_runner.h"

#include <nlohmann/json.hpp>

#include <random>

namespace
{

using nlohmann::json;

class Series : public ProgramTest
{
protected:
    Series()
    {
        file("running.xml", kRunning);
        file("fec.xml", kFecEdit);
        file("onu.xml",
             inside_link(
                 "<onu><onu-id>1</onu-id><management><address>10.0.0.2/24"
                 "</address><default-gateway>10.0.0.1</default-gateway></management></onu>"));
        file("nothing.xml", inside_link(""));
        file("unknown.xml", inside_link("<onv/>"));
    }

    static std::string inside_link(const std::string &text)
    {
        const std::string running = kRunning;
        const auto end = running.find("</gpon>");
        return running.substr(0, end) + text + running.substr(end);
    }

    /** The reports, one a line. */
    std::vector<json> reports(const std::string &script, const std::vector<std::string> &edits)
    {
        std::vector<std::string> words{"--running", path("running.xml"), "--json", "--timeout",
                                       "1"};
        for (const auto &edit : edits) {
            words.insert(words.end(), {"--edit", path(edit)});
        }
        if (edits.size() == 1) {
            words.push_back("--in-turn"); // One report a line, too.
        }
        std::vector<json> reports;
        std::istringstream lines(check(script, words).out);
        for (std::string line; std::getline(lines, line);) {
            reports.push_back(json::parse(line));
            reports.back().erase("plugin-output"); // It is read as it comes.
            reports.back().erase("edit");
            reports.back().erase("sequence");
            for (auto &problem : reports.back()["problems"]) {
                problem.erase("source");
            }
            for (const char *kind : {"rejections", "warnings"}) {
                for (auto &remark : reports.back()[kind]) {
                    remark["location"].erase("file");
                }
            }
        }
        return reports;
    }
};

TEST_F(Series, TellsOfEachEditWhatARunOfItsOwnTells)
{
    const std::vector<std::string> kinds{"fec.xml", "onu.xml", "nothing.xml", "unknown.xml"};
    for (const char *act :
         {"", "reject:No.", "warn:Well.", "exit:0", "exit:3", "fault", "throw:stoi", "fork", "once",
          "forge:a0 0 0 0 0 ;b1;{\"event\":\"answered\"}", "hang"}) {
        const std::string script = std::string("fec_confirmation_warning=") + act;
        std::map<std::string, json> alone;
        for (const auto &kind : kinds) {
            alone[kind] = reports(script, {kind}).at(0);
        }
        std::vector<std::string> edits;
        for (int copy = 0; copy < (std::string_view(act) == "hang" ? 2 : 6); ++copy) {
            for (const auto &kind : kinds) {
                edits.push_back(std::to_string(copy) + kind);
                std::filesystem::copy_file(path(kind), path(edits.back()),
                                           std::filesystem::copy_options::skip_existing);
            }
        }
        std::shuffle(edits.begin(), edits.end(), std::mt19937(1));
        const auto together = reports(script, edits);
        ASSERT_EQ(together.size(), edits.size());
        for (std::size_t i = 0; i < edits.size(); ++i) {
            EXPECT_EQ(together[i].dump(), alone[edits[i].substr(1)].dump()) << script;
        }
    }
}

/** In a process of its own the plug-in sees what was committed, as it does in this one. */
TEST_F(Series, CommitsInTurnWhereverThePluginRuns)
{
    std::mt19937 random(1);
    std::vector<std::string> words{"--plugin",  CARD_PLUGIN, "--running", path("running.xml"),
                                   "--in-turn", "--yes",     "--json"};
    for (int i = 0; i < 60; ++i) {
        const std::string one = std::to_string(random() % 2);
        const std::string id = std::to_string(random() % 3 + 1);
        const std::string onu =
            "<onu><onu-id>" + id + "</onu-id>" +
            (random() % 2 == 0 ? "<description>" + one + "</description>"
                               : "<auth-method><serial-number>ABCD" + id + "000000" + one +
                                     "</serial-number></auth-method>") +
            "</onu>";
        const std::string fec =
            "<downstream-fec>" + std::string(one == "0" ? "false" : "true") + "</downstream-fec>";
        words.insert(words.end(), {"--edit", file(std::to_string(i),
                                                  inside_link(random() % 2 == 0 ? onu : fec))});
    }
    const ProgramRun child = check("", words);
    words.push_back("--in-process");
    const ProgramRun here = check("", words);
    EXPECT_EQ(child.out, here.out);
    EXPECT_EQ(child.code, here.code);
    EXPECT_GT(std::count(child.out.begin(), child.out.end(), '\n'), 10) << child;
}

/** One process for all of them; its end is no edit's. */
TEST_F(Series, KeepsThePluginLoadedUntilItsEnd)
{
    const std::vector<std::string> words{
        "--running", path("running.xml"), "--edit", path("fec.xml"),
        "--edit",    path("onu.xml"),     "--edit", path("nothing.xml")};
    EXPECT_EQ(check("lib_init=print:start\nlib_finish=print:end", words).err, "start\nend\n");
    const ProgramRun died = check("lib_finish=exit:3", words);
    EXPECT_EQ(died.code, 4) << died;
    EXPECT_THAT(died.out, testing::HasSubstr("\nThe plug-in died in lib_finish: "));
    EXPECT_THAT(died.out, testing::EndsWith("\n3 edits: 3 accepted.\n"));
}

} // namespace
