#include "session.h"

#include <cstdlib>

using test_support::described;
using test_support::expect_error;

namespace
{

constexpr const char *kRunning = R"(<interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id>
<port-id>1</port-id><downstream-fec>true</downstream-fec></gpon></interface>)";

constexpr const char *kCandidate = R"(<profile><gpon><service-profile><name>s</name>
<vlan-mapping><name>uni</name><uni><ethernet>10</ethernet><ethernet>2</ethernet></uni>
<match><outer><vlan-id>7</vlan-id><cos>any</cos></outer></match></vlan-mapping>
<vlan-mapping><name>veip</name><veip><veip/></veip>
<match><outer><vlan-id>any</vlan-id></outer></match></vlan-mapping></service-profile>
<sip-agent-profile><name>sip</name><proxy-server>192.0.2.9</proxy-server>
<registrar-server>sip.example.net</registrar-server></sip-agent-profile></gpon></profile>
<interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>1</port-id>
<onu><onu-id>5</onu-id><auth-method><password>0123456789</password></auth-method>
<management><address>192.168.1.1/24</address><default-gateway>192.168.1.254</default-gateway>
</management></onu><onu><onu-id>6</onu-id><description/></onu></gpon></interface>
<gpon><card>1/1</card><onu-auth-method>password</onu-auth-method></gpon>)";

const std::string kLink = "/config/interface/gpon{1 1 1}";
const std::string kOnu = kLink + "/onu";
const std::string kMapping = "/config/profile/gpon/service-profile{s}/vlan-mapping";

class Leaves : public test_support::Session
{
protected:
    void SetUp() override { start(kRunning, kCandidate); }

    std::string read(const std::string &path)
    {
        confd_value_t value{};
        if (maapi_get_elem(maapi, th, &value, "%s", path.c_str()) != CONFD_OK) {
            return "error " + std::to_string(confd_errno) + ": " + confd_lasterr();
        }
        const std::string text = described(value);
        confd_free_value(&value);
        return text;
    }
    int get_text(const std::string &path, char *buffer, int size)
    {
        return maapi_get_str_elem(maapi, th, buffer, size, "%s", path.c_str());
    }
};

TEST_F(Leaves, ValuesOfEveryType)
{
    const std::pair<std::string, std::string> cases[] = {
        {kOnu + "{5}/onu-id", "C_UINT32 5"},
        {kOnu + "{5}/auth-method/password", "C_BUF 0123456789"},
        {kOnu + "{6}/description", "C_BUF "},
        {kOnu + "{5}/management/address", "C_IPV4_AND_PLEN 192.168.1.1/24"},
        {kOnu + "{5}/management/default-gateway", "C_IPV4 192.168.1.254"},
        {kOnu + "{5}/admin-state", "C_ENUM_VALUE enum<1>"}, // By default.
        {kLink + "/downstream-fec", "C_BOOL false"},
        {"/config/gpon{1/1}/onu-auth-method", "C_ENUM_VALUE enum<2>"},
        {kMapping + "{uni}/uni/ethernet", "C_LIST 2 10"},
        {kMapping + "{uni}/match/outer/vlan-id", "C_INT32 7"},
        {kMapping + "{veip}/match/outer/vlan-id", "C_ENUM_VALUE enum<0>"},
        {kMapping + "{uni}/match/outer/cos", "C_ENUM_VALUE enum<0>"},
        {kMapping + "{veip}/veip/veip", "C_XMLTAG veip"},
        {"/config/profile/gpon/sip-agent-profile{sip}/proxy-server", "C_IPV4 192.0.2.9"},
        {"/config/profile/gpon/sip-agent-profile{sip}/registrar-server", "C_BUF sip.example.net"},
    };
    for (const auto &[path, expected] : cases) {
        EXPECT_EQ(read(path), expected) << path;
    }
}

TEST_F(Leaves, AbsenceIsToldByName)
{
    const std::tuple<std::string, int, std::string> cases[] = {
        {kMapping + "{veip}/match/outer/cos", CONFD_ERR_NOEXISTS, "cos is not set"},
        {kMapping + "{veip}/uni/ethernet", CONFD_ERR_NOEXISTS, "vlan-mapping{veip}/uni"},
        {kOnu + "{6}/management/address", CONFD_ERR_NOEXISTS,
         "there is no " + kOnu + "{6}/management"},
        {kOnu + "{9}/snmp/real-time", CONFD_ERR_NOEXISTS, "there is no " + kOnu + "{9}"},
        {kOnu + "{5}/management", CONFD_ERR_BADTYPE, ""}, // No leaves from here on.
        {kOnu + "{5}", CONFD_ERR_BADTYPE, ""},
        {kOnu, CONFD_ERR_BADTYPE, ""},
    };
    for (const auto &[path, code, says] : cases) {
        EXPECT_EQ(read(path).find("error"), 0U) << path;
        expect_error(code, {path, says});
    }
}

TEST_F(Leaves, AnotherTypeIsAnErrorWhetherTheLeafIsSetOrNot)
{
    std::uint32_t number = 77;
    int truth = 77;
    std::int32_t choice = 77;
    in_addr address{};
    confd_ipv4_prefix prefix{};
    confd_value_t *list = nullptr;
    int count = 0;
    const auto expect_bad_type = [](int result, const char *says) {
        EXPECT_EQ(result, CONFD_ERR) << says;
        expect_error(CONFD_ERR_BADTYPE, {says});
    };
    const char *onu = kOnu.c_str();
    const char *vlan = "%s{uni}/match/outer/vlan-id";
    expect_bad_type(maapi_get_u_int32_elem(maapi, th, &number, "%s{5}/auth-method/password", onu),
                    "auth-method/password is a text, not an unsigned 32-bit number");
    expect_bad_type(maapi_get_u_int32_elem(maapi, th, &number, "%s{6}/auth-method/password", onu),
                    "text");
    expect_bad_type(maapi_get_u_int32_elem(maapi, th, &number, vlan, kMapping.c_str()), "a union");
    expect_bad_type(maapi_get_enum_value_elem(maapi, th, &choice, vlan, kMapping.c_str()),
                    "a 32-bit number, not an enumeration");
    expect_bad_type(maapi_get_bool_elem(maapi, th, &truth, "%s{5}/onu-id", onu), "boolean");
    expect_bad_type(maapi_get_ipv4_elem(maapi, th, &address, "%s{5}/management/address", onu),
                    "prefix length");
    expect_bad_type(
        maapi_get_ipv4_and_plen_elem(maapi, th, &prefix, "%s{5}/management/default-gateway", onu),
        "prefix length");
    expect_bad_type(get_text(kOnu + "{5}/onu-id", nullptr, 0), "text");
    expect_bad_type(get_text(kMapping + "{uni}/uni/ethernet", nullptr, 0), "leaf-list");
    expect_bad_type(maapi_get_list_elem(maapi, th, &list, &count, "%s{5}/onu-id", onu),
                    "leaf-list");
    expect_bad_type(cdb_get_bool(cdb, &truth, "%s/port-id", kLink.c_str()), "boolean");
    EXPECT_EQ(number, 77U);
    EXPECT_EQ(truth, 77);
    EXPECT_EQ(choice, 77);
    // In a union, where the value is one.
    EXPECT_EQ(
        maapi_get_enum_value_elem(maapi, th, &choice, "%s{uni}/match/outer/cos", kMapping.c_str()),
        CONFD_OK);
    EXPECT_EQ(choice, 0);
    EXPECT_EQ(cdb_get_bool(cdb, &truth, "%s/downstream-fec", kLink.c_str()), CONFD_OK);
    EXPECT_EQ(truth, 1);
}

TEST_F(Leaves, TextsFitWithTheirEndOrNotAtAll)
{
    const auto path = kOnu + "{5}/auth-method/password";
    std::array<char, 16> buffer{};
    EXPECT_EQ(get_text(path, buffer.data(), 11), CONFD_OK);
    EXPECT_STREQ(buffer.data(), "0123456789");
    buffer.fill('#');
    for (const int size : {10, 0, -1}) {
        EXPECT_EQ(get_text(path, buffer.data(), size), CONFD_ERR);
        expect_error(CONFD_ERR_PROTOUSAGE, {"10 characters", "buffer of " + std::to_string(size)});
    }
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(get_text(kOnu + "{6}/description", buffer.data(), 1), CONFD_OK);
    EXPECT_STREQ(buffer.data(), "");
}

TEST_F(Leaves, LeafListsAreHandedOver)
{
    confd_value_t *ports = nullptr;
    int count = 0;
    ASSERT_EQ(
        maapi_get_list_elem(maapi, th, &ports, &count, "%s{uni}/uni/ethernet", kMapping.c_str()),
        CONFD_OK);
    ASSERT_EQ(count, 2);
    EXPECT_EQ(CONFD_GET_UINT8(&ports[0]), 2);
    EXPECT_EQ(CONFD_GET_UINT8(&ports[1]), 10);
    std::free(ports);
    EXPECT_EQ(
        maapi_get_list_elem(maapi, th, &ports, &count, "%s{veip}/uni/ethernet", kMapping.c_str()),
        CONFD_ERR);
    expect_error(CONFD_ERR_NOEXISTS, {"vlan-mapping{veip}/uni/ethernet"});
    EXPECT_EQ(ports, nullptr);
    EXPECT_EQ(count, 0);
}

TEST_F(Leaves, WhatAChoiceHasNotChosenDoesNotExist)
{
    const std::pair<const char *, int> cases[] = {
        {"uni", 1}, {"uni/ethernet", 1}, {"veip", 0}, {"veip/veip", 0}};
    for (const auto &[name, exists] : cases) {
        EXPECT_EQ(maapi_exists(maapi, th, "%s{uni}/%s", kMapping.c_str(), name), exists) << name;
    }
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
    EXPECT_EQ(maapi_num_instances(maapi, th, "%s", kOnu.c_str()), 2);
    EXPECT_EQ(maapi_num_instances(maapi, th, "/config/service-port"), 0);
    EXPECT_EQ(cdb_num_instances(cdb, "/config/interface/gpon/"), 1);
    EXPECT_EQ(cdb_num_instances(cdb, "%s", kOnu.c_str()), 0);
    EXPECT_EQ(cdb_num_instances(cdb, "/config/interface/gpon{1 1 2}/onu"), CONFD_ERR);
    expect_error(CONFD_ERR_NOEXISTS, {"there is no /config/interface/gpon{1 1 2}"});
    for (const auto &path : {std::string("/config/interface"), kLink, kLink + "/port-id"}) {
        EXPECT_EQ(maapi_num_instances(maapi, th, "%s", path.c_str()), CONFD_ERR);
        expect_error(CONFD_ERR_BADPATH, {path});
    }
}

} // namespace
