#include "program_runner.h"

#include "checker/model_schema.h"
#include "engine/data/datastore.h"

#include <nlohmann/json.hpp>

#include <iterator>

namespace
{

/** By the words of the command line. */
class Generate : public ProgramTest, public testing::WithParamInterface<const char *>
{
protected:
    ProgramRun generate(std::vector<std::string> words) const
    {
        words.insert(words.begin(), "generate");
        return run(words);
    }
    ProgramRun check_with_card_rules(std::vector<std::string> words) const
    {
        words.insert(words.begin(),
                     {"check", "--plugin", CARD_PLUGIN, "--card", path("card.json")});
        return run(words);
    }
};

constexpr const char *kEditOfEverything = R"(<config xmlns="urn:olt:gpon:base"
        xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0">
  <profile><gpon>
    <bandwidth-profile nc:operation="create">
      <name>another</name><traffic><type-4><maximum>64</maximum></type-4></traffic>
    </bandwidth-profile>
    <line-profile><name>line-001</name>
      <gem nc:operation="create"><gem-id>4000</gem-id></gem>
    </line-profile>
  </gpon></profile>
  <service-port nc:operation="delete"><id>1</id></service-port>
</config>
)";

/** All that the card asks about a new configuration, and about a later edit of it. */
TEST_P(Generate, SatisfiesTheModelAndAllRules)
{
    std::istringstream given(GetParam());
    std::vector<std::string> words{"-o", path("card.xml"), "--card", path("card.json")};
    words.insert(words.end(), std::istream_iterator<std::string>(given), {});
    ASSERT_EQ(generate(words).code, 0);

    const ProgramRun all_new = check_with_card_rules({path("card.xml"), "--all"});
    EXPECT_EQ(all_new.code, 0) << all_new;
    EXPECT_THAT(all_new.out, testing::MatchesRegex("Accepted. 2[12] rules ran .*\n"));

    const ProgramRun edited = check_with_card_rules(
        {"--running", path("card.xml"), "--edit", file("edit.xml", kEditOfEverything), "--yes"});
    EXPECT_EQ(edited.code, 0) << edited;
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, Generate,
    testing::Values("", "--seed 18446744073709551615",
                    "--links 1 --onus 1 --line-profiles 1 --bandwidth-profiles 1 --rg-profiles 1 "
                    "--service-ports 2",
                    "--links 1 --onus 1 --service-ports 3500",
                    "--onus 128 --line-profiles 100 --bandwidth-profiles 200 --rg-profiles 50 "
                    "--seed 7",
                    "--links 16 --onus 128 --service-ports 4096"));

TEST_F(Generate, IsTheSameForASeedAndAnotherForAnother)
{
    const ProgramRun first = generate({"--seed", "3"});
    EXPECT_EQ(first.code, 0) << first.err;
    EXPECT_EQ(generate({"--seed", "3"}).out, first.out);
    EXPECT_NE(generate({"--seed", "4"}).out, first.out);
}

TEST_F(Generate, TellsTheSameInXmlAndJson)
{
    const auto &schema = host::model_schema();
    const auto source = [this](const char *format) -> engine::Source {
        return {format, generate({"--onus", "8", "--format", format}).out};
    };
    const auto xml = engine::Datastore::parse(schema, source("xml"));
    // Each encryption gives another text: the values of the first are kept where they are the same.
    const auto json = engine::Datastore::parse(schema, source("json"), &xml);
    EXPECT_EQ(json.print(engine::Format::kXml), xml.print(engine::Format::kXml));
}

TEST_F(Generate, WritesAsMuchAsItIsAsked)
{
    const ProgramRun done =
        generate({"--links", "3", "--onus", "5", "--line-profiles", "7", "--bandwidth-profiles",
                  "11", "--rg-profiles", "2", "--service-ports", "40", "--format", "json"});
    const auto config = nlohmann::json::parse(done.out).at("base:config");
    const auto &profiles = config.at("profile").at("gpon");
    EXPECT_EQ(profiles.at("line-profile").size(), 7U);
    EXPECT_EQ(profiles.at("bandwidth-profile").size(), 11U);
    EXPECT_EQ(profiles.at("rg-profile").size(), 2U);
    EXPECT_EQ(config.at("service-port").size(), 40U);
    EXPECT_EQ(config.at("gpon").at(0).at("pon-link").size(), 3U);
    ASSERT_EQ(config.at("interface").at("gpon").size(), 3U);
    for (const auto &link : config.at("interface").at("gpon")) {
        EXPECT_EQ(link.at("onu").size(), 5U);
    }
}

} // namespace
