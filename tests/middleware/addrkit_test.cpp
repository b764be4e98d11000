#include <addrkit/ipv4.h>

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <string>

namespace
{

struct in_addr network_order(const std::string &text)
{
    struct in_addr addr = {};
    EXPECT_EQ(inet_pton(AF_INET, text.c_str(), &addr), 1) << text;
    return addr;
}

addrkit::IPv4AddrMask prefix(const std::string &address, std::uint8_t bits)
{
    addrkit::IPv4AddrMask made(network_order(address));
    made.set_prefix_len(bits);
    return made;
}

TEST(IPv4Addr, ComparesAsNumberWhateverTheMachinesByteOrder)
{
    EXPECT_EQ(addrkit::IPv4Addr().addr_to_string(), "0.0.0.0");

    addrkit::IPv4Addr address(network_order("192.168.1.2"));
    EXPECT_EQ(address.addr_to_uint32(), 0xC0A80102U);
    address.set_addr(network_order("255.255.255.254"));
    EXPECT_EQ(address.addr_to_uint32(), 0xFFFFFFFEU);
    EXPECT_EQ(address.addr_to_string(), "255.255.255.254");
}

TEST(IPv4AddrMask, KeepsTheAddressAsItWasSet)
{
    EXPECT_EQ(prefix("192.168.1.77", 24).to_string(), "192.168.1.77/24");
    EXPECT_EQ(prefix("192.168.1.77", 24).addr_to_uint32(), 0xC0A8014DU);
    EXPECT_EQ(prefix("10.0.0.1", 0).to_string(), "10.0.0.1/0");
    EXPECT_EQ(addrkit::IPv4AddrMask(network_order("10.0.0.1")).prefix_len(), 32);
    EXPECT_EQ(prefix("10.0.0.1", 33).prefix_len(), 32) << "more than 32 counts as 32";
}

TEST(IPv4AddrMask, OverlapsWhenOnePrefixContainsTheOther)
{
    const struct {
        addrkit::IPv4AddrMask a, b;
        bool overlap;
    } cases[] = {
        {prefix("192.168.1.1", 24), prefix("192.168.1.200", 24), true},
        {prefix("192.168.1.1", 24), prefix("192.168.2.1", 24), false},
        {prefix("192.168.1.1", 23), prefix("192.168.0.1", 24), true},
        {prefix("192.168.1.1", 23), prefix("192.168.2.1", 24), false},
        {prefix("10.0.0.1", 32), prefix("10.0.0.1", 32), true},
        {prefix("10.0.0.1", 32), prefix("10.0.0.2", 32), false},
        {prefix("10.0.0.1", 31), prefix("10.0.0.0", 32), true},
        {prefix("127.255.255.255", 1), prefix("128.0.0.0", 1), false},
        {prefix("1.2.3.4", 0), prefix("250.0.0.1", 32), true},
        {prefix("1.2.3.4", 0), prefix("250.0.0.1", 0), true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.a.to_string() + " and " + c.b.to_string());
        EXPECT_EQ(c.a.Overlap(c.b), c.overlap);
        EXPECT_EQ(c.b.Overlap(c.a), c.overlap);
    }
}

} // namespace
