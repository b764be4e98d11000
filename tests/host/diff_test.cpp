/** The candidate that `diff` writes; what it prints is in golden cases. */
#include "program_runner.h"

#include "checker/difference.h"
#include "support/golden_case.h"
#include "support/model.h"

#include <exception>

using testing::HasSubstr;

namespace
{

namespace fs = std::filesystem;
using engine::Datastore;
using engine::Format;

/** What people put around a configuration, with namespaces that what is inside inherits. */
std::string in_reply(const std::string &xml)
{
    std::string inside = xml;
    const std::string declared = " xmlns=\"urn:olt:gpon:base\"";
    inside.erase(inside.find(declared), declared.size());
    return "<nc:rpc-reply xmlns:nc='urn:ietf:params:xml:ns:netconf:base:1.0'"
           " xmlns='urn:olt:gpon:base' message-id='1'>\n<nc:data><a xmlns='urn:a'><b/></a>" +
           inside + "<c xmlns='urn:c'/></nc:data></nc:rpc-reply>";
}

std::string in_data(const std::string &json)
{
    return R"({"ietf-restconf:data": {"a:a": [{"b": 1}, "}"], )" + json.substr(json.find('{') + 1) +
           "}";
}

Datastore read_back(const std::string &text)
{
    auto tree = Datastore::parse(test_support::schema(), {"written", text, {true, ""}});
    engine::add_defaults(tree);
    return tree;
}

/** All golden cases that can be read, by themselves and with what may stand around them. */
TEST(Candidate, IsReadBackAsItWas)
{
    std::size_t candidates = 0;
    for (const auto &entry : fs::recursive_directory_iterator(GOLDEN_CASES)) {
        if (entry.path().filename() != "expected.txt") {
            continue;
        }
        SCOPED_TRACE(entry.path());
        std::optional<test_support::GoldenCase> golden;
        try {
            golden = test_support::read_golden_case(test_support::schema(),
                                                    entry.path().parent_path(), false);
        } catch (const std::exception &) {
            continue; // Faulty, or without one change.
        }
        engine::add_defaults(golden->candidate);
        const auto xml = golden->candidate.print(Format::kXml);
        const auto json = golden->candidate.print(Format::kJson);
        for (const auto &text : {xml, json, in_reply(xml), in_data(json)}) {
            const auto again = read_back(text);
            EXPECT_TRUE(engine::compare(golden->candidate, again).empty()) << text.substr(0, 2000);
            EXPECT_EQ(again.print(Format::kXml), xml);
        }
        // An edit without a difference would show nothing, and one with a difference something.
        const auto changes = engine::compare(golden->running, golden->candidate);
        EXPECT_EQ(host::differences_of(changes).empty(), changes.empty());
        ++candidates;
    }
    EXPECT_GT(candidates, 200U);
}

class Diff : public ProgramTest
{
protected:
    ProgramRun diff(std::vector<std::string> words)
    {
        words.insert(words.begin(), {"diff", "--running", file("running.xml", kRunning), "--edit",
                                     file("change.xml", kFecEdit)});
        return run(words);
    }
};

TEST_F(Diff, WritesTheCandidateOnlyWhereItIsAskedTo)
{
    EXPECT_EQ(diff({"-o", path("new.json"), "--format", "json"}).code, 0);
    EXPECT_THAT(read("new.json"), HasSubstr("\"upstream-fec\": true"));
    EXPECT_EQ(diff({"-o", path("new.json"), "--exit-code"}).code, 1);
    const ProgramRun alone = diff({"-o", "-"});
    EXPECT_EQ(alone.out, read("new.json")) << "in the running configuration's format";

    EXPECT_THAT(diff({"-o", "-", "--json"}).out, HasSubstr("stdout has the JSON report"));

    const ProgramRun over_input = diff({"-o", path("change.xml")});
    EXPECT_EQ(over_input.code, 3) << over_input;
    EXPECT_EQ(read("change.xml"), kFecEdit);
    const ProgramRun nowhere = diff({"-o", path("no/where")});
    EXPECT_EQ(nowhere.code, 3) << nowhere;
    EXPECT_THAT(nowhere.err, HasSubstr("no/where"));
    EXPECT_EQ(nowhere.out, "");
}

} // namespace
