#include "engine/data/crypto.h"
#include "engine/data/error.h"
#include "engine/data/path.h"
#include "engine/data/path_reader.h"
#include "engine/data/yang_check.h"
#include "support/card_xml.h"
#include "support/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

using namespace test_support;
using engine::Datastore;
using engine::Format;
using engine::InputError;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace
{

std::vector<engine::Problem> problems_of(const std::function<void()> &call)
{
    try {
        call();
    } catch (const InputError &error) {
        return error.problems();
    }
    return {};
}

/** What is said about a text that is to be a configuration. */
std::string complaint_about(const std::string &text)
{
    try {
        parse(text);
    } catch (const InputError &error) {
        return error.what();
    }
    return "";
}

/** Paths of the faults that a check of what stands inside <config> finds. */
std::vector<std::string> faulty_paths(const std::string &inside)
{
    std::vector<std::string> paths;
    for (const auto &problem : problems_of([&] { checked_config(inside); })) {
        paths.push_back(problem.path);
    }
    return paths;
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

const std::string kOnuPath = "/config/interface/gpon{1 1 3}/onu{5}";

TEST(DatastoreParse, SaysWhereAndWhatIsWrong)
{
    const auto in_onu = [](const std::string &inside) { return config_xml(onu_5("\n" + inside)); };
    const std::pair<std::string, std::string> rows[] = {
        {in_onu("<nonsense/>"), "test.xml:2: " + kOnuPath +
                                    ": Node \"nonsense\" not found as a "
                                    "child of \"onu\" node. (known here: onu-id, description, "},
        {in_onu("<pots><port>9</port></pots>"), "test.xml:2: " + kOnuPath + "/pots/port: "},
        {in_onu("<pots><phone-number>1</phone-number></pots>"), ":2: " + kOnuPath + "/pots: List"},
        {in_onu("</wrong>"), "test.xml:2: "},
        {"{\"base:config\": {\"service-port\": [{\"id\": 7,\n\"max-mac-addresses\": 0}]}}",
         "test.xml:2: /config/service-port{7}/max-mac-addresses: "},
        // An edit taken for a whole configuration would delete everything else.
        {config_xml(port_edit(1, "", kDelete)),
         "test.xml:1: /config/service-port: The attribute nc:operation"},
        {config_xml("") + config_xml(""), "test.xml"},
    };
    for (const auto &[text, expected] : rows) {
        EXPECT_THAT(complaint_about(text), HasSubstr(expected)) << text;
    }
    for (const char *text : {"", " \n", "{}", "[]", "hello", "<foo/>", "<config/>",
                             "<config xmlns='urn:other'/>", "{\"config\": {}}"}) {
        EXPECT_THAT(complaint_about(text), HasSubstr("<config xmlns=\"urn:olt:gpon:base\">"))
            << text;
    }
}

TEST(DatastoreParse, FindsEntriesAfterOrdering)
{
    std::string ports;
    for (int id = 300; id > 0; --id) {
        ports += port_edit(id, "");
    }
    const auto tree = parse_config(ports);
    EXPECT_STREQ(lyd_get_value(lyd_child(lyd_child(tree.root()))), "1");
    for (const std::string id : {"1", "150", "300"}) {
        const auto path = engine::read_path(tree.schema(), "/config/service-port{" + id + "}");
        const auto *entry = engine::find_node(tree.root(), *path);
        ASSERT_NE(entry, nullptr) << id;
        EXPECT_EQ(lyd_get_value(lyd_child(entry)), id);
    }
}

TEST(DatastoreParse, EncryptsClearText)
{
    const auto profiles = [](const std::vector<std::pair<const char *, const char *>> &passwords,
                             const Datastore *committed = nullptr) {
        std::string list;
        for (const auto &[name, password] : passwords) {
            list += xml("tr069-acs-profile", xml("name", name) + xml("password", password));
        }
        return Datastore::parse(schema(), {"test.xml", config_xml(xml("profile/gpon", list))},
                                committed);
    };
    const auto committed = profiles({{"a", "$0$one"}, {"b", "$0$a b"}, {"c", "$8$kept"}});
    const auto stored = values(committed, "password");
    EXPECT_EQ(engine::decrypt(stored.at(0)), "one");
    EXPECT_EQ(engine::decrypt(stored.at(1)), "a b");
    EXPECT_EQ(stored.at(2), "$8$kept");

    // The same clear text at the same place keeps its cipher text; anything else gets its own.
    const auto next = values(
        profiles({{"d", "$0$one"}, {"c", "$0$new"}, {"b", "$0$one"}, {"a", "$0$one"}}, &committed),
        "password");
    EXPECT_EQ(next.at(0), stored.at(0));
    EXPECT_NE(next.at(1), stored.at(0));
    EXPECT_EQ(engine::decrypt(next.at(1)), "one");
    EXPECT_EQ(engine::decrypt(next.at(2)), "new");
    EXPECT_EQ(engine::decrypt(next.at(3)), "one");
}

TEST(DatastoreCheck, FindsEveryPlaceOfAFault)
{
    const std::string path = "/config/profile/gpon/bandwidth-profile{b}/traffic";
    const auto pots = xml("pots/port", "1");
    // Of what is missing libyang tells the schema node only, and of references the last one.
    const std::pair<std::string, std::vector<std::string>> rows[] = {
        {port_edit(2, "") + port_edit(1, ""),
         {"/config/service-port{1}/gpon", "/config/service-port{2}/gpon"}},
        {onu_5(xml("tr069-acs-profile", "t") + xml("rg-profile", "none")),
         {kOnuPath + "/rg-profile", kOnuPath + "/tr069-acs-profile"}},
        {traffic(""), {path}},
        {traffic(xml("type-1/fixed", "1") + xml("type-2/assured", "1")), {path}},
        {traffic(xml("type-5", xml("fixed", "1") + xml("maximum", "9"))), {path + "/type-5"}},
        {traffic(xml("type-3", xml("assured", "5") + xml("maximum", "4"))), {path + "/type-3"}},
        {traffic(xml("type-3", xml("assured", "5") + xml("maximum", "5"))), {}},
        {onu_5(pots + pots), {kOnuPath + "/pots{1}"}},
    };
    for (const auto &[inside, expected] : rows) {
        EXPECT_EQ(faulty_paths(inside), expected) << inside;
    }
    std::string onus;
    for (int id = 1; id <= 30; ++id) {
        onus += onu(id, xml("rg-profile", "x"));
    }
    const auto problems = problems_of([&] { checked_config(xml("interface", link(1, onus))); });
    ASSERT_THAT(problems, SizeIs(21));
    EXPECT_THAT(problems.back().message, HasSubstr("more faults"));
}

TEST(DatastoreCheck, AddsDefaultsAndLeavesTheTreeAsItWasWhenItFails)
{
    auto tree = parse_config(onu_5(""));
    EXPECT_THAT(values(tree, "admin-state"), IsEmpty());
    engine::check_yang(tree, "test.xml");
    EXPECT_THAT(values(tree, "admin-state"), ElementsAre("enabled"));
    EXPECT_EQ(tree.root()->next, nullptr);
    // Defaults are not written out.
    EXPECT_THAT(tree.print(Format::kXml), ::testing::Not(HasSubstr("admin-state")));

    auto faulty = parse_config(onu_5(xml("rg-profile", "none")));
    EXPECT_THROW(engine::check_yang(faulty, "test.xml"), InputError);
    EXPECT_THAT(values(faulty, "rg-profile"), ElementsAre("none"));
}

TEST(InputError, HasAProblemEvenWhenNobodyNamedOne)
{
    const InputError error({});
    ASSERT_THAT(error.problems(), SizeIs(1));
    EXPECT_EQ(error.problems()[0].fault, engine::Fault::kInternal);
}

} // namespace
