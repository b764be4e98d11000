#include "engine/data/crypto.h"
#include "engine/data/error.h"
#include "engine/data/yang_check.h"
#include "engine/schema/schema_loader.h"
#include "support/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using engine::Datastore;
using engine::Format;
using engine::InputError;
using engine::Problem;
using engine::Schema;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace
{

std::vector<Problem> problems_of(const std::function<void()> &call)
{
    try {
        call();
    } catch (const InputError &error) {
        return error.problems();
    }
    return {};
}

/** Paths of the faults that a check of what stands inside <config> finds. */
std::vector<std::string> faulty_paths(const std::string &inside)
{
    std::vector<std::string> paths;
    for (const auto &problem : problems_of([&] { test_support::checked_config(inside); })) {
        paths.push_back(problem.path);
    }
    return paths;
}

lyd_node *find(const Datastore &tree, const std::string &path)
{
    lyd_node *node = nullptr;
    lyd_find_path(tree.root(), path.c_str(), 0, &node);
    return node;
}

/** Values of one leaf or leaf-list in document order. */
std::vector<std::string> values(const Datastore &tree, const std::string &name)
{
    std::vector<std::string> found;
    lyd_node *node = nullptr;
    LYD_TREE_DFS_BEGIN(tree.root(), node)
    {
        if (node->schema->name == name) {
            found.emplace_back(lyd_get_value(node));
        }
        LYD_TREE_DFS_END(tree.root(), node);
    }
    return found;
}

/** A PON link with what stands in its ONU 5 from line 4 on. */
std::string in_onu(const std::string &inside)
{
    return "<interface>\n<gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>3</port-id>\n"
           "<onu><onu-id>5</onu-id>\n" +
           inside + "</onu></gpon></interface>";
}

constexpr const char *kOnuPath = "/config/interface/gpon{1 1 3}/onu{5}";

/** A model of its own: users with secrets. */
std::shared_ptr<const Schema> secrets_schema()
{
    engine::ModelSource source;
    source.texts = {
        {"tailf-common", R"(module tailf-common { namespace "urn:t"; prefix tailf;
            typedef aes-cfb-128-encrypted-string { type string { pattern '[$][08][$].*'; } } })"},
        {"m", R"(module m { namespace "urn:m"; prefix m; import tailf-common { prefix tailf; }
            container all { list user { key name; leaf name { type string; }
                leaf secret { type tailf:aes-cfb-128-encrypted-string; } } } })"}};
    source.main_module = "m";
    source.tag_of = model::tag_of;
    static const auto schema = engine::load_schema(source);
    return schema;
}

Datastore users(const std::vector<std::pair<std::string, std::string>> &entries,
                const Datastore *committed = nullptr)
{
    std::string text = "<all xmlns=\"urn:m\">";
    for (const auto &[name, secret] : entries) {
        text += "<user><name>" + name + "</name><secret>" + secret + "</secret></user>";
    }
    return Datastore::parse(secrets_schema(), {"users.xml", text + "</all>"}, committed);
}

} // namespace

TEST(DatastoreParse, SaysWhereAndWhatIsWrong)
{
    const struct {
        std::string inside;
        unsigned line;
        std::string path;
        const char *message;
        const char *hint;
    } rows[] = {
        {"<nonsense/>", 4, "", "\"nonsense\"", "known here: onu-id, description, admin-state"},
        {"\n<admin-state>up</admin-state>", 5, "/admin-state", "up", "allowed: disabled, enabled"},
        {"<pots><port>9</port></pots>", 4, "/pots/port", "9", "allowed: 1..8"},
        {"<pots><port>one</port></pots>", 4, "/pots/port", "one", "allowed: 1..8"},
        {"<pots><phone-number>1</phone-number></pots>", 4, "/pots", "key", ""},
        {"<snmp><real-time>yes</real-time></snmp>", 4, "/snmp/real-time", "", "no value"},
        {"<auth-method><serial-number>abc</serial-number></auth-method>", 4,
         "/auth-method/serial-number", "abc", "allowed: 4..12 characters"},
        {"<management><address>10.0.0.1</address></management>", 4, "/management/address",
         "192.168.1.1/24", "such as 192.0.2.1/24"},
        {"<management><default-gateway>10.0.0.256</default-gateway></management>", 4,
         "/management/default-gateway", "10.0.0.256", "such as 192.0.2.1"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.inside);
        const auto problems = problems_of([&] { test_support::parse_config(in_onu(row.inside)); });
        ASSERT_THAT(problems, SizeIs(1));
        EXPECT_EQ(problems[0].source, "test.xml");
        EXPECT_EQ(problems[0].line, row.line);
        EXPECT_EQ(problems[0].path, kOnuPath + row.path);
        EXPECT_THAT(problems[0].message, HasSubstr(row.message));
        EXPECT_THAT(problems[0].hint, HasSubstr(row.hint));
    }
}

TEST(DatastoreParse, TellsTheLineOfBrokenText)
{
    const auto problems = problems_of([] { test_support::parse_config(in_onu("</wrong>")); });
    ASSERT_THAT(problems, SizeIs(1));
    EXPECT_EQ(problems[0].line, 4U);
    EXPECT_THAT(problems[0].message, HasSubstr("wrong"));
}

TEST(DatastoreParse, TellsTheRangesOfUnionsAndJsonLines)
{
    const auto problems = problems_of([] {
        test_support::parse("{\"base:config\": {\"service-port\": [{\"id\": 7,\n"
                            "\"match\": {\"outer\": {\"vlan-id\": 5000}}}]}}");
    });
    ASSERT_THAT(problems, SizeIs(1));
    EXPECT_EQ(problems[0].line, 2U);
    EXPECT_EQ(problems[0].path, "/config/service-port{7}/match/outer/vlan-id");
    EXPECT_EQ(problems[0].hint, "allowed: 1..4094, any, untagged");
}

TEST(DatastoreParse, RefusesWhatIsNoConfiguration)
{
    const auto whole = test_support::config_xml("");
    for (const auto &text :
         {std::string(), std::string(" \n"), std::string("{}"), std::string("[]"),
          std::string("hello"), std::string("<foo/>"), std::string("<config/>"),
          std::string("<config xmlns='urn:other'/>"), std::string("{\"config\": {}}")}) {
        SCOPED_TRACE(text);
        const auto problems = problems_of([&] { test_support::parse(text); });
        ASSERT_THAT(problems, SizeIs(1));
        EXPECT_FALSE(problems[0].message.empty());
        EXPECT_THAT(problems[0].hint, HasSubstr("<config xmlns=\"urn:olt:gpon:base\">"));
    }
    EXPECT_THAT(problems_of([&] { test_support::parse(whole + whole); }), SizeIs(1));

    // An edit taken for a whole configuration would delete everything else.
    const auto problems = problems_of([] {
        test_support::parse_config("<service-port nc:operation='delete'><id>1</id></service-port>");
    });
    ASSERT_THAT(problems, SizeIs(1));
    EXPECT_EQ(problems[0].path, "/config/service-port");
    EXPECT_THAT(problems[0].message, HasSubstr("operation"));
}

TEST(DatastoreParse, OrdersSystemOrderedListsByKeys)
{
    const auto links = [](const char *ports) {
        std::string text;
        for (const char *port = ports; *port != '\0'; ++port) {
            text += std::string("<gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>") +
                    *port + "</port-id></gpon>";
        }
        return "<interface>" + text + "</interface>";
    };
    EXPECT_THAT(values(test_support::parse_config(links("9274")), "port-id"),
                ElementsAre("2", "4", "7", "9"));

    // Numbers by value, texts bytewise, enumerations by number.
    EXPECT_THAT(values(test_support::parse_config("<service-port><id>100</id></service-port>"
                                                  "<service-port><id>9</id></service-port>"
                                                  "<service-port><id>10</id></service-port>"),
                       "id"),
                ElementsAre("9", "10", "100"));
    const auto profiles = test_support::parse_config(
        "<profile><gpon>"
        "<rg-profile><name>b</name><wan-ip-connection><name>w</name><itf-grouping>"
        "<ports><port>wl0</port></ports><ports><port>eth2</port></ports>"
        "<ports><port>eth1</port></ports></itf-grouping></wan-ip-connection></rg-profile>"
        "<rg-profile><name>B</name></rg-profile><rg-profile><name>a10</name></rg-profile>"
        "<rg-profile><name>a9</name></rg-profile>"
        "<service-profile><name>s</name><vlan-mapping><name>m</name><uni><ethernet>12</ethernet>"
        "<ethernet>3</ethernet></uni></vlan-mapping></service-profile></gpon></profile>");
    EXPECT_THAT(values(profiles, "name"), ElementsAre("s", "m", "B", "a10", "a9", "b", "w"));
    EXPECT_THAT(values(profiles, "port"), ElementsAre("eth1", "eth2", "wl0"));
    EXPECT_THAT(values(profiles, "ethernet"), ElementsAre("3", "12"));

    // User-ordered lists stay as they are.
    EXPECT_THAT(values(test_support::parse_config(in_onu(
                           "<rg-override-parameters><parameter><name>z</name></parameter>"
                           "<parameter><name>a</name></parameter></rg-override-parameters>")),
                       "name"),
                ElementsAre("z", "a"));
}

TEST(DatastoreParse, FindsEntriesAfterOrdering)
{
    std::string ports;
    for (int id = 300; id > 0; --id) {
        ports += "<service-port><id>" + std::to_string(id) + "</id></service-port>";
    }
    const auto tree = test_support::parse_config(ports);
    const auto *list = test_support::schema()->top("config")->child("service-port")->yang;
    auto *siblings = lyd_child(tree.root());
    for (const char *id : {"1", "150", "300"}) {
        lyd_node *entry = nullptr;
        const auto predicate = std::string("[id='") + id + "']";
        ASSERT_EQ(lyd_find_sibling_val(siblings, list, predicate.c_str(),
                                       static_cast<std::uint32_t>(predicate.size()), &entry),
                  LY_SUCCESS);
        EXPECT_STREQ(lyd_get_value(lyd_child(entry)), id);
    }
    // Asked for the list without keys, libyang gives its first entry.
    lyd_node *first = nullptr;
    ASSERT_EQ(lyd_find_sibling_val(siblings, list, nullptr, 0, &first), LY_SUCCESS);
    EXPECT_EQ(first, siblings);
    EXPECT_STREQ(lyd_get_value(lyd_child(first)), "1");
}

TEST(DatastoreParse, EncryptsClearText)
{
    const auto committed = users({{"a", "$0$one"}, {"b", "$0$two"}, {"c", "$8$kept"}});
    const auto stored = values(committed, "secret");
    EXPECT_EQ(engine::decrypt(stored.at(0)), "one");
    EXPECT_EQ(engine::decrypt(stored.at(1)), "two");
    EXPECT_EQ(stored.at(2), "$8$kept");

    // The same clear text at the same place keeps its cipher text; anything else gets its own.
    const auto next = values(
        users({{"d", "$0$one"}, {"c", "$0$new"}, {"b", "$0$one"}, {"a", "$0$one"}}, &committed),
        "secret");
    EXPECT_EQ(next.at(0), stored.at(0));
    EXPECT_NE(next.at(1), stored.at(0));
    EXPECT_EQ(engine::decrypt(next.at(1)), "one");
    EXPECT_EQ(engine::decrypt(next.at(2)), "new");
    EXPECT_EQ(engine::decrypt(next.at(3)), "one");

    // The card's own model takes both forms.
    const auto card = test_support::parse_config(
        "<profile><gpon><tr069-acs-profile><name>t</name><password>$0$a b</password>"
        "</tr069-acs-profile></gpon></profile>");
    EXPECT_EQ(engine::decrypt(values(card, "password").at(0)), "a b");
}

TEST(DatastoreCheck, FindsEveryPlaceOfAFault)
{
    // Of what is missing libyang tells the schema node only, and of references the last one.
    EXPECT_THAT(faulty_paths("<service-port><id>2</id></service-port>"
                             "<service-port><id>1</id></service-port>"),
                ElementsAre("/config/service-port{1}/gpon", "/config/service-port{2}/gpon"));
    EXPECT_THAT(faulty_paths(in_onu("<tr069-acs-profile>t</tr069-acs-profile>"
                                    "<rg-profile>none</rg-profile>")),
                ElementsAre(std::string(kOnuPath) + "/rg-profile",
                            std::string(kOnuPath) + "/tr069-acs-profile"));
    const auto traffic = [](const std::string &inside) {
        return faulty_paths("<profile><gpon><bandwidth-profile><name>ok</name><traffic><type-1>"
                            "<fixed>1</fixed></type-1></traffic></bandwidth-profile>"
                            "<bandwidth-profile><name>x</name><traffic>" +
                            inside + "</traffic></bandwidth-profile></gpon></profile>");
    };
    const std::string path = "/config/profile/gpon/bandwidth-profile{x}/traffic";
    EXPECT_THAT(traffic(""), ElementsAre(path));
    EXPECT_THAT(traffic("<type-1><fixed>1</fixed></type-1><type-2><assured>1</assured></type-2>"),
                ElementsAre(path));
    EXPECT_THAT(traffic("<type-5><fixed>1</fixed><maximum>9</maximum></type-5>"),
                ElementsAre(path + "/type-5"));
    EXPECT_THAT(traffic("<type-3><assured>5</assured><maximum>4</maximum></type-3>"),
                ElementsAre(path + "/type-3"));
    EXPECT_THAT(traffic("<type-3><assured>5</assured><maximum>5</maximum></type-3>"), IsEmpty());
    EXPECT_THAT(faulty_paths(in_onu("<pots><port>1</port></pots><pots><port>1</port></pots>")),
                ElementsAre(std::string(kOnuPath) + "/pots{1}"));
}

TEST(DatastoreCheck, EndsAfterManyFaults)
{
    std::string onus;
    for (int id = 1; id <= 30; ++id) {
        onus += "<onu><onu-id>" + std::to_string(id) + "</onu-id><rg-profile>x</rg-profile></onu>";
    }
    const auto problems = problems_of([&] {
        test_support::checked_config("<interface><gpon><chassis-id>1</chassis-id><slot-id>1"
                                     "</slot-id><port-id>1</port-id>" +
                                     onus + "</gpon></interface>");
    });
    ASSERT_THAT(problems, SizeIs(21));
    EXPECT_THAT(problems.back().message, HasSubstr("more faults"));
}

TEST(DatastoreCheck, AddsDefaultsAndLeavesTheTreeAsItWasWhenItFails)
{
    auto tree = test_support::parse_config(in_onu(""));
    EXPECT_THAT(values(tree, "admin-state"), IsEmpty());
    engine::check_yang(tree, "test.xml");
    EXPECT_THAT(values(tree, "admin-state"), ElementsAre("enabled"));
    EXPECT_EQ(tree.root()->next, nullptr);
    // Defaults are not written out.
    EXPECT_THAT(tree.print(Format::kXml), ::testing::Not(HasSubstr("admin-state")));

    auto faulty = test_support::parse_config(in_onu("<rg-profile>none</rg-profile>"));
    EXPECT_THROW(engine::check_yang(faulty, "test.xml"), InputError);
    EXPECT_THAT(values(faulty, "rg-profile"), ElementsAre("none"));
}

TEST(Datastore, ReadsWhatItPrints)
{
    for (const auto &inside :
         {in_onu("<description>&lt;\"quoted\"&gt;</description>"),
          std::string("<gpon><card>1/1</card><rg-one-shot-prov/></gpon>"), std::string()}) {
        auto tree = test_support::parse_config(inside);
        engine::check_yang(tree, "test.xml");
        for (const auto format : {Format::kXml, Format::kJson}) {
            const auto text = tree.print(format);
            SCOPED_TRACE(text);
            EXPECT_EQ(engine::format_of(text), format);
            auto again = test_support::parse(text);
            engine::check_yang(again, "test.xml");
            EXPECT_EQ(lyd_compare_siblings(tree.root(), again.root(), LYD_COMPARE_FULL_RECURSION),
                      LY_SUCCESS);
        }
    }
}

TEST(Datastore, CopiesStandAlone)
{
    auto original = test_support::checked_config(in_onu("<description>old</description>"));
    const auto copy = original.copy();
    auto *leaf = find(original, "/base:config/interface/gpon[chassis-id='1'][slot-id='1']"
                                "[port-id='3']/onu[onu-id='5']/description");
    ASSERT_NE(leaf, nullptr);
    ASSERT_EQ(lyd_change_term(leaf, "new"), LY_SUCCESS);
    EXPECT_THAT(values(copy, "description"), ElementsAre("old"));

    Datastore empty(test_support::schema());
    EXPECT_EQ(empty.copy().root(), nullptr);
    empty = std::move(original);
    EXPECT_THAT(values(empty, "description"), ElementsAre("new"));
}

TEST(InputError, TellsAllProblemsOneALine)
{
    const InputError error(
        {{engine::Fault::kInvalidValue, "a.xml", 3, "/config", "It is wrong", "make it right"},
         {engine::Fault::kInternal, "", 0, "", "Broken", ""}});
    EXPECT_STREQ(error.what(), "a.xml:3: /config: It is wrong (make it right)\nBroken");
}
