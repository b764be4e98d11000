#include "fixture.h"

#include "onu_gateway.h"
#include "support/card_xml.h"

namespace
{

TEST(OnuGateway, PrefixCountsFromTheMostSignificantBit)
{
    struct Case {
        std::uint32_t address;
        std::uint32_t gateway;
        int prefix_len;
        int result;
    };
    for (const Case &pair : {
             Case{0x0a010105, 0xf5fefefa, 0, 0},
             Case{0x7fffffff, 0x80000000, 0, 0},
             Case{0x7fffffff, 0x80000000, 1, -1},
             Case{0x80000000, 0xffffffff, 1, 0},
             Case{0x0a010105, 0x0affffff, 8, 0},
             Case{0x0a010105, 0x0affffff, 9, -1},
             Case{0x0a010105, 0x0a010104, 31, 0},
             Case{0x0a010105, 0x0a010104, 32, -1},
             Case{0x0a010105, 0x0a010105, 32, 0},
         }) {
        EXPECT_EQ(
            chk_same_net(pair.address, pair.gateway, static_cast<std::int8_t>(pair.prefix_len)),
            pair.result)
            << std::hex << pair.address << " and " << pair.gateway << std::dec << " /"
            << pair.prefix_len;
    }
}

class OnuGatewayCheck : public CardTest
{
};

TEST_F(OnuGatewayCheck, DoesNotReadWhatIsBeingDeleted)
{
    given("", test_support::xml("interface", test_support::link(3, test_support::onu(5))));
    EXPECT_EQ(ask(validate_onu_gateway_ip, "/config/interface/gpon{1 1 3}/onu{5}/management"),
              accepted());
    EXPECT_THAT(engine::Hooks::instance().counts(),
                testing::ElementsAre(testing::Pair("maapi_exists", 1)));
}

} // namespace
