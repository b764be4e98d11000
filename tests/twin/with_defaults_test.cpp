/** Modes of defaults, on the example of RFC 6243, appendix A. Its module has `ok` where its data
 * have `up`; here both have `up`. */
#include "twin/context.h"

#include "twin/with_defaults.h"

#include <gmock/gmock.h>

using namespace host::twin;

namespace
{

constexpr const char *kModule = R"(module example {
  namespace "http://example.com/ns/interfaces"; prefix exam;
  typedef status-type { type enumeration { enum up; enum 'waking up';
    enum 'not feeling so good'; enum 'better check it out'; enum 'better call for help'; }
    default up; }
  container interfaces { list interface { key name;
    leaf name { type string { length "1 .. max"; } }
    leaf mtu { type uint32; default 1500; }
    leaf status { config false; type status-type; } } } })";

/** eth1's MTU is the server's, and eth3 was given one that equals the default. */
constexpr const char *kData = R"(
<interfaces xmlns="http://example.com/ns/interfaces">
  <interface><name>eth0</name><mtu>8192</mtu><status>up</status></interface>
  <interface><name>eth1</name><status>up</status></interface>
  <interface><name>eth2</name><mtu>9000</mtu><status>not feeling so good</status></interface>
  <interface><name>eth3</name><mtu>1500</mtu><status>waking up</status></interface>
</interfaces>)";

const std::string kTag =
    " xmlns:wd=\"urn:ietf:params:xml:ns:netconf:default:1.0\" wd:default=\"true\"";

/** The data in one mode, from its interfaces. */
std::string interfaces(const std::string &eth0, const std::string &eth1, const std::string &eth2,
                       const std::string &eth3)
{
    std::string xml = "<interfaces xmlns=\"http://example.com/ns/interfaces\">";
    int number = 0;
    for (const auto &inside : {eth0, eth1, eth2, eth3}) {
        xml +=
            "<interface><name>eth" + std::to_string(number++) + "</name>" + inside + "</interface>";
    }
    return xml + "</interfaces>";
}

TEST(WithDefaults, PrintsAsTheRfcTells)
{
    const std::string up = "<status>up</status>";
    const std::string bad = "<status>not feeling so good</status>";
    const std::string waking = "<status>waking up</status>";
    const struct {
        const char *mode;
        std::string printed;
    } cases[] = {
        {"report-all", interfaces("<mtu>8192</mtu>" + up, "<mtu>1500</mtu>" + up,
                                  "<mtu>9000</mtu>" + bad, "<mtu>1500</mtu>" + waking)},
        // The example's server is one of basic mode trim, and tags more. "If the server's basic
        // mode is 'explicit', then only data nodes that are not explicitly set data are tagged."
        {"report-all-tagged", interfaces("<mtu>8192</mtu>" + up, "<mtu" + kTag + ">1500</mtu>" + up,
                                         "<mtu>9000</mtu>" + bad, "<mtu>1500</mtu>" + waking)},
        {"trim", interfaces("<mtu>8192</mtu>", "", "<mtu>9000</mtu>" + bad, waking)},
        {"explicit", interfaces("<mtu>8192</mtu>" + up, up, "<mtu>9000</mtu>" + bad,
                                "<mtu>1500</mtu>" + waking)}};
    const auto context = test_support::make_context({kModule});
    const Tree tree = test_support::parse_data(context.get(), kData);
    for (const auto &one : cases) {
        const auto mode = with_defaults_of(std::string_view(one.mode));
        ASSERT_TRUE(mode) << one.mode;
        EXPECT_STREQ(name_of(*mode), one.mode);
        EXPECT_EQ(printed(tree.get(), *mode), one.printed) << one.mode;

        lyd_node *rpc = nullptr;
        lyd_new_path(nullptr, context.get(),
                     "/ietf-netconf:get-config/ietf-netconf-with-defaults:with-defaults", one.mode,
                     0, &rpc);
        const Tree owned(rpc);
        EXPECT_EQ(with_defaults_of(rpc), *mode) << one.mode;
    }
    EXPECT_FALSE(with_defaults_of(std::string_view("all")));
}

} // namespace
