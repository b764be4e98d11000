/** What a text may contain, read as a configuration and as an edit. */
#include "engine/data/encoding.h"
#include "engine/data/error.h"
#include "engine/edit/edit.h"
#include "support/card_xml.h"
#include "support/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

using namespace test_support;
using engine::Datastore;
using engine::Problem;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using namespace std::string_literals;

namespace
{

const std::string kMark = "\xEF\xBB\xBF";

Datastore edited(const std::string &text)
{
    return engine::apply_edit(checked_config(""), {"test.xml", text});
}

template <typename Read>
std::vector<Problem> problems_of(const Read &read, const std::string &text)
{
    try {
        read(text);
    } catch (const engine::InputError &error) {
        return error.problems();
    }
    return {};
}

/** A PON link whose description is at the end of line 3, in XML and in JSON. */
std::string described(const std::string &value, const std::string &attributes = "")
{
    return config_xml("\n<interface " + attributes +
                      "><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>3</port-id>\n"
                      "<description>" +
                      value + "</description></gpon></interface>");
}
std::string described_json(const std::string &value, const std::string &more = "")
{
    return "{\"base:config\":{\"interface\":{\n\"gpon\":[{\"chassis-id\":1,\"slot-id\":1,"
           "\"port-id\":3,\n\"description\":\"" +
           value + "\"" + more + "}]}}}";
}

TEST(Document, TakesWhatXmlAndJsonAllow)
{
    const struct {
        std::string text, value;
    } rows[] = {
        {kMark + described("a"), "a"},
        {kMark + described_json("a"), "a"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?>" + described("a"), "a"},
        {"<?xml version='1.0'?><!-- b --><?c d?>" + described("a") + "<!-- e -->\n", "a"},
        {described("<!-- \n b='c' -->x<?d?>y<!-- e -->"), "xy"},
        {described("<?b?><![CDATA[<&>]]>&lt;&amp;&#65;<!-- -->&gt;"), "<&><&A>"},
        {described("a", "xml:space='preserve' xml:lang='de'"), "a"},
        {described("'\"=\"<!-- -->\xC3\xA4\xF0\x9F\x98\x80"), "'\"=\"\xC3\xA4\xF0\x9F\x98\x80"},
        {described_json("\\u00e4\\uD83D\\uDE00\\\\ud83d\\uE000"),
         "\xC3\xA4\xF0\x9F\x98\x80\\ud83d\xEE\x80\x80"},
    };
    for (const auto &[text, value] : rows) {
        SCOPED_TRACE(text);
        for (const auto &tree : {parse(text), edited(text)}) {
            const auto path = "/base:config/interface/gpon[chassis-id='1'][slot-id='1']"
                              "[port-id='3']/description";
            lyd_node *leaf = nullptr;
            ASSERT_EQ(lyd_find_path(tree.root(), path, 0, &leaf), LY_SUCCESS);
            EXPECT_EQ(lyd_get_value(leaf), value);
        }
    }
}

/** Of what stands around the data, and of other encodings: where a fault is does not change. */
TEST(Document, ReadsWhatStandsAroundTheData)
{
    const auto nc = [](const std::string &name, const std::string &inside) {
        return "<n:" + name + " xmlns:n='urn:ietf:params:xml:ns:netconf:base:1.0'>" + inside +
               "</n:" + name + ">";
    };
    const auto utf16 = [](const std::string &text) {
        std::string wide = "\xFE\xFF";
        for (const char c : text) {
            wide += {'\0', c};
        }
        return wide;
    };
    const std::string data = described("a", "speed='1'");
    const std::string json = described_json("a", ",\"@\":{\"speed\":1}");
    struct Row {
        std::string text;
        bool is_edit;
        unsigned line;
    };
    const Row rows[] = {
        {nc("config", data), true, 2},
        {nc("rpc", "\n" + nc("edit-config", nc("target", "<b/>") + nc("config", data))), true, 3},
        {"<rpc a='b'><edit-config><config>" + data + "</config></edit-config></rpc>", true, 2},
        {nc("data", "\n<x xmlns='urn:x'>\n</x>" + data) + "\n]]>]]>\n", false, 4},
        {"<data xmlns='urn:ietf:params:xml:ns:yang:ietf-restconf'>" + data + "</data>", false, 2},
        {"{\"data\":{\"x:y\":[\n{}],\"x:z\":1 ,\n" + json.substr(1) + "}", false, 5},
        {"{\"ietf-netconf:rpc\":{\"edit-config\":{\"config\":" + json + "}}}", true, 3},
        {utf16("<?xml version='1.0' encoding='UTF-16'?>\n" + data), true, 3},
        {"<?xml version='1.0' encoding='iso-8859-1'?>" + described("\xE4", "speed='1'"), true, 2},
    };
    for (const auto &[text, is_edit, line] : rows) {
        SCOPED_TRACE(text);
        engine::Source source{"test.xml", text, {true, ""}};
        engine::convert_to_utf8(source);
        const auto problems = problems_of(
            [&](const std::string &) {
                is_edit ? engine::apply_edit(checked_config(""), source)
                        : Datastore::parse(schema(), source);
            },
            text);
        ASSERT_THAT(problems, SizeIs(1));
        EXPECT_THAT(problems[0].message, HasSubstr("speed"));
        EXPECT_EQ(problems[0].line, line);
    }
}

TEST(Document, RefusesWhatItWouldHaveToIgnoreAroundTheData)
{
    const std::string edit = "<edit-config xmlns='urn:ietf:params:xml:ns:netconf:base:1.0'>";
    const std::string data = "<config>" + described("a") + "</config>";
    const struct {
        std::string text, message;
    } rows[] = {
        {edit + data + "<config/></edit-config>", "A second config"},
        {edit + "<confirmed/>" + data + "</edit-config>", "Unknown element confirmed"},
        {edit + "<config xmlns='urn:olt:gpon:base'/></edit-config>",
         "Unknown element config of urn:olt:gpon:base"},
        {edit + "<target/></edit-config>", "There is no config"},
        {edit + "text" + data + "</edit-config>", "Text beside the data"},
        {edit + "<test-option>maybe</test-option>" + data + "</edit-config>",
         "Invalid test-option maybe"},
        {edit + data + "</edit-config>" + edit + data + "</edit-config>",
         "junk after document element"},
        {"<config>" + described("a") + "</config>", "Missing XML namespace"},
        {"<data>" + described("a") + "</data>", "data holds a whole configuration"},
        {"{\"data\":" + described_json("a") + "}", "data holds a whole configuration"},
        {"{\"edit-config\":{\"config\":[]}}", "config is not an array"},
        {"{\"edit-config\":{\"config\":1}}", "config is not an object"},
        {"{\"edit-config\":{\"default-operation\":1,\"config\":{}}}", "Invalid default-operation"},
        {"{\"config\":{\"x:y\":1}}", "Node of another model, x"},
        {"{\"ietf-netconf:get\":{}}", "Unknown element get"},
    };
    for (const auto &[text, message] : rows) {
        const auto problems = problems_of(edited, text);
        ASSERT_FALSE(problems.empty()) << text;
        EXPECT_THAT(problems[0].message, HasSubstr(message)) << text;
    }
}

/** What was left out takes no line away, and adds none. */
TEST(Document, TellsLinesOfTheText)
{
    const struct {
        std::string before;
        unsigned line;
    } rows[] = {
        {"<!-- a\nb\n --><?c\n?>", 4},
        {kMark + "<?xml version='1.0'?>\n<!-- -->\n", 3},
    };
    for (const auto &[before, line] : rows) {
        const auto text = before + described("<!--\n--></description><speed\nxml:lang='de'/>"
                                             "<description>");
        const auto problems = problems_of(parse, text);
        ASSERT_THAT(problems, SizeIs(1)) << text;
        EXPECT_EQ(problems[0].line, line + 4) << text;
        EXPECT_THAT(problems[0].message, HasSubstr("\"speed\"")) << text;
    }
}

TEST(Document, RefusesWhatWouldBeIgnored)
{
    const std::string link = "/config/interface/gpon";
    const std::string wrapped =
        "<config a='b' xmlns='urn:ietf:params:xml:ns:netconf:base:1.0'>" + described("a");
    const struct {
        std::string text;
        unsigned line, column;
        std::string path, message;
    } rows[] = {
        // Behind the data.
        {described("a") + "\n\0 "s, 4, 1, "", "NUL byte"},
        {described("a\0b"s), 3, 15, "", "NUL byte"},
        {described_json("a") + "\n \0"s, 4, 2, "", "NUL byte"},
        {described_json("a") + "\n{}", 4, 1, "", "Text behind the end of the data"},
        {described_json("\xC3\xA4") + " x", 3, 24, "", "Text behind the end of the data"},
        // Attributes and metadata.
        {described("a", "operation='delete'"), 2, 12, "/config/interface", "attribute operation"},
        {described("a", "\nyang:operation\n=\n'delete'"), 3, 1, "/config/interface",
         "attribute yang:operation"},
        {described("a", "xml:base='b'"), 2, 12, "/config/interface", "attribute xml:base"},
        {described("a", "xmlns:x='urn:x' x:y='1'"), 2, 28, "/config/interface", "attribute x:y"},
        {described_json("a", ",\"@description\":{\"yang:operation\":\"delete\"}"), 3, 35,
         link + "/description", "metadata yang:operation"},
        {described_json("a", ",\n\"\\u0040\":{\"operation\":\"delete\"}"), 4, 11, link,
         "metadata operation"},
        {wrapped + "</config>", 1, 9, "", "attribute a"},
        // Not a text, or not in UTF-8.
        {described("\xE4"), 3, 14, "", "Not UTF-8: byte 0xE4"},
        {described("\xC3\xA4\xED\xA0\x80"), 3, 15, "", "Not UTF-8: byte 0xED"},
        {described_json("\xC0\x80"), 3, 16, "", "Not UTF-8: byte 0xC0"},
        {described("a\xF0\x9F\x98"), 3, 15, "", "Not UTF-8: byte 0xF0"},
        {"\xFF\xFE<\0"s, 1, 1, "", "UTF-16"},
        {"<\0c\0"s, 1, 1, "", "UTF-16"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?>\n" + described("\xC3\xA4"), 1, 1, "",
         "encoding ISO-8859-1"},
        {"<!DOCTYPE config [<!ENTITY a 'b'>]>\n" + described("&a;"), 1, 18, "", "DOCTYPE"},
        {described("<!-- -->&b;"), 3, 22, "", "undefined entity"},
        {described("<!-- --></b>"), 3, 24, "", "mismatched tag"},
        {described_json("a", ",\n\"@\":{]}"), 4, 6, "", "Malformed JSON"},
        {described_json("\\ud83d\\n"), 3, 16, "", "Half of a surrogate pair"},
        {described_json("\n \\udc00"), 4, 2, "", "Half of a surrogate pair"},
    };
    for (const auto &[text, line, column, path, message] : rows) {
        SCOPED_TRACE(text);
        for (const auto &problems : {problems_of(parse, text), problems_of(edited, text)}) {
            ASSERT_FALSE(problems.empty());
            EXPECT_EQ(problems[0].source, "test.xml");
            EXPECT_EQ(problems[0].line, line);
            EXPECT_EQ(problems[0].column, column);
            EXPECT_EQ(problems[0].path, path);
            EXPECT_THAT(problems[0].message, HasSubstr(message));
        }
    }
}

TEST(Document, RefusesVeryManyAttributesInLinearTime)
{
    const auto many = [](const std::string &prefix, const std::string &suffix) {
        std::string text;
        for (int i = 0; i < 50000; ++i) {
            text += prefix + std::to_string(i) + suffix;
        }
        return text;
    };
    const struct {
        std::string text;
        std::size_t faults;
    } rows[] = {
        {described("a", many(" a", "='1'")), 21},
        {described("a", many(" yang:a", "='1'")), 21},
        {described("a", many(" xmlns:a", "='urn:a'")), 1},
        {described("a", many(" nc:operation='merge' b", "='1'")), 1},
        {described_json("a", ",\"@description\":{" + many("\"yang:a", "\":1,") + "\"b\":1}"), 21},
        {described_json("a",
                        ",\"@\":{" + many("\"yang:insert\":\"first\",\"a", "\":1,") + "\"b\":1}"),
         21},
    };
    for (const auto &[text, faults] : rows) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(problems_of(edited, text).size(), faults) << text.substr(0, 200);
        // Quadratic, each takes several seconds, and minutes where tests are slow.
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    }
}

TEST(Document, CountsTheLengthOfANameInBytes)
{
    const auto profile = [](const std::string &name) {
        return config_xml("<profile><gpon>\n<rg-profile><name>" + name +
                          "</name></rg-profile></gpon></profile>");
    };
    const auto repeated = [](const std::string &text, int count) {
        std::string whole;
        while (count-- > 0) {
            whole += text;
        }
        return whole;
    };
    const struct {
        std::string name, fault;
    } rows[] = {
        {repeated("a", 48), ""},
        {repeated("a", 49), "Unsatisfied length"},
        {repeated("\xC3\xA4", 24), ""},
        {repeated("\xC3\xA4", 24) + "a", "Too long: 49 bytes"},
        {repeated("\xF0\x9F\x98\x80", 48), "Too long: 192 bytes"},
        {"o'hara", ""},
        {"\"a\"", "double quotes"},
        {"a\"", "double quotes"},
        {"a%", "percent"},
    };
    for (const auto &[name, fault] : rows) {
        SCOPED_TRACE(name);
        for (const auto &problems :
             {problems_of(parse, profile(name)), problems_of(edited, profile(name))}) {
            ASSERT_EQ(problems.empty(), fault.empty());
            if (!fault.empty()) {
                EXPECT_EQ(problems[0].line, 2U);
                EXPECT_THAT(problems[0].message, HasSubstr(fault));
                EXPECT_EQ(problems[0].hint, "allowed: 1..48 bytes");
            }
        }
    }
}

} // namespace
