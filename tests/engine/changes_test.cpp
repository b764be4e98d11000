#include "engine/data/changes.h"

#include "engine/data/path.h"
#include "small_model.h"
#include "support/card_xml.h"
#include "support/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace test_support;
using engine::Change;
using engine::ChangeKind;
using engine::Datastore;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

using Lines = std::vector<std::string>;

/** Kind and path of each change in walking order, without those that only lead to others. */
void list_changes(const std::vector<Change> &changes, Lines &lines)
{
    static const char *const kNames[] = {"inside", "created", "deleted", "value", "moved"};
    for (const auto &change : changes) {
        if (change.kind != ChangeKind::kInside) {
            lines.push_back(kNames[static_cast<int>(change.kind)] + std::string(" ") +
                            engine::path_text(change.node()));
        }
        list_changes(change.children, lines);
    }
}

Lines changes_between(const Datastore &committed, const Datastore &candidate)
{
    Lines lines;
    list_changes(engine::compare(committed, candidate), lines);
    return lines;
}

TEST(Changes, ToldByKind)
{
    const auto ports = [](const std::string &numbers) {
        std::string list;
        for (const char number : numbers) {
            list += xml("ethernet", std::string(1, number));
        }
        return mapping(xml("uni", list));
    };
    const auto note = [](const std::string &text) { return port(1, xml("description", text)); };
    const std::string onu_path = "/config/interface/gpon{1 1 3}/onu{5}";
    const std::string rates = "/config/profile/gpon/bandwidth-profile{b}/traffic";
    const std::string uni = "/config/profile/gpon/service-profile{s}/vlan-mapping{m}/uni/ethernet";
    const struct {
        std::string before, after;
        Lines expected;
    } rows[] = {
        {"", "", {}},
        {port(1), note("a"), {"created /config/service-port{1}/description"}},
        {note("a"), port(1), {"deleted /config/service-port{1}/description"}},
        {note("a"), note("b"), {"value /config/service-port{1}/description"}},
        // A default counts as a value, written out or not.
        {port(1), port(1, xml("statistics", "false")), {}},
        {port(1, xml("statistics", "true")), port(1), {"value /config/service-port{1}/statistics"}},
        // Entries are paired by number, not by text or place.
        {port(2) + port(9),
         port(10) + port(2) + port(1),
         {"created /config/service-port{1}", "deleted /config/service-port{9}",
          "created /config/service-port{10}"}},
        {"", onu_5(management()), {"created /config/interface/gpon{1 1 3}"}},
        {onu_5(""), onu_5(xml("snmp/real-time")), {"created " + onu_path + "/snmp/real-time"}},
        {onu_5(management()), onu_5(""), {"deleted " + onu_path + "/management"}},
        // Plain containers, here in two cases of a choice, come and go by what is in them.
        {traffic(xml("type-4/maximum", "1")),
         traffic(xml("type-3", xml("assured", "1") + xml("maximum", "1"))),
         {"created " + rates + "/type-3/assured", "created " + rates + "/type-3/maximum",
          "deleted " + rates + "/type-4/maximum"}},
        // A leaf-list is one node, in any order if the system orders it.
        {mapping(""), ports("42"), {"created " + uni}},
        {ports("42"), mapping(""), {"deleted " + uni}},
        {ports("42"), ports("24"), {}},
        {ports("42"), ports("2"), {"value " + uni}},
        {ports("4"), ports("3"), {"value " + uni}},
    };
    for (const auto &[before, after, expected] : rows) {
        EXPECT_EQ(changes_between(checked_config(before), checked_config(after)), expected)
            << "before: " << before << "\nafter: " << after;
    }
}

TEST(Changes, HoldTheNodesOfBothSidesAndLeadToThem)
{
    const auto committed = checked_config(port(1, xml("statistics", "true")));
    const auto candidate = checked_config(port(1) + port(2));
    const auto changes = engine::compare(committed, candidate);

    ASSERT_EQ(changes.size(), 1u);
    const auto &config = changes[0];
    EXPECT_EQ(config.kind, ChangeKind::kInside);
    EXPECT_EQ(config.schema, committed.schema().top("config"));
    EXPECT_EQ(config.before, committed.root());
    EXPECT_EQ(config.after, candidate.root());

    ASSERT_EQ(config.children.size(), 2u);
    ASSERT_EQ(config.children[0].children.size(), 1u);
    const auto &leaf = config.children[0].children[0];
    EXPECT_STREQ(lyd_get_value(leaf.before), "true");
    EXPECT_STREQ(lyd_get_value(leaf.after), "false");
    EXPECT_EQ(config.children[1].before, nullptr);
    EXPECT_THAT(config.children[1].children, IsEmpty());
}

TEST(Changes, OfUserOrderedListsMoveAsFewEntriesAsPossible)
{
    const auto schema =
        small_schema("list l { key k; ordered-by user; leaf k { type string; } "
                     "leaf v { type string; } } leaf-list m { type string; ordered-by user; }");
    const std::string ns = "xmlns='urn:t'";
    const auto list = [&](const std::string &names, const std::string &values = "") {
        std::string entries;
        for (std::size_t i = 0; i < names.size(); ++i) {
            const auto value = values.empty() ? "" : xml("v", values.substr(i, 1));
            entries += xml("l", xml("k", names.substr(i, 1)) + value, ns);
        }
        return entries.empty() ? Datastore(schema) : small_config(schema, entries);
    };
    const struct {
        std::string before, after;
        Lines expected;
    } rows[] = {
        {"abcd", "abcd", {}},
        {"abcd", "dabc", {"moved /l{d}"}},
        {"abcd", "bcda", {"moved /l{a}"}},
        {"abcde", "aecdb", {"moved /l{e}", "moved /l{b}"}},
        {"abcd", "xbyd", {"deleted /l{a}", "deleted /l{c}", "created /l{x}", "created /l{y}"}},
        {"abc", "cxa", {"deleted /l{b}", "moved /l{c}", "created /l{x}"}},
        {"", "ab", {"created /l{a}", "created /l{b}"}},
        {"ab", "", {"deleted /l{a}", "deleted /l{b}"}},
    };
    for (const auto &[before, after, expected] : rows) {
        EXPECT_EQ(changes_between(list(before), list(after)), expected)
            << before << " to " << after;
    }
    EXPECT_THAT(changes_between(list("ab", "11"), list("ba", "21")),
                ElementsAre("moved /l{b}", "value /l{b}/v"));
    EXPECT_EQ(changes_between(small_config(schema, xml("m", "a", ns) + xml("m", "b", ns)),
                              small_config(schema, xml("m", "b", ns) + xml("m", "a", ns)))
                  .size(),
              1u);
}

} // namespace
