#include "engine/schema/schema_loader.h"
#include "support/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

using engine::Schema;
using engine::SchemaNode;
using ::testing::HasSubstr;

namespace
{

/** A node below /config of the card's model. */
const SchemaNode *node_at(const std::vector<std::string> &names)
{
    const SchemaNode *node = test_support::schema()->top("config");
    for (const auto &name : names) {
        node = node->child(name);
        if (node == nullptr) {
            throw std::runtime_error("no node " + name);
        }
    }
    return node;
}

TEST(Schema, DescribesNodes)
{
    const auto *gpon = node_at({"interface", "gpon"});
    EXPECT_EQ(gpon->path(), "/config/interface/gpon");
    ASSERT_EQ(gpon->key_nodes.size(), 3U);
    EXPECT_TRUE(gpon->key_nodes[2]->is_key());
    EXPECT_EQ(gpon->info.keys[2], gpon->key_nodes[2]->tag);
    EXPECT_EQ(gpon->info.keys[3], 0U);
    EXPECT_EQ(gpon->tag, 1802393476U);
    EXPECT_EQ(gpon->ns, 864307902U);
    EXPECT_EQ(gpon->info.type, nullptr);
    EXPECT_EQ(node_at({"interface", "gpon", "onu", "management"})->info.flags, CS_NODE_IS_PRESENCE);
    EXPECT_EQ(
        node_at({"interface", "gpon", "onu", "rg-override-parameters", "parameter"})->info.flags,
        CS_NODE_IS_LIST | CS_NODE_IS_USER_ORDERED);
    EXPECT_EQ(node_at({"profile", "gpon", "line-profile"})->object_size, 3);

    // Choices are no nodes of ours: what stands in them has the container above as its parent.
    const auto *type_1 = node_at({"profile", "gpon", "bandwidth-profile", "traffic", "type-1"});
    EXPECT_EQ(type_1->yang->parent->nodetype, LYS_CASE);
    EXPECT_EQ(Schema::of(type_1->yang->parent), nullptr);
    EXPECT_EQ(Schema::of(type_1->yang), type_1);
}

TEST(Schema, GivesEachLeafTheTypeOfTheClientInterface)
{
    const auto *tcont = node_at({"profile", "gpon", "line-profile", "gem", "tcont"});
    EXPECT_EQ(tcont->info.shallow_type, C_UINT32) << "what its leafref leads to";
    const auto *profile = node_at({"profile", "gpon", "tr069-acs-profile"});
    EXPECT_TRUE(profile->child("password")->type_storage.encrypted);
    EXPECT_FALSE(profile->child("url")->type_storage.encrypted);
    const auto *onu = node_at({"interface", "gpon", "onu"});
    EXPECT_TRUE(is_secret(*profile->child("password")));
    EXPECT_TRUE(is_secret(*node_at({"interface", "gpon", "onu", "auth-method", "password"})))
        << "a plain text";
    EXPECT_FALSE(is_secret(*onu->child("onu-id")));
    EXPECT_FALSE(is_secret(*node_at({"gpon", "onu-auth-method"})));
    const auto *mapping = node_at({"profile", "gpon", "service-profile", "vlan-mapping"});
    const auto *ethernet = mapping->child("uni")->child("ethernet");
    EXPECT_EQ(ethernet->info.shallow_type, C_LIST);
    EXPECT_EQ(ethernet->type_storage.vtype, C_UINT8);
    const auto *vlan = node_at({"service-port", "match", "outer", "vlan-id"});
    EXPECT_EQ(vlan->info.shallow_type, C_UNION);
    ASSERT_EQ(vlan->type_storage.members.size(), 2U);
    EXPECT_EQ(vlan->type_storage.members[0].vtype, C_INT32);
    EXPECT_EQ(vlan->type_storage.members[1].vtype, C_ENUM_VALUE);
}

TEST(Schema, SortsTheValidationPointsByPriorityThenAsInTheModel)
{
    const auto &points = test_support::schema()->points();
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_EQ(points[i].name, "gpon_validation_check");
        EXPECT_FALSE(points[i].description.empty()) << points[i].opaque;
        EXPECT_FALSE(points[i].dependencies.empty()) << points[i].opaque;
        EXPECT_GE(points[i].priority, points[i == 0 ? 0 : i - 1].priority);
    }
    EXPECT_EQ(points[0].node->path(), "/config/profile/gpon/bandwidth-profile");
    EXPECT_EQ(points[1].node->path(), "/config/profile/gpon/service-profile");
    EXPECT_EQ(points[4].opaque, "vlan_match_check");
    EXPECT_EQ(points[5].opaque, "vlan_limit_check");
    EXPECT_EQ(points.back().opaque, "service_port_delete_all_warning_check");
    EXPECT_TRUE(points.back().once);
}

TEST(Schema, RefusesModelsThatItCannotServe)
{
    const auto with_point = [](const std::string &inside) {
        return "container c { list aa { key kkk; leaf kkk { type string; } tailf:validate p {" +
               inside + "} } }";
    };
    const std::pair<std::string, std::string> rows[] = {
        {"leaf a { type string; } leaf b { type string; }", "same tag"},
        {"leaf a { type binary; }", "/a: its type is not served"},
        {"leaf a { type union { type uint8; type bits { bit b; } } }", "/a: its type is not"},
        {"anydata a;", "/a: "},
        {"rpc a;", "/a: "},
        {"container c { config false; list aa { leaf abc { type string; } } }", "/c/aa: "},
        {"leaf-list a { type tailf:aes-cfb-128-encrypted-string; }", "plain leaves"},
        {"leaf a { type nowhere; }", "cannot load module m"},
        {with_point("tailf:dependency '../zz';"),
         "/c/aa: tailf:validate: the dependency \"../zz\""},
        {with_point("tailf:dependency '/c/zz';"), "no node"},
        {with_point("tailf:dependency '../../..';"), "no node"},
        {with_point("tailf:dependency '';"), "no node"},
        {with_point("tailf:call-once 'yes';"), "tailf:call-once is true or false, not \"yes\""},
        {with_point("tailf:priority 'high';"), "tailf:priority is a number, not \"high\""},
        {"leaf a { type string; tailf:validate p { tailf:call-once 'true'; } }", "for lists"},
        {"choice w { tailf:validate p; leaf a { type string; } }", "choice"},
    };
    const std::string header = "module m { yang-version 1.1; namespace urn:m; prefix m;"
                               " import tailf-common { prefix tailf; } ";
    for (const auto &[nodes, error] : rows) {
        auto source = test_support::model_source();
        source.texts.push_back({"m", header + nodes + "}"});
        source.main_module = std::string("m");
        source.tag_of = [](std::string_view name) {
            return static_cast<std::uint32_t>(name.size());
        };
        try {
            engine::load_schema(source);
            ADD_FAILURE() << "loaded: " << nodes;
        } catch (const std::runtime_error &failure) {
            EXPECT_THAT(failure.what(), HasSubstr(error)) << nodes;
        }
    }
}

} // namespace
