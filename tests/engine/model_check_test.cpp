/** Edits of small models, judged in place as libyang judges copies: also what our model lacks. */
#include "engine/data/yang_check.h"
#include "engine/edit/edit.h"
#include "engine/schema/schema_loader.h"
#include "engine/session/framework.h"

#include <gtest/gtest.h>

namespace
{

using engine::Datastore;

std::shared_ptr<const engine::Schema> load(const std::string &statements)
{
    engine::ModelSource source;
    source.main_module = "m";
    source.texts = {{"m", "module m { yang-version 1.1; namespace \"urn:m\"; prefix m;"
                          "container config { leaf limit { type uint8; default 10; }"
                          "list a { key name; leaf name { type string; } leaf n { type uint8; }" +
                              statements + "} } }"}};
    source.ns = 1;
    source.tag_of = [](std::string_view name) {
        return static_cast<std::uint32_t>(std::hash<std::string_view>()(name));
    };
    return engine::load_schema(source);
}

std::string config(const std::string &content)
{
    return "<config xmlns=\"urn:m\" xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\">" +
           content + "</config>";
}

template <typename Work>
std::string faults(const Work &work)
{
    try {
        work();
    } catch (const engine::InputError &failure) {
        return failure.what();
    }
    return {};
}

struct Model {
    const char *statements; /**< Behind those of list a, and of the container. */
    bool is_covered;
};

class ModelCheck : public testing::TestWithParam<Model>
{
};

TEST_P(ModelCheck, JudgesAsLibyangDoes)
{
    const auto schema = load(GetParam().statements);
    EXPECT_EQ(schema->rules().are_covered, GetParam().is_covered);
    const engine::Source text{"running.xml",
                              config("<a><name>x</name><n>1</n></a><a><name>y</name><n>2</n></a>"
                                     "<b><name>1</name><ref>x</ref></b>")};
    Datastore running = Datastore::parse(schema, text);
    engine::check_yang(running, text);
    engine::Framework framework(std::move(running));
    std::size_t refused = 0;
    for (const char *content :
         {"<limit>5</limit>", "<limit>1</limit>", "<a><name>y</name><n>9</n></a>",
          "<a><name>y</name><n>1</n></a>", "<a nc:operation='delete'><name>x</name></a>",
          "<a nc:operation='delete'><name>y</name></a>", "<a><name>z</name><n>11</n></a>",
          "<b nc:operation='delete'><name>1</name></b>", "<b><name>2</name><ref>q</ref></b>",
          "<b><name>2</name></b><b><name>3</name></b>", "<b><name>2</name><ref>y</ref></b>",
          "<b nc:operation='delete'><name>1</name></b><b><name>4</name></b>"}) {
        const engine::Source edit{"edit.xml", config(content)};
        Datastore copy = engine::apply_edit(framework.running(), edit);
        const std::string expected = faults([&] { engine::check_yang(copy, edit); });
        for (const bool keep : {false, true}) {
            auto &transaction = framework.begin(edit);
            EXPECT_EQ(faults([&] { framework.check_yang(transaction, edit); }), expected)
                << content;
            keep &&expected.empty() ? framework.commit(transaction.handle())
                                    : framework.end(transaction.handle());
        }
        refused += expected.empty() ? 0 : 1;
    }
    EXPECT_GE(refused, 2);
}

constexpr const char *kB = "} list b { key name; min-elements 1; max-elements 2;"
                           "leaf name { type string; }"
                           "leaf ref { type leafref { path \"/config/a/name\"; } }";

const std::string kMust = std::string("must \"not(n > ../limit)\";") + kB;
const std::string kUnique = std::string("unique n;") + kB;
const std::string kWhen = std::string("leaf w { when \"../n = 1\"; type string; default d; }") + kB;
const std::string kPredicate =
    std::string(kB) + "leaf same { type leafref { path \"/config/a[name=current()/../ref]/n\"; } }";
const std::string kUnion =
    std::string(kB) +
    "leaf any { type union { type leafref { path \"/config/a/n\"; } type uint8; } }";

INSTANTIATE_TEST_SUITE_P(Models, ModelCheck,
                         testing::Values(Model{kB, true}, Model{kMust.c_str(), true},
                                         Model{kUnique.c_str(), false}, Model{kWhen.c_str(), false},
                                         Model{kPredicate.c_str(), false},
                                         Model{kUnion.c_str(), false}));

} // namespace
