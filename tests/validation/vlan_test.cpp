#include "fixture.h"

#include "gpon_vlan_limit.h"
#include "gpon_vlan_match.h"
#include "support/card_xml.h"

namespace
{

using namespace test_support;

TEST(VlanLimit, APortThatWentOverStaysOver)
{
    VlanCounters table;
    for (int i = 1; i <= 20; ++i) {
        EXPECT_EQ(check_vlan_counter(1, table), 0) << i;
    }
    EXPECT_EQ(check_vlan_counter(1, table), -1);
    EXPECT_EQ(check_vlan_counter(2, table), 0);
    EXPECT_EQ(check_vlan_counter(1, table), -1);
}

TEST(VlanMatch, ConflictsDoNotDependOnTheOrder)
{
    struct Match {
        const char *vlan_id;
        const char *cos;
    };
    struct Case {
        Match a;
        Match b;
        bool conflict;
    };
    // The golden cases show the others.
    for (const Case &pair : {
             Case{{"any", "any"}, {"100", "any"}, true},
             Case{{"any", "any"}, {"any", "3"}, true},
             Case{{"any", "5"}, {"200", "5"}, true},
             Case{{"100", "any"}, {"100", "2"}, true},
             Case{{"any", "3"}, {"100", "any"}, false},
             Case{{"Any", "any"}, {"100", "3"}, false},
         }) {
        for (const auto &[stored, added] : {std::pair{pair.a, pair.b}, std::pair{pair.b, pair.a}}) {
            VlanMatches matches;
            EXPECT_EQ(check_vlan_match(1, stored.vlan_id, stored.cos, matches), 0);
            EXPECT_EQ(check_vlan_match(2, added.vlan_id, added.cos, matches), 0);
            EXPECT_EQ(check_vlan_match(1, added.vlan_id, added.cos, matches),
                      pair.conflict ? -1 : 0)
                << stored.vlan_id << "/" << stored.cos << " beside " << added.vlan_id << "/"
                << added.cos;
            EXPECT_THAT(matches, testing::SizeIs(pair.conflict ? 2 : 3));
        }
    }
}

class VlanMappings : public CardTest
{
protected:
    static constexpr const char *kMapping =
        "/config/profile/gpon/service-profile{home}/vlan-mapping{m}";

    void given_mappings(const std::string &mappings)
    {
        given("", named("profile/gpon/service-profile", "home", mappings));
    }
    static std::string mapping(const std::string &name, const std::string &ports)
    {
        return named("vlan-mapping", name,
                     ports + xml("match/outer", xml("vlan-id", "100") + xml("cos", "3")));
    }
    const std::string kEthernet = xml("uni/ethernet", "1");
    const std::string kVeip = xml("veip/veip");
};

TEST_F(VlanMappings, WithBothKindsOfPortsAreOnTheEthernetPorts)
{
    given_mappings(mapping("m", kEthernet + kVeip) + mapping("n", kVeip));
    EXPECT_EQ(ask(validate_vlan_match, kMapping), accepted());
    std::string mappings = mapping("m", "");
    for (int i = 0; i < 20; ++i) {
        mappings += mapping(std::to_string(i) + "e", kEthernet + kVeip) +
                    mapping(std::to_string(i) + "v", kVeip);
    }
    given_mappings(mappings);
    EXPECT_EQ(ask(validate_vlan_limit, kMapping), accepted());
}

TEST_F(VlanMappings, ShareTheNumberOfTheVeipWithEthernetPort127)
{
    client().ethernet_port = 127;
    given_mappings(mapping("m", kEthernet) + mapping("n", kVeip));
    EXPECT_EQ(ask(validate_vlan_match, kMapping).result, CONFD_ERR);
    std::string mappings = mapping("m", "");
    for (int i = 0; i < 21; ++i) {
        mappings += mapping(std::to_string(i), i < 10 ? kEthernet : kVeip);
    }
    given_mappings(mappings);
    EXPECT_EQ(ask(validate_vlan_limit, kMapping).result, CONFD_ERR);
}

TEST_F(VlanMappings, WithoutPortsAreNotCounted)
{
    std::string mappings = mapping("m", "");
    for (int i = 0; i < 21; ++i) {
        mappings += mapping(std::to_string(i), "");
    }
    given_mappings(mappings);
    EXPECT_EQ(ask(validate_vlan_limit, kMapping), accepted());
}

} // namespace
