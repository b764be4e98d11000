#include "program_runner.h"

#include "checker/model_schema.h"
#include "rules/rules.h"

#include <nlohmann/json.hpp>

#include <set>

using testing::HasSubstr;

namespace
{

/** A rule in the table without a place in the model would never run, and the other way round. */
TEST_F(ProgramTest, TableOfRulesAndModelHaveTheSameKeys)
{
    std::set<std::string_view> table;
    for (const auto &rule : host::rules()) {
        table.insert(rule.key);
        EXPECT_NE(rule.guards, "") << rule.key;
    }
    EXPECT_EQ(table.size(), host::rules().size()) << "duplicate key";
    std::set<std::string_view> model;
    const auto &schema = host::model_schema();
    for (const auto &point : schema->points()) {
        model.insert(point.opaque);
    }
    EXPECT_EQ(table, model);
}

TEST_F(ProgramTest, PointsListsEveryKeyWithItsPlaces)
{
    const ProgramRun done = run({"points", "--json"});
    ASSERT_EQ(done.code, 0) << done;
    const auto keys = nlohmann::json::parse(done.out);
    ASSERT_EQ(keys.size(), 23U);
    const ProgramRun text = run({"points"});
    for (const auto &key : keys) {
        EXPECT_FALSE(key.at("points").empty()) << key;
        EXPECT_THAT(text.out, HasSubstr(key.at("key").get<std::string>() + "\n"));
        for (const auto &point : key.at("points")) {
            EXPECT_THAT(text.out, HasSubstr("    " + point.at("path").get<std::string>() + "  ("));
        }
    }
}

TEST_F(ProgramTest, PointsOfAKeyShowItsDependencies)
{
    const ProgramRun text = run({"points", "sp_gem_check"});
    EXPECT_EQ(text.code, 0) << text;
    EXPECT_THAT(
        text.out,
        testing::AllOf(
            HasSubstr(
                "\n/config/service-port/gpon\n  The user side.\n  asked     for each instance"),
            HasSubstr("    /config/interface/gpon/onu/onu-id  (reaches all instances)\n"),
            HasSubstr("was not configured to onu [{onu}]\n    Add the GEM port")));

    const ProgramRun json = run({"points", "service_port_global_validation", "--json"});
    EXPECT_EQ(nlohmann::json::parse(json.out), nlohmann::json::parse(R"({
        "key": "service_port_global_validation",
        "guards": "No two service ports match the same traffic; at most 4096 service ports.",
        "points": [{"path": "/config/service-port", "asked": "once", "priority": 20,
                    "dependencies": [{"path": "/config/service-port", "within": "/config"}]}],
        "texts": [{"text": "Service-port \"{first}\" and \"{second}\" have conflicting matches.",
                   "resolve": "Let the two differ in interface, ONU, GEM port or match VLAN; the action plays no part."},
                  {"text": "Service-port limit exceeded: Installed {count} of 4096 allowed",
                   "resolve": "Remove service ports."}]})"));
}

} // namespace
