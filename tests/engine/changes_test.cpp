#include "engine/data/changes.h"

#include "engine/data/path.h"
#include "support/card_xml.h"
#include "support/model.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace test_support;
using engine::Change;
using engine::ChangeKind;
using engine::Datastore;

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

TEST(Changes, HaveTheirKinds)
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

TEST(Changes, OfUserOrderedListsMoveAsFewEntriesAsPossible)
{
    const auto list = [](const std::string &names, const std::string &values) {
        std::string entries;
        for (std::size_t i = 0; i < names.size(); ++i) {
            const auto value = values.empty() ? "" : xml("value", values.substr(i, 1));
            entries += xml("parameter", xml("name", names.substr(i, 1)) + value);
        }
        return checked_config(onu_5(xml("rg-override-parameters", entries)));
    };
    const struct {
        std::string before, after, expected, old_values = "", new_values = "";
    } rows[] = {
        {"abcd", "abcd", ""},
        {"abcd", "dabc", "moved {d} "},
        {"abcd", "bcda", "moved {a} "},
        {"abcde", "aecdb", "moved {e} moved {b} "},
        {"abcd", "xbyd", "deleted {a} deleted {c} created {x} created {y} "},
        {"abc", "cxa", "deleted {b} moved {c} created {x} "},
        {"", "ab", "created {a} created {b} "},
        {"ab", "", "deleted {a} deleted {b} "},
        {"ab", "ba", "moved {b} value {b}/value ", "11", "21"},
    };
    const std::string path =
        "/config/interface/gpon{1 1 3}/onu{5}/rg-override-parameters/parameter";
    for (const auto &[before, after, expected, old_values, new_values] : rows) {
        std::string changes;
        for (auto line : changes_between(list(before, old_values), list(after, new_values))) {
            changes += line.erase(line.find(path), path.size()) + " ";
        }
        EXPECT_EQ(changes, expected) << before << " to " << after;
    }
}

} // namespace
