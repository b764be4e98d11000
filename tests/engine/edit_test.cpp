#include "engine/edit/edit.h"

#include "engine/data/error.h"
#include "engine/data/yang_check.h"
#include "support/card_xml.h"
#include "support/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

using namespace test_support;
using engine::Format;
using ::testing::HasSubstr;

namespace
{

const std::string kNetconf = "xmlns='urn:ietf:params:xml:ns:netconf:base:1.0'";

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

/** What is said about an edit that does not fit. */
std::string complaint_about(const std::string &running, const std::string &text)
{
    try {
        engine::apply_edit(checked_config(running), {"edit.xml", text});
    } catch (const engine::InputError &error) {
        return error.what();
    }
    return "";
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
        // What is there only by default can be set to it, and created.
        {port(1), port_edit(1, statistics("false")), port(1, statistics("false"))},
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
    const auto after = [&](const std::string &password) {
        const engine::Source edit{"edit.xml", config_xml(profile(password))};
        return engine::apply_edit(running, edit).print(Format::kXml);
    };
    EXPECT_EQ(after("$0$secret"), running.print(Format::kXml));
    EXPECT_NE(after("$0$other"), running.print(Format::kXml));
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
        EXPECT_THAT(
            complaint_about(port(1), config_xml(edit)),
            HasSubstr("edit.xml:" + std::to_string(line) + ": " + path + ": Duplicate node"))
            << edit;
    }
}

/** What golden cases cannot hold, and the lines of one fault alone, which a strict parse finds. */
TEST(Edit, SaysWhatDoesNotFit)
{
    const auto bad_value = port_edit(2, xml("max-mac-addresses", "5000"));
    const auto no_key = xml("service-port/statistics", "true");
    // Behind a leaf to delete without a value, where a strict parse stops before the fault.
    const std::string newline = "\n";
    const auto other = port_edit(1, xml("max-mac-addresses", "", kDelete)) + newline;
    const auto json = [](const std::string &entry) {
        return "{\"base:config\":{\"service-port\":[\n{\"id\":1,\"max-mac-addresses\":null,"
               "\"@max-mac-addresses\":{\"ietf-netconf:operation\":\"delete\"}},\n" +
               entry + "]}}";
    };
    const auto parameter = [](const std::string &attributes) {
        return config_xml(
            onu_5(xml("rg-override-parameters", xml("parameter", xml("name", "x"), attributes))));
    };
    const auto operation = [](const char *name, const std::string &edit) {
        return xml("edit-config", xml("default-operation", name) + xml("config", config_xml(edit)),
                   kNetconf);
    };
    const std::pair<std::string, std::string> rows[] = {
        {config_xml(newline + bad_value),
         "edit.xml:2: /config/service-port{2}/max-mac-addresses: "},
        {config_xml(other + bad_value), "edit.xml:2: /config/service-port{2}/max-mac-addresses: "},
        {xml("config", newline + config_xml(newline + bad_value), kNetconf),
         "edit.xml:3: /config/service-port{2}/max-mac-addresses: "},
        {config_xml(port_edit(2, xml("max-mac-addresses"))),
         "edit.xml:1: /config/service-port{2}/"},
        {config_xml(port_edit(2, xml("vlan"))), "edit.xml:1: /config/service-port{2}/vlan: Node"},
        {config_xml(newline + no_key + port_edit(1, "")), "edit.xml:2: /config/service-port: "},
        {config_xml(other + no_key), "edit.xml:2: /config/service-port: List instance is missing"},
        {config_xml(xml("interface/gpon",
                        xml("slot-id", "1") + xml("chassis-id", "1") + xml("port-id", "1"))),
         "edit.xml:1: /config/interface/gpon{1}/chassis-id: Invalid position of the key"},
        {config_xml(other + xml("interface", "text")), "edit.xml:2: /config/interface: Holds"},
        {config_xml(other + "<service-port>"), "edit.xml:2: "},
        {json(R"({"@":{"yang:key":"a","yang:key":"b"},"id":2})"), "Duplicate member yang:key"},
        {json(R"({"@":{"yang:key":"a"},"id":2,"@":null})"), "Duplicate member @"},
        {json("{\"@\":{\"netconf:operation\":\"delete\"},\"id\":2}"),
         "edit.xml:3: /config/service-port: Unknown metadata netconf:operation"},
        {config_xml(other + port_edit(1, "", "operation='delete'")),
         "edit.xml:2: /config/service-port: Unknown attribute operation"},
        {config_xml(other + port_edit(1, "", "\nxmlns:x='urn:x' x:operation='delete'")),
         "edit.xml:3: /config/service-port: Unknown attribute x:operation"},
        {parameter("yang:key=\"[name='q']\""), "yang:key has no meaning"},
        {parameter(kRemove + " yang:insert='first'"), "deleted and inserted"},
        {"<conf xmlns='urn:olt:gpon:base'/>", "edit.xml:1: /conf: Node \"conf\" not found in"},
        {"", "There is no edit in it"},
        {operation("delete", ""), "Invalid default-operation delete (one of merge, replace, none"},
        {operation("none", port_edit(9, xml("statistics", "true", kCreate))),
         "edit.xml:1: /config/service-port{9}: It does not exist"},
    };
    for (const auto &[edit, expected] : rows) {
        EXPECT_THAT(complaint_about(port(1, xml("max-mac-addresses", "5")), edit),
                    HasSubstr(expected))
            << edit;
    }
}

} // namespace
