#include "session.h"

#include <arpa/inet.h>

#include <cstdlib>
#include <vector>

namespace
{

using test_support::described;
using test_support::expect_error;

constexpr const char *kRunning = "<interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id>"
                                 "<port-id>1</port-id><downstream-fec>true</downstream-fec></gpon>"
                                 "</interface>";

constexpr const char *kCandidate =
    "<profile><gpon>"
    "<service-profile><name>s</name>"
    "<vlan-mapping><name>uni</name><uni><ethernet>10</ethernet><ethernet>2</ethernet></uni>"
    "<match><outer><vlan-id>7</vlan-id><cos>any</cos></outer></match></vlan-mapping>"
    "<vlan-mapping><name>veip</name><veip><veip/></veip>"
    "<match><outer><vlan-id>any</vlan-id></outer></match></vlan-mapping></service-profile>"
    "<sip-agent-profile><name>sip</name><proxy-server>192.0.2.9</proxy-server>"
    "<registrar-server>sip.example.net</registrar-server></sip-agent-profile></gpon></profile>"
    "<interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>1</port-id>"
    "<onu><onu-id>5</onu-id><auth-method><password>0123456789</password></auth-method>"
    "<management><address>192.168.1.1/24</address><default-gateway>192.168.1.254</default-gateway>"
    "</management></onu><onu><onu-id>6</onu-id><description/></onu></gpon></interface>"
    "<gpon><card>1/1</card><onu-auth-method>password</onu-auth-method></gpon>";

constexpr const char *kOnu = "/config/interface/gpon{1 1 1}/onu";
constexpr const char *kMapping = "/config/profile/gpon/service-profile{s}/vlan-mapping";

class Leaves : public test_support::Session
{
protected:
    void SetUp() override { start(kRunning, kCandidate); }

    std::string read(const std::string &path)
    {
        confd_value_t value{};
        if (maapi_get_elem(maapi, th, &value, "%s", path.c_str()) != CONFD_OK) {
            return "error " + std::to_string(confd_errno);
        }
        const std::string text = described(value);
        confd_free_value(&value);
        return text;
    }
};

TEST_F(Leaves, ValuesOfEveryType)
{
    const std::vector<std::pair<std::string, std::string>> cases{
        {std::string(kOnu) + "{5}/onu-id", "C_UINT32 5"},
        {std::string(kOnu) + "{5}/auth-method/password", "C_BUF 0123456789"},
        {std::string(kOnu) + "{6}/description", "C_BUF "},
        {std::string(kOnu) + "{5}/management/address", "C_IPV4_AND_PLEN 192.168.1.1/24"},
        {std::string(kOnu) + "{5}/management/default-gateway", "C_IPV4 192.168.1.254"},
        {std::string(kOnu) + "{5}/admin-state", "C_ENUM_VALUE enum<1>"}, // By default.
        {"/config/interface/gpon{1 1 1}/downstream-fec", "C_BOOL false"},
        {"/config/gpon{1/1}/onu-auth-method", "C_ENUM_VALUE enum<2>"},
        {std::string(kMapping) + "{uni}/uni/ethernet", "C_LIST 2 10"},
        {std::string(kMapping) + "{uni}/match/outer/vlan-id", "C_INT32 7"},
        {std::string(kMapping) + "{veip}/match/outer/vlan-id", "C_ENUM_VALUE enum<0>"},
        {std::string(kMapping) + "{uni}/match/outer/cos", "C_ENUM_VALUE enum<0>"},
        {std::string(kMapping) + "{veip}/veip/veip", "C_XMLTAG veip"},
        {"/config/profile/gpon/sip-agent-profile{sip}/proxy-server", "C_IPV4 192.0.2.9"},
        {"/config/profile/gpon/sip-agent-profile{sip}/registrar-server", "C_BUF sip.example.net"},
        // Not set, or below what is not there.
        {std::string(kMapping) + "{veip}/match/outer/cos", "error 1"},
        {std::string(kMapping) + "{veip}/uni/ethernet", "error 1"},
        {std::string(kOnu) + "{7}/onu-id", "error 1"},
        {std::string(kOnu) + "{6}/management/address", "error 1"},
        // No leaves.
        {std::string(kOnu) + "{5}/management", "error 5"},
        {std::string(kOnu) + "{5}", "error 5"},
        {kOnu, "error 5"},
    };
    for (const auto &[path, expected] : cases) {
        EXPECT_EQ(read(path), expected) << path << ": " << confd_lasterr();
    }
}

TEST_F(Leaves, AbsenceIsToldByName)
{
    EXPECT_EQ(read(std::string(kOnu) + "{6}/management/address"), "error 1");
    expect_error(CONFD_ERR_NOEXISTS,
                 {"onu{6}/management/address", "there is no", "onu{6}/management"});
    EXPECT_EQ(read(std::string(kOnu) + "{9}/snmp/real-time"), "error 1");
    expect_error(CONFD_ERR_NOEXISTS, {"there is no /config/interface/gpon{1 1 1}/onu{9}"});
    EXPECT_EQ(read(std::string(kOnu) + "{6}/rg-profile"), "error 1");
    expect_error(CONFD_ERR_NOEXISTS, {"onu{6}/rg-profile is not set"});
}

TEST_F(Leaves, TypedReads)
{
    std::uint32_t number = 0;
    EXPECT_EQ(maapi_get_u_int32_elem(maapi, th, &number, "%s{%d}/onu-id", kOnu, 5), CONFD_OK);
    EXPECT_EQ(number, 5U);
    int truth = 9;
    EXPECT_EQ(maapi_get_bool_elem(maapi, th, &truth, "/config/interface/gpon{1 1 1}/upstream-fec"),
              CONFD_OK);
    EXPECT_EQ(truth, 0);
    EXPECT_EQ(cdb_get_bool(cdb, &truth, "/config/interface/gpon{1 1 %d}/downstream-fec", 1),
              CONFD_OK);
    EXPECT_EQ(truth, 1);
    in_addr gateway{};
    EXPECT_EQ(maapi_get_ipv4_elem(maapi, th, &gateway, "%s{5}/management/default-gateway", kOnu),
              CONFD_OK);
    EXPECT_EQ(ntohl(gateway.s_addr), 0xc0a801feU);
    confd_ipv4_prefix address{};
    EXPECT_EQ(maapi_get_ipv4_and_plen_elem(maapi, th, &address, "%s{5}/management/address", kOnu),
              CONFD_OK);
    EXPECT_EQ(ntohl(address.ip.s_addr), 0xc0a80101U);
    EXPECT_EQ(address.len, 24);
    std::int32_t method = -1;
    EXPECT_EQ(
        maapi_get_enum_value_elem(maapi, th, &method, "/config/gpon{%d/%d}/onu-auth-method", 1, 1),
        CONFD_OK);
    EXPECT_EQ(method, 2);
    EXPECT_EQ(maapi_get_enum_value_elem(maapi, th, &method, "%s{uni}/match/outer/cos", kMapping),
              CONFD_OK);
    EXPECT_EQ(method, 0);
}

TEST_F(Leaves, AnotherTypeIsAnErrorWhetherTheLeafIsSetOrNot)
{
    std::uint32_t number = 77;
    int truth = 77;
    std::int32_t choice = 77;
    in_addr address{};
    confd_ipv4_prefix prefix{};
    std::array<char, 32> buffer{};
    confd_value_t *list = nullptr;
    int count = 77;
    const auto expect_bad_type = [](int result, const char *says) {
        EXPECT_EQ(result, CONFD_ERR);
        expect_error(CONFD_ERR_BADTYPE, {says});
    };
    expect_bad_type(maapi_get_u_int32_elem(maapi, th, &number, "%s{5}/auth-method/password", kOnu),
                    "auth-method/password is a text, not an unsigned 32-bit number");
    expect_bad_type(maapi_get_u_int32_elem(maapi, th, &number, "%s{5}/description", kOnu),
                    "a text");
    expect_bad_type(
        maapi_get_u_int32_elem(maapi, th, &number, "%s{uni}/match/outer/vlan-id", kMapping),
        "a union");
    expect_bad_type(
        maapi_get_enum_value_elem(maapi, th, &choice, "%s{uni}/match/outer/vlan-id", kMapping),
        "a 32-bit number, not an enumeration");
    expect_bad_type(maapi_get_bool_elem(maapi, th, &truth, "%s{5}/onu-id", kOnu), "boolean");
    expect_bad_type(maapi_get_ipv4_elem(maapi, th, &address, "%s{5}/management/address", kOnu),
                    "prefix length");
    expect_bad_type(
        maapi_get_ipv4_and_plen_elem(maapi, th, &prefix, "%s{5}/management/default-gateway", kOnu),
        "prefix length");
    expect_bad_type(maapi_get_str_elem(maapi, th, buffer.data(), 32, "%s{5}/onu-id", kOnu), "text");
    expect_bad_type(
        maapi_get_str_elem(maapi, th, buffer.data(), 32, "%s{uni}/uni/ethernet", kMapping),
        "leaf-list");
    expect_bad_type(maapi_get_list_elem(maapi, th, &list, &count, "%s{5}/onu-id", kOnu),
                    "leaf-list");
    expect_bad_type(cdb_get_bool(cdb, &truth, "/config/interface/gpon{1 1 1}/port-id"), "boolean");
    EXPECT_EQ(number, 77U);
    EXPECT_EQ(truth, 77);
    EXPECT_EQ(choice, 77);
}

TEST_F(Leaves, TextsFitWithTheirEndOrNotAtAll)
{
    std::array<char, 16> buffer{};
    EXPECT_EQ(maapi_get_str_elem(maapi, th, buffer.data(), 11, "%s{5}/auth-method/password", kOnu),
              CONFD_OK);
    EXPECT_STREQ(buffer.data(), "0123456789");
    buffer.fill('#');
    for (const int size : {10, 0, -1}) {
        EXPECT_EQ(
            maapi_get_str_elem(maapi, th, buffer.data(), size, "%s{5}/auth-method/password", kOnu),
            CONFD_ERR);
        expect_error(CONFD_ERR_PROTOUSAGE, {"10 characters", "buffer of " + std::to_string(size)});
    }
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(maapi_get_str_elem(maapi, th, buffer.data(), 1, "%s{6}/description", kOnu), CONFD_OK);
    EXPECT_STREQ(buffer.data(), "");
}

TEST_F(Leaves, LeafLists)
{
    confd_value_t *ports = nullptr;
    int count = 0;
    ASSERT_EQ(maapi_get_list_elem(maapi, th, &ports, &count, "%s{uni}/uni/ethernet", kMapping),
              CONFD_OK);
    ASSERT_EQ(count, 2);
    EXPECT_EQ(CONFD_GET_UINT8(&ports[0]), 2);
    EXPECT_EQ(CONFD_GET_UINT8(&ports[1]), 10);
    for (int i = 0; i < count; ++i) {
        confd_free_value(&ports[i]);
    }
    std::free(ports);
    EXPECT_EQ(maapi_get_list_elem(maapi, th, &ports, &count, "%s{veip}/uni/ethernet", kMapping),
              CONFD_ERR);
    expect_error(CONFD_ERR_NOEXISTS, {"vlan-mapping{veip}/uni/ethernet"});
    EXPECT_EQ(ports, nullptr);
    EXPECT_EQ(count, 0);
}

TEST_F(Leaves, WhatAChoiceHasNotChosenDoesNotExist)
{
    EXPECT_EQ(maapi_exists(maapi, th, "%s{uni}/uni", kMapping), 1);
    EXPECT_EQ(maapi_exists(maapi, th, "%s{uni}/uni/ethernet", kMapping), 1);
    EXPECT_EQ(maapi_exists(maapi, th, "%s{uni}/veip", kMapping), 0);
    EXPECT_EQ(maapi_exists(maapi, th, "%s{uni}/veip/veip", kMapping), 0);
}

TEST_F(Leaves, PlainContainersNeedNotBeInTheTree)
{
    th = framework().begin(test_support::parse_config("<gpon><card>1/1</card></gpon>")).handle();
    EXPECT_EQ(maapi_exists(maapi, th, "/config/profile/gpon"), 1);
    EXPECT_EQ(maapi_num_instances(maapi, th, "/config/interface/gpon"), 0);
    maapi_cursor cursor;
    EXPECT_EQ(maapi_init_cursor(maapi, th, &cursor, "/config/profile/gpon/line-profile"), CONFD_OK);
    EXPECT_EQ(maapi_get_next(&cursor), CONFD_OK);
    EXPECT_EQ(cursor.n, 0);
    maapi_destroy_cursor(&cursor);
}

TEST_F(Leaves, CountsOfEntries)
{
    EXPECT_EQ(maapi_num_instances(maapi, th, "%s", kOnu), 2);
    EXPECT_EQ(maapi_num_instances(maapi, th, "/config/service-port"), 0);
    EXPECT_EQ(cdb_num_instances(cdb, "/config/interface/gpon/"), 1);
    EXPECT_EQ(cdb_num_instances(cdb, "%s", kOnu), 0);
    EXPECT_EQ(cdb_num_instances(cdb, "/config/interface/gpon{1 1 2}/onu"), CONFD_ERR);
    expect_error(CONFD_ERR_NOEXISTS, {"there is no /config/interface/gpon{1 1 2}"});
    for (const char *path : {"/config/interface", "/config/interface/gpon{1 1 1}",
                             "/config/interface/gpon{1 1 1}/port-id"}) {
        EXPECT_EQ(maapi_num_instances(maapi, th, path), CONFD_ERR);
        expect_error(CONFD_ERR_BADPATH, {path});
    }
}

} // namespace
