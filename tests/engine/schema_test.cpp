#include "support/model.h"

#include "engine/schema/schema_loader.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

using engine::ModelSource;
using engine::Schema;
using engine::SchemaNode;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace
{

const SchemaNode *node_at(const std::string &path)
{
    const SchemaNode *node = nullptr;
    std::size_t begin = 1;
    while (begin <= path.size()) {
        const auto end = std::min(path.find('/', begin), path.size());
        const auto name = path.substr(begin, end - begin);
        node = node != nullptr ? node->child(name) : test_support::schema()->top(name);
        if (node == nullptr) {
            throw std::runtime_error("no node " + name + " of " + path);
        }
        begin = end + 1;
    }
    return node;
}

/** Names in the order of the value array: what stands in a container follows it. */
std::vector<std::string> positions(const SchemaNode &node, const std::string &above = "")
{
    std::vector<std::string> names;
    for (const auto *child = node.first_child(); child != nullptr; child = child->next_sibling()) {
        names.push_back(above + child->name);
        if (child->is_container()) {
            const auto below = positions(*child, names.back() + "/");
            names.insert(names.end(), below.begin(), below.end());
        }
    }
    return names;
}

/** The framework's module, as small as the loader needs it. */
constexpr const char *kFrameworkText = R"(module tailf-common {
  namespace "urn:t"; prefix tailf;
  extension validate { argument id; } extension opaque { argument value; }
  extension dependency { argument path; } extension call-once { argument value; }
  extension priority { argument value; }
  typedef aes-cfb-128-encrypted-string { type string { pattern '[$][08][$].*'; } }
  typedef ipv4-address-and-prefix-length { type string { pattern '.*/[0-9]*'; } } })";

std::uint32_t length_as_tag(std::string_view name)
{
    return static_cast<std::uint32_t>(name.size());
}

ModelSource small_model(const std::string &nodes)
{
    const std::string head = R"(module m { yang-version 1.1; namespace "urn:m"; prefix m;
        import tailf-common { prefix tf; } import ietf-inet-types { prefix inet; } )";
    return {{{"m", head + nodes + "}"}, {"tailf-common", kFrameworkText}}, "m", 7, length_as_tag};
}

std::string load_error(const ModelSource &source)
{
    try {
        engine::load_schema(source);
    } catch (const std::runtime_error &failure) {
        return failure.what();
    }
    return "loaded";
}

} // namespace

TEST(Schema, LaysOutTheEntriesThatTheCardReadsByPosition)
{
    const auto *bandwidth = node_at("/config/profile/gpon/bandwidth-profile");
    EXPECT_THAT(positions(*bandwidth),
                ElementsAre("name", "traffic", "traffic/type-1", "traffic/type-1/fixed",
                            "traffic/type-2", "traffic/type-2/assured", "traffic/type-3",
                            "traffic/type-3/assured", "traffic/type-3/maximum", "traffic/type-4",
                            "traffic/type-4/maximum", "traffic/type-5", "traffic/type-5/fixed",
                            "traffic/type-5/assured", "traffic/type-5/maximum"));
    EXPECT_EQ(bandwidth->object_size, 15);

    const auto *service_port = node_at("/config/service-port");
    const auto names = positions(*service_port);
    EXPECT_EQ(service_port->object_size, 20);
    ASSERT_EQ(names.size(), 20U);
    EXPECT_EQ(names[2], "gpon/id");
    EXPECT_EQ(names[4], "gpon/onu/id");
    EXPECT_EQ(names[6], "gpon/onu/gem/gem-id");
    EXPECT_EQ(names[10], "match/outer/vlan-id");
    EXPECT_EQ(names[15], "action/outer/vlan-id");

    EXPECT_EQ(node_at("/config/profile/gpon/line-profile/tcont")->object_size, 2);
    // Sub-lists and a leaf-list count as one value each.
    EXPECT_EQ(node_at("/config/profile/gpon/line-profile")->object_size, 3);
    EXPECT_EQ(node_at("/config/profile/gpon/service-profile/vlan-mapping/uni")->object_size, 1);
}

TEST(Schema, GivesEachLeafTheTypeOfTheClientInterface)
{
    const struct {
        const char *path;
        confd_vtype vtype;
        confd_vtype shallow;
        bool encrypted;
    } rows[] = {
        {"/config/interface/gpon/onu/onu-id", C_UINT32, C_UINT32, false},
        {"/config/interface/gpon/onu/pots/port", C_UINT8, C_UINT8, false},
        {"/config/interface/gpon/downstream-fec", C_BOOL, C_BOOL, false},
        {"/config/interface/gpon/onu/snmp/real-time", C_XMLTAG, C_XMLTAG, false},
        {"/config/gpon/onu-auth-method", C_ENUM_VALUE, C_ENUM_VALUE, false},
        {"/config/interface/gpon/onu/management/default-gateway", C_IPV4, C_IPV4, false},
        {"/config/interface/gpon/onu/management/address", C_IPV4_AND_PLEN, C_IPV4_AND_PLEN, false},
        {"/config/profile/gpon/tr069-acs-profile/password", C_BUF, C_BUF, true},
        {"/config/profile/gpon/tr069-acs-profile/url", C_BUF, C_BUF, false},
        {"/config/profile/gpon/line-profile/name", C_BUF, C_BUF, false},
        {"/config/interface/gpon/onu/rg-profile", C_BUF, C_BUF, false}, // leafref to a text
        {"/config/profile/gpon/line-profile/gem/tcont", C_UINT32, C_UINT32, false}, // to a number
        {"/config/profile/gpon/service-profile/vlan-mapping/uni/ethernet", C_UINT8, C_LIST, false},
        {"/config/service-port/match/outer/vlan-id", C_UNION, C_UNION, false},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.path);
        const auto *node = node_at(row.path);
        EXPECT_EQ(node->type_storage.vtype, row.vtype);
        EXPECT_EQ(node->info.shallow_type, row.shallow);
        EXPECT_EQ(node->type_storage.encrypted, row.encrypted);
        EXPECT_EQ(node->info.type, &node->type_storage);
    }
    const auto &members = node_at("/config/service-port/match/outer/vlan-id")->type_storage.members;
    ASSERT_EQ(members.size(), 2U);
    EXPECT_EQ(members[0].vtype, C_INT32);
    EXPECT_EQ(members[1].vtype, C_ENUM_VALUE);
}

TEST(Schema, KnowsDerivedFrameworkTypes)
{
    const auto schema = engine::load_schema(small_model(
        "typedef secret { type tf:aes-cfb-128-encrypted-string { length '3..99'; } }"
        "container c { leaf one { type secret; } leaf thirteen-long { type string; }"
        " leaf three { type union { type uint8; type tf:ipv4-address-and-prefix-length; } } }"));
    const auto *top = schema->top("c");
    EXPECT_TRUE(top->child("one")->type_storage.encrypted);
    EXPECT_FALSE(top->child("thirteen-long")->type_storage.encrypted);
    EXPECT_EQ(top->child("three")->type_storage.members.at(1).vtype, C_IPV4_AND_PLEN);
}

TEST(Schema, DescribesNodes)
{
    const auto *gpon = node_at("/config/interface/gpon");
    EXPECT_EQ(gpon->path(), "/config/interface/gpon");
    ASSERT_EQ(gpon->key_nodes.size(), 3U);
    EXPECT_EQ(gpon->key_nodes[2]->name, "port-id");
    EXPECT_EQ(gpon->info.keys[2], gpon->key_nodes[2]->tag);
    EXPECT_EQ(gpon->info.keys[3], 0U);
    EXPECT_TRUE(gpon->key_nodes[0]->is_key());
    EXPECT_EQ(gpon->tag, 1802393476U);
    EXPECT_EQ(gpon->ns, 864307902U);
    EXPECT_STREQ(test_support::schema()->name_of(1802393476U), "gpon");
    EXPECT_EQ(test_support::schema()->name_of(1), nullptr);

    EXPECT_EQ(node_at("/config/interface/gpon/onu/management")->info.flags, CS_NODE_IS_PRESENCE);
    EXPECT_EQ(node_at("/config/interface/gpon/onu/rg-override-parameters/parameter")->info.flags,
              CS_NODE_IS_LIST | CS_NODE_IS_USER_ORDERED);
    EXPECT_EQ(gpon->info.type, nullptr);

    // Choices are no nodes of ours: what stands in them has the container above as its parent.
    const auto *type_1 = node_at("/config/profile/gpon/bandwidth-profile/traffic/type-1");
    EXPECT_EQ(type_1->yang->parent->nodetype, LYS_CASE);
    EXPECT_EQ(Schema::of(type_1->yang->parent), nullptr);
    EXPECT_EQ(Schema::of(type_1->yang), type_1);
}

TEST(Schema, FindsTheValidationPointsInTheirOrder)
{
    const auto &points = test_support::schema()->points();
    std::set<std::string> opaques;
    for (const auto &point : points) {
        EXPECT_EQ(point.name, "gpon_validation_check");
        EXPECT_FALSE(point.description.empty()) << point.opaque;
        EXPECT_FALSE(point.dependencies.empty()) << point.opaque;
        opaques.insert(point.opaque);
    }
    EXPECT_THAT(
        opaques,
        ElementsAre("config_modified_check", "fec_confirmation_warning", "interface_validation",
                    "itf_grp_validation", "line_confirmation_warning", "one_shot_prov_check",
                    "onu_bw_check", "onu_gateway_ip_check", "onu_pwd_sn_unique_check",
                    "onu_snmp_rt_warn", "ponlink_bw_check", "rg_prof_one_shot_check",
                    "rg_profile_confirmation_warning", "rg_profile_ssid_unique_check",
                    "service_port_delete_all_warning_check", "service_port_global_validation",
                    "sip_agent_profile_confirmation_warning", "sp_gem_check",
                    "tr069_profile_confirmation_warning", "tr069_profile_password_length_check",
                    "vlan_limit_check", "vlan_match_check",
                    "voip_media_profile_confirmation_warning"));
    EXPECT_TRUE(std::is_sorted(points.begin(), points.end(), [](const auto &a, const auto &b) {
        return a.priority < b.priority;
    }));
    // Within a priority as in the model, and at one node as written there.
    EXPECT_EQ(points[0].node->path(), "/config/profile/gpon/bandwidth-profile");
    EXPECT_EQ(points[1].node->path(), "/config/profile/gpon/service-profile");
    EXPECT_EQ(points[4].opaque, "vlan_match_check");
    EXPECT_EQ(points[5].opaque, "vlan_limit_check");
    EXPECT_EQ(points.back().opaque, "service_port_delete_all_warning_check");
    EXPECT_TRUE(points.back().once);
}

TEST(Schema, ResolvesDependencies)
{
    const auto schema = engine::load_schema(small_model(R"(
        container aa {
          list bbb { key k; leaf k { type string; }
            choice which { case x { container cccc { leaf ddddd { type string; } } } }
            leaf eeeeee { type string;
              tf:validate p { tf:dependency "../cccc/ddddd"; tf:dependency "/aa/m:bbb"; } }
            list fffffff { key k; leaf k { type string; }
              tf:validate p { tf:opaque second; tf:dependency "../../gggggggg"; } } }
          leaf gggggggg { type string;
            tf:validate p { tf:opaque first; tf:dependency "."; tf:priority "-1"; } } })"));
    std::vector<std::string> seen;
    for (const auto &point : schema->points()) {
        for (const auto &dependency : point.dependencies) {
            seen.push_back(point.opaque + " " + dependency.target->path() + " " +
                           (dependency.common != nullptr ? dependency.common->path() : "all"));
        }
    }
    // A leaf's own node joins its dependencies, but is not there twice.
    EXPECT_THAT(seen, ElementsAre("first /aa/gggggggg /aa/gggggggg", " /aa/bbb/cccc/ddddd /aa/bbb",
                                  " /aa/bbb all", " /aa/bbb/eeeeee /aa/bbb/eeeeee",
                                  "second /aa/gggggggg /aa"));
}

TEST(Schema, RefusesModelsThatItCannotServe)
{
    const auto with_point = [](const std::string &inside) {
        return "container c { list aa { key kkk; leaf kkk { type string; } tf:validate p {" +
               inside + "} } }";
    };
    const struct {
        std::string nodes;
        std::vector<std::string> error;
    } rows[] = {
        {"container c { leaf ab { type string; } leaf cd { type string; } }",
         {"/c/cd", "ab and cd", "same tag"}},
        {"container c { leaf ab { type binary; } }", {"/c/ab", "not served"}},
        {"container c { leaf ab { type union { type uint8; type bits { bit b; } } } }",
         {"/c/ab", "not served"}},
        {"container c { anydata ab; }", {"/c/ab", "anydata"}},
        {"rpc ab;", {"/ab", "RPC"}},
        {"container c { config false; list ab { leaf abc { type string; } } }", {"/c/ab", "keys"}},
        {"container c { leaf-list ab { type tf:aes-cfb-128-encrypted-string; } }",
         {"/c/ab", "plain leaves"}},
        {"container c { leaf ab { type nowhere; } }", {"cannot load module m", "nowhere"}},
        {with_point("tf:dependency '../zz';"), {"/c/aa", "\"../zz\"", "no node"}},
        {with_point("tf:dependency '/c/zz';"), {"/c/aa", "\"/c/zz\"", "no node"}},
        {with_point("tf:dependency '../../..';"), {"/c/aa", "no node"}},
        {with_point("tf:dependency '';"), {"/c/aa", "no node"}},
        {with_point("tf:call-once 'yes';"), {"/c/aa", "tailf:call-once", "yes"}},
        {with_point("tf:priority 'high';"), {"/c/aa", "tailf:priority", "high"}},
        {"leaf ab { type string; tf:validate p { tf:call-once 'true'; } }", {"/ab", "for lists"}},
        {"container c { choice w { tf:validate p; leaf ab { type string; } } }", {"w: ", "choice"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.nodes);
        const auto error = load_error(small_model(row.nodes));
        for (const auto &part : row.error) {
            EXPECT_THAT(error, HasSubstr(part));
        }
    }
    EXPECT_EQ(load_error(small_model("container c;")), "loaded");
    EXPECT_THAT(load_error({{}, "absent", 1, length_as_tag}),
                HasSubstr("cannot load module absent"));
}
