#include "card_xml.h"
#include "fixture.h"

#include "onu_gateway.h"

namespace
{

using testing::ElementsAre;

const Outcome kOtherNetwork = rejected("Onu and Gateway IP addresses must be in the same network.");

std::string onu(const std::string &management)
{
    return card_xml::link(3, card_xml::onu(5, management));
}

/** An ONU with its own address; an empty text leaves a leaf out. */
std::string onu(const std::string &address, const std::string &gateway)
{
    const auto leaf = [](const char *tag, const std::string &value) {
        return value.empty() ? "" : card_xml::element(tag, value);
    };
    return onu(card_xml::element("management",
                                 leaf("address", address) + leaf("default-gateway", gateway)));
}

class OnuGateway : public CardTest
{
protected:
    static constexpr const char *kManagement = "/config/interface/gpon{1 1 3}/onu{5}/management";

    Outcome ask_onu() { return ask(validate_onu_gateway_ip, kManagement); }
};

TEST_F(OnuGateway, the_prefix_counts_from_the_most_significant_bit)
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

TEST_F(OnuGateway, lies_in_the_network_of_the_onu)
{
    struct Case {
        const char *address;
        const char *gateway;
        Outcome outcome;
    };
    for (const Case &onu_and_gateway : {
             Case{"10.1.1.5/24", "10.1.1.1", accepted()},
             Case{"10.1.1.5/24", "10.1.2.1", kOtherNetwork},
             Case{"10.1.1.5/24", "", rejected("")},
             Case{"", "10.1.1.1", rejected("")},
         }) {
        given("", onu(onu_and_gateway.address, onu_and_gateway.gateway));
        EXPECT_EQ(ask_onu(), onu_and_gateway.outcome)
            << onu_and_gateway.address << " and " << onu_and_gateway.gateway;
        expect_nothing_held();
    }
    EXPECT_THAT(trace_lines(), testing::IsEmpty());
}

TEST_F(OnuGateway, is_read_from_the_candidate)
{
    given(onu("10.1.1.5/24", "10.1.1.1"), onu("10.1.2.5/24", "10.1.1.1"));
    EXPECT_EQ(ask_onu(), kOtherNetwork);

    given(onu("10.1.2.5/24", "10.1.1.1"), onu(""));
    EXPECT_EQ(ask_onu(), accepted());
    EXPECT_THAT(engine::Hooks::instance().counts(), ElementsAre(testing::Pair("maapi_exists", 1)))
        << "what is being deleted is not read";
}

TEST_F(OnuGateway, rejects_without_a_text_of_its_own_what_it_cannot_read)
{
    given("", onu("10.1.1.5/24", "10.1.2.1"));
    EXPECT_THAT(ask_with_each_call_failing(validate_onu_gateway_ip, kManagement),
                ElementsAre(kOtherNetwork, // Not knowing whether the node exists, it goes on.
                            rejected(""), rejected("")));
}

} // namespace
