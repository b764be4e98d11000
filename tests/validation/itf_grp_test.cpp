#include "fixture.h"

#include "gpon_itf_grp_validation.h"
#include "support/card_xml.h"

namespace
{

using namespace test_support;

class InterfaceGrouping : public CardTest
{
};

TEST_F(InterfaceGrouping, RejectsAPortWithoutAName)
{
    const std::string wans = "/config/profile/gpon/rg-profile{home}/wan-ip-connection";
    given("", named("profile/gpon/rg-profile", "home",
                    named("wan-ip-connection", "a", xml("itf-grouping/ports/port", "eth1"))));
    for (const int value : {6, -1}) {
        client().port_value = value;
        PortUses uses = {{value, 0}};
        engine::Hooks::instance().fail_call(6, CONFD_ERR_NOEXISTS); // The VLAN of the port.
        forget_trace();
        EXPECT_EQ(take_outcome(check_port_vlan(sock(), tctx(), uses, wans)), rejected(""));
        EXPECT_THAT(trace(12),
                    testing::ElementsAre("Port value " + std::to_string(value) + " has no name."));
    }
}

} // namespace
