#include "engine/edit/edit.h"

#include "engine/data/error.h"
#include "engine/data/yang_check.h"
#include "small_model.h"
#include "support/card_xml.h"
#include "support/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace test_support;
using engine::Datastore;
using engine::Format;
using engine::Problem;
using ::testing::HasSubstr;

namespace
{

const std::string kNetconf = "xmlns='urn:ietf:params:xml:ns:netconf:base:1.0'";

Datastore edited(const Datastore &running, const std::string &text)
{
    auto candidate = engine::apply_edit(running, {"edit.xml", text});
    engine::check_yang(candidate, "edit.xml");
    return candidate;
}

/** What an edit, given as a whole text, makes of a configuration, before and after its check. */
void expect_candidate(const std::string &running, const std::string &edit,
                      const std::string &expected)
{
    const auto wanted = checked_config(expected).print(Format::kJson);
    auto candidate = engine::apply_edit(checked_config(running), {"edit.xml", edit});
    EXPECT_EQ(candidate.print(Format::kJson), wanted) << edit;
    engine::check_yang(candidate, "edit.xml");
    EXPECT_EQ(candidate.print(Format::kJson), wanted) << edit;
}

/** The faults of an edit; none when it fits. */
std::vector<Problem> problems_of(const std::string &running, const std::string &text)
{
    try {
        engine::apply_edit(checked_config(running), {"edit.xml", text});
    } catch (const engine::InputError &error) {
        return error.problems();
    }
    return {};
}

TEST(Edit, OperationsGiveTheCandidate)
{
    const auto macs = [](const char *count) { return xml("max-mac-addresses", count); };
    const auto statistics = [](const char *on) { return xml("statistics", on); };
    const auto ports = [](const std::string &numbers) {
        std::string list;
        for (const char number : numbers) {
            list += xml("ethernet", std::string(1, number));
        }
        return mapping(xml("uni", list));
    };
    const auto note = xml("description", "a");
    const struct {
        std::string running, edit, expected;
    } rows[] = {
        // Merge.
        {port(1, note), port_edit(1, statistics("true")), port(1, statistics("true") + note)},
        {port(1, macs("5")), port_edit(1, macs("6")), port(1, macs("6"))},
        {port(2) + port(10), port(9), port(2) + port(9) + port(10)},
        // A leaf to delete needs no value, whatever its type.
        {port(1, macs("5") + note),
         port_edit(1, xml("max-mac-addresses", "", kDelete) + xml("description", "", kDelete)),
         port(1)},
        {port(1, statistics("false")), port_edit(1, xml("statistics", "", kDelete)), port(1)},
        {port(1), port_edit(1, xml("max-mac-addresses", "", kRemove)) + port_edit(7, "", kRemove),
         port(1)},
        {port(1) + port(2), port_edit(1, "", kDelete), port(2)},
        {port(1), port_edit(1, "", kDelete), ""},
        // What stands in a deleted entry does not matter.
        {port(1) + port(2),
         port_edit(1, macs("") + xml("statistics", "true", "nc:operation='merge'"), kDelete),
         port(2)},
        // What is there only by default can be created.
        {port(1), port_edit(1, xml("statistics", "true", kCreate)), port(1, statistics("true"))},
        {onu_5(""), onu_5(xml("snmp", xml("real-time"), kCreate)), onu_5(xml("snmp/real-time"))},
        {"", port(1, "", kCreate), port(1)},
        // Replace drops what the edit does not have.
        {port(1, statistics("true") + note), port(1, macs("5"), kReplace), port(1, macs("5"))},
        {"", port(1, "", kReplace), port(1)},
        {port(1, xml("match/outer", xml("vlan-id", "7") + xml("cos", "1"))),
         port_edit(1, xml("match", xml("outer/cos", "2"), kReplace)),
         port(1, xml("match/outer/cos", "2"))},
        // Containers, plain and with presence.
        {port(1, xml("match/outer/vlan-id", "7")), port_edit(1, xml("match", "", kDelete)),
         port(1)},
        {onu_5(management()), onu_5(xml("management", "", kDelete)), onu_5("")},
        {onu_5(""), onu_5(management()), onu_5(management())},
        // An operation ends where another begins.
        {port(1, xml("match/outer/cos", "1")),
         port_edit(1, xml("match/outer", xml("vlan-id", "7") + xml("cos", "", kRemove)) +
                          xml("action/outer/cos", "", kRemove)),
         port(1, xml("match/outer/vlan-id", "7"))},
        {ports("42"), mapping(xml("uni", xml("ethernet", "3") + xml("ethernet", "4", kDelete))),
         ports("23")},
        // Cases of a choice.
        {traffic(xml("type-3", xml("assured", "1") + xml("maximum", "2"))),
         traffic(xml("type-4/maximum", "9")), traffic(xml("type-4/maximum", "9"))},
        {traffic(xml("type-4/maximum", "2")),
         traffic(xml("type-1/fixed", "9") + xml("type-4", "", kDelete)),
         traffic(xml("type-1/fixed", "9"))},
        {ports("4"), mapping(xml("uni/ethernet", "4", kDelete)), mapping("")},
        {mapping(xml("veip/veip")), mapping(xml("uni/ethernet", "4", kRemove)),
         mapping(xml("veip/veip"))},
    };
    for (const auto &[running, edit, expected] : rows) {
        expect_candidate(running, config_xml(edit), expected);
    }
}

TEST(Edit, PutsEntriesOfUserOrderedListsWhereItIsTold)
{
    const auto parameters = [](const std::string &names, const std::string &attributes = "") {
        std::string list;
        for (const char name : names) {
            list += xml("parameter", xml("name", std::string(1, name)), attributes);
        }
        return onu_5(xml("rg-override-parameters", list));
    };
    const struct {
        std::string running, attributes, name, expected;
    } rows[] = {
        {"abc", "", "x", "abcx"},
        {"abc", "yang:insert='first'", "x", "xabc"},
        {"", "yang:insert='first'", "x", "x"},
        {"abc", "yang:insert='before' yang:key=\"[name='b']\"", "x", "axbc"},
        {"abc", "yang:insert='after' yang:key=\"[b:name='a']\" xmlns:b='urn:olt:gpon:base'", "x",
         "axbc"},
        {"abc", "", "a", "abc"},
        {"abc", "yang:insert='last'", "a", "bca"},
        {"abc", "yang:insert='before' yang:key=\"[name='a']\"", "c", "cab"},
        {"abc", "yang:insert='after' yang:key=\"[name='b']\"", "b", "abc"},
        {"abc", kReplace + " yang:insert='first'", "c", "cab"},
    };
    for (const auto &[running, attributes, name, expected] : rows) {
        expect_candidate(parameters(running), config_xml(parameters(name, attributes)),
                         parameters(expected));
    }
}

TEST(Edit, PutsEntriesOfUserOrderedLeafListsWhereItIsToldAlsoAtTheTop)
{
    const auto schema = small_schema("leaf-list l { type string; ordered-by user; }");
    const auto entries = [](const std::string &names, const std::string &attributes = "") {
        std::string list;
        for (const char name : names) {
            list += xml("l", std::string(1, name),
                        "xmlns='urn:t' xmlns:yang='urn:ietf:params:xml:ns:yang:1' xmlns:nc" +
                            kNetconf.substr(5) + " " + attributes);
        }
        return list;
    };
    const struct {
        std::string edit, expected;
    } rows[] = {
        {entries("c", "yang:insert='first'"), "cab"},
        {entries("a", "yang:insert='last'"), "bca"},
        {entries("x", "yang:insert='before' yang:value='a'"), "xabc"},
        {entries("a", "yang:insert='after' yang:value='b'"), "bac"},
        {entries("a", kDelete) + entries("d"), "bcd"},
    };
    const auto running = small_config(schema, entries("abc"));
    for (const auto &[edit, expected] : rows) {
        const auto candidate = edited(running, xml("config", edit, kNetconf));
        std::string names;
        for (const auto *node = candidate.root(); node != nullptr; node = node->next) {
            names += lyd_get_value(node);
        }
        EXPECT_EQ(names, expected) << edit;
    }
}

TEST(Edit, EntriesOfALeafListTakeThePlaceOfItsDefaults)
{
    const auto schema = small_schema("leaf-list l { type string; default x; default y; }");
    const auto entry = [](const std::string &value, const std::string &operation) {
        return xml("l", value, "xmlns='urn:t' xmlns:nc" + kNetconf.substr(5) + " " + operation);
    };
    const Datastore empty(schema);
    const auto one = edited(empty, entry("x", kCreate));
    EXPECT_EQ(one.root()->next, nullptr);
    const auto defaults = edited(one, entry("x", kDelete));
    ASSERT_NE(defaults.root(), nullptr);
    EXPECT_STREQ(lyd_get_value(defaults.root()->next), "y");
}

TEST(Edit, ACaseGoesWithTheLastNodeThatWasSetInIt)
{
    const auto schema =
        small_schema("choice o { container c { leaf a { type string; } "
                     "leaf b { type string; default x; } } leaf d { type string; } }");
    const auto edit = [](const std::string &operation) {
        return xml("c", xml("a", "1", operation), "xmlns='urn:t' xmlns:nc" + kNetconf.substr(5));
    };
    const auto running = small_config(schema, edit(""));
    EXPECT_NE(running.root(), nullptr);
    EXPECT_EQ(edited(running, edit(kDelete)).root(), nullptr);
}

TEST(Edit, MayStandInNetconfElementsOrBeJson)
{
    const auto data = config_xml(port_edit(1, xml("max-mac-addresses", "", kDelete)));
    const auto none = xml("default-operation", "none");
    const std::string entry = R"({"base:config":{"service-port":[{"id":1,)";
    const std::string remove = R"("@max-mac-addresses":{"ietf-netconf:operation":"remove"}}]}})";
    for (const std::string &text : {
             xml("config", data, kNetconf),
             "<x:config xmlns:x" + kNetconf.substr(5) + ">" + data + "</x:config>",
             xml("edit-config", xml("target/candidate") + xml("config", data), kNetconf),
             xml("edit-config", none + xml("config", data), kNetconf),
             entry + R"("max-mac-addresses":"",)" + remove,
             entry + R"("max-mac-addresses":null,)" + remove,
             entry + R"("max-mac-addresses":7,)" + remove,
         }) {
        expect_candidate(port(1, xml("max-mac-addresses", "5")), text, port(1));
    }
    const auto replace = xml("default-operation", "replace");
    expect_candidate(port(1) + onu_5(""),
                     xml("edit-config", replace + xml("config", config_xml(port(2))), kNetconf),
                     port(2));
}

TEST(Edit, KeepsTheCipherTextOfAnUnchangedPassword)
{
    const auto profile = [](const std::string &password) {
        return xml("profile/gpon/tr069-acs-profile", xml("name", "p") + xml("password", password));
    };
    const auto running = checked_config(profile("$0$secret"));
    const auto before = running.print(Format::kXml);
    EXPECT_EQ(edited(running, config_xml(profile("$0$secret"))).print(Format::kXml), before);
    const auto other = edited(running, config_xml(profile("$0$other")));
    EXPECT_THAT(other.print(Format::kXml), HasSubstr("<password>$8$"));
    EXPECT_NE(other.print(Format::kXml), before);
    EXPECT_EQ(running.print(Format::kXml), before);
}

struct Fault {
    std::string edit;
    unsigned line;
    std::string path, message, hint;
};

void expect_fault(const std::string &running, const Fault &fault)
{
    SCOPED_TRACE(fault.edit);
    const auto problems = problems_of(running, fault.edit);
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_EQ(problems[0].source, "edit.xml");
    EXPECT_EQ(problems[0].line, fault.line);
    EXPECT_EQ(problems[0].path, fault.path);
    EXPECT_THAT(problems[0].message, HasSubstr(fault.message));
    EXPECT_THAT(problems[0].hint, HasSubstr(fault.hint));
}

TEST(Edit, SaysWhichOperationDoesNotFit)
{
    const auto ethernet = [](const std::string &attributes) {
        return xml("uni", xml("ethernet", "4", attributes));
    };
    const auto running = port(1) + onu_5(xml("pots/port", "1")) + mapping(ethernet(""));
    const auto parameter = [](const std::string &attributes) {
        return onu_5(xml("rg-override-parameters",
                         xml("parameter", xml("name", "x"), "yang:insert='after' " + attributes)));
    };
    const std::string port_1 = "/config/service-port{1}";
    const std::string onu_path = "/config/interface/gpon{1 1 3}/onu{5}";
    const std::string parameter_path = onu_path + "/rg-override-parameters/parameter{x}";
    const std::string mapping_path = "/config/profile/gpon/service-profile{s}/vlan-mapping{m}";
    const std::string exists = "Cannot be created: it exists already";
    const std::string missing = "Cannot be deleted: it does not exist";
    const struct {
        std::string edit, path, message, hint;
    } rows[] = {
        {port(1, "", kCreate), port_1, exists, "merge"},
        {port_edit(9, "", kDelete), "/config/service-port{9}", missing, "remove"},
        {port_edit(1, xml("statistics", "", kDelete)), port_1 + "/statistics", missing, ""},
        {port_edit(1, xml("match", "", kDelete)), port_1 + "/match", missing, ""},
        {xml("service-port", xml("id", "1", kDelete)), port_1 + "/id", "A key cannot be", "entry"},
        {onu_5(xml("management", "", kDelete)), onu_path + "/management", missing, ""},
        {onu_5(xml("snmp", xml("real-time", "", kDelete))), onu_path + "/snmp/real-time", missing,
         ""},
        {onu_5(xml("pots", xml("port", "1"), kCreate)), onu_path + "/pots{1}", exists, ""},
        {mapping(ethernet(kCreate)), mapping_path + "/uni/ethernet", exists, ""},
        {mapping(ethernet("") + xml("veip/veip")), mapping_path + "/veip",
         "Cannot be set together with uni", ""},
        {onu_5(xml("pots", xml("port", "2"), "yang:insert='first'")), onu_path + "/pots{2}",
         "Cannot be inserted first", "the system orders"},
        {parameter(""), parameter_path, "yang:key is missing", ""},
        {parameter("yang:key=\"[foo='q']\""), parameter_path, "inserted after [foo='q']: ", ""},
        {parameter("yang:key=\"[name='q']\""), parameter_path, "there is no such entry", ""},
        {onu_5(xml("pots", xml("port", "1"), "yang:key=\"[name='q']\"")), onu_path + "/pots{1}",
         "yang:key has no meaning", "yang:insert"},
        {onu_5(xml("rg-override-parameters",
                   xml("parameter", xml("name", "x"), kRemove + " yang:insert='first'"))),
         parameter_path, "deleted and inserted", ""},
    };
    for (const auto &[edit, path, message, hint] : rows) {
        expect_fault(running, {config_xml(edit), 0, path, message, hint});
    }
    const auto none = xml("default-operation", "none");
    const auto below_missing = config_xml(port_edit(9, xml("statistics", "true", kCreate)));
    expect_fault(running, {xml("edit-config", none + xml("config", below_missing), kNetconf), 0,
                           "/config/service-port{9}", "It does not exist", ""});
}

TEST(Edit, RefusesWhatIsGivenTwice)
{
    const auto twice = [](const std::string &name, const std::string &first,
                          const std::string &second, const std::string &attributes = "") {
        return xml(name, first) + "\n" + xml(name, second, attributes);
    };
    const std::string mapping_path = "/config/profile/gpon/service-profile{s}/vlan-mapping{m}";
    const struct {
        std::string edit;
        unsigned line;
        std::string path;
    } rows[] = {
        {port_edit(1, twice("statistics", "true", "false")), 2,
         "/config/service-port{1}/statistics"},
        {port_edit(1, twice("statistics", "true", "", kRemove)), 2,
         "/config/service-port{1}/statistics"},
        {port_edit(2, "") + port_edit(3, "") + "\n" + port_edit(2, "", kReplace), 2,
         "/config/service-port{2}"},
        {port_edit(1, "") + "\n" + port_edit(2, "") + port_edit(1, "", kDelete) + port_edit(3, ""),
         2, "/config/service-port{1}"},
        {xml("interface", link(1) + "\n" + link(2) + "\n" + link(1)), 3,
         "/config/interface/gpon{1 1 1}"},
        {onu_5(
             xml("rg-override-parameters", twice("parameter", xml("name", "a"), xml("name", "a")))),
         2, "/config/interface/gpon{1 1 3}/onu{5}/rg-override-parameters/parameter{a}"},
        {mapping(twice("uni", xml("ethernet", "1"), xml("ethernet", "2"))), 2,
         mapping_path + "/uni"},
        {mapping(xml("uni", xml("ethernet", "1") + "\n" + twice("ethernet", "2", "1"))), 3,
         mapping_path + "/uni/ethernet"},
        {"</config>\n<config xmlns='urn:olt:gpon:base'>", 2, "/config"},
    };
    for (const auto &[edit, line, path] : rows) {
        expect_fault(port(1), {config_xml(edit), line, path, "Duplicate node", ""});
    }
}

TEST(Edit, SaysWhatTheModelDoesNotKnowOrAllow)
{
    const auto bad_value = port_edit(2, xml("max-mac-addresses", "5000"));
    const auto no_key = xml("service-port/statistics", "true");
    // Behind a leaf to delete without a value, where a strict parse stops before the fault.
    const auto other = port_edit(1, xml("max-mac-addresses", "", kDelete)) + "\n";
    const auto json = [](const std::string &entry) {
        return "{\"base:config\":{\"service-port\":[\n{\"id\":1,\"max-mac-addresses\":null,"
               "\"@max-mac-addresses\":{\"ietf-netconf:operation\":\"delete\"}},\n" +
               entry + "]}}";
    };
    const std::string macs_2 = "/config/service-port{2}/max-mac-addresses";
    const std::string range = "value \"5000\" is out of the allowed range";
    const std::string port_path = "/config/service-port";
    const std::string begin = "<config xmlns=\"urn:olt:gpon:base\">";
    const Fault faults[] = {
        {config_xml("\n" + bad_value), 2, macs_2, range, "1..4096"},
        {config_xml(other + bad_value), 2, macs_2, range, "1..4096"},
        {xml("config", "\n" + config_xml("\n" + bad_value), kNetconf), 3, macs_2, range, "1..4096"},
        {json("{\"id\":2,\"max-mac-addresses\":5000}"), 3, macs_2, range, "1..4096"},
        {config_xml(port_edit(2, xml("max-mac-addresses"))), 1, macs_2, "empty value", "1..4096"},
        {config_xml(other + port_edit(2, xml("vlan", "1"))), 2, "/config/service-port{2}/vlan",
         "Node \"vlan\" not found as a child of \"service-port\"", "match, action"},
        {config_xml("\n" + no_key + port_edit(1, "")), 2, "/config/service-port",
         "missing its key \"id\"", ""},
        {config_xml(other + no_key), 0, "/config/service-port", "missing its key \"id\"", ""},
        {config_xml(other + xml("service-port/id", "x")), 2, "/config/service-port/id", "x",
         "1..4294967295"},
        {config_xml(xml("interface/gpon", xml("slot-id", "1") + xml("chassis-id", "1"))), 1,
         "/config/interface/gpon", "missing its key \"port-id\"", ""},
        {config_xml(xml("interface/gpon",
                        xml("slot-id", "1") + xml("chassis-id", "1") + xml("port-id", "1"))),
         1, "/config/interface/gpon{1}/chassis-id", "Invalid position of the key", ""},
        {config_xml(other + xml("interface", "text")), 2, "/config/interface", "not a value", ""},
        {config_xml(other + port_edit(1, "", "operation='delete'")), 2, "/config/service-port",
         "Unknown attribute operation", "nc:operation"},
        {config_xml(other + port_edit(1, "", "\nxmlns:x='urn:x' x:operation='delete'")), 3,
         "/config/service-port", "Unknown attribute x:operation", "nc:operation"},
        {json("{\"@\":{\"netconf:operation\":\"delete\"},\"id\":2}"), 3, port_path,
         "Unknown metadata netconf:operation", "ietf-netconf:operation"},
        {json(R"({"@":{"yang:key":"a","yang:key":"b"},"id":2})"), 3, port_path,
         "Duplicate member yang:key", ""},
        {json(R"({"@":{"yang:key":"a"},"id":2,"@":null})"), 3, port_path, "Duplicate member @", ""},
        {config_xml(other + port_edit(1, xml("statistics", "", "nc:operation='destroy'"))), 2,
         "/config/service-port{1}/statistics", "Invalid operation destroy", "one of merge"},
        {config_xml(other + "<service-port>"), 2, "", "column 17: mismatched tag", ""},
        {"<conf xmlns='urn:olt:gpon:base'/>", 1, "/conf", "not found in the \"base\"", begin},
        {"", 0, "", "There is no edit in it", begin},
        {xml("edit-config", xml("default-operation", "delete") + xml("config"), kNetconf), 0, "",
         "Invalid default-operation delete", "merge, replace, none"},
    };
    for (const auto &fault : faults) {
        expect_fault(port(1, xml("max-mac-addresses", "5")), fault);
    }
}

TEST(Edit, GathersAllFaults)
{
    const auto count = [](const std::string &edit) {
        return problems_of(port(1), config_xml(edit)).size();
    };
    EXPECT_EQ(count(port_edit(1, xml("statistics", "maybe") + xml("vlan")) +
                    port_edit(2, xml("max-mac-addresses", "0"))),
              3u);
    EXPECT_EQ(count(port(1, "", kCreate) + port_edit(2, "", kDelete) + port_edit(3, "", kDelete)),
              3u);
}

} // namespace
