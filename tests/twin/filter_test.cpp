/** Filters, on the examples of RFC 6241, section 6.4, and on cards. */
#include "support/golden_case.h"
#include "support/model.h"
#include "twin/context.h"

#include "twin/masking.h"
#include "twin/subtree_filter.h"

#include <gmock/gmock.h>

using namespace host::twin;
using test_support::print;
using test_support::squeezed;

namespace
{

constexpr const char *kUsersModule = R"(module users {
  yang-version 1.1; namespace "http://example.com/schema/1.2/config"; prefix u;
  container top { container users { list user { key name;
    leaf name { type string; } leaf type { type string; } leaf full-name { type string; }
    container company-info { leaf dept { type uint8; } leaf id { type uint8; } } } } } })";
constexpr const char *kStatsModule = R"(module stats {
  yang-version 1.1; namespace "http://example.com/schema/1.2/stats"; prefix t;
  import ietf-yang-metadata { prefix md; }
  md:annotation ifName { type string; }
  container top { config false; container interfaces { list interface {
    leaf ifInOctets { type uint32; } leaf ifOutOctets { type uint32; } } } } })";

const char *const kData = R"(
<top xmlns="http://example.com/schema/1.2/config">
  <users>
    <user>
      <name>root</name>
      <type>superuser</type>
      <full-name>Charlie Root</full-name>
      <company-info>
        <dept>1</dept>
        <id>1</id>
      </company-info>
    </user>
    <user>
      <name>fred</name>
      <type>admin</type>
      <full-name>Fred Flintstone</full-name>
      <company-info>
        <dept>2</dept>
        <id>2</id>
      </company-info>
    </user>
    <user>
      <name>barney</name>
      <type>admin</type>
      <full-name>Barney Rubble</full-name>
      <company-info>
        <dept>2</dept>
        <id>3</id>
      </company-info>
    </user>
  </users>
</top>)";
const char *const kStats = R"(
<top xmlns="http://example.com/schema/1.2/stats">
  <interfaces>
    <interface xmlns:t="http://example.com/schema/1.2/stats" t:ifName="eth0">
      <ifInOctets>45621</ifInOctets>
      <ifOutOctets>774344</ifOutOctets>
    </interface>
    <interface xmlns:t="http://example.com/schema/1.2/stats" t:ifName="eth1">
      <ifInOctets>1</ifInOctets>
    </interface>
  </interfaces>
</top>)";

std::string users(const std::string &inside)
{
    return "<top xmlns=\"http://example.com/schema/1.2/config\"><users>" + inside +
           "</users></top>";
}

const std::string kFred = "<user><name>fred</name><type>admin</type>"
                          "<full-name>Fred Flintstone</full-name>"
                          "<company-info><dept>2</dept><id>2</id></company-info></user>";

class Rpcs
{
public:
    /** The filter as the server gets it: in an RPC that libyang has parsed. */
    SubtreeFilter filter(const std::string &inside)
    {
        const std::string rpc =
            "<rpc message-id='101' xmlns='urn:ietf:params:xml:ns:netconf:base:1.0'><get>"
            "<filter type='subtree'>" +
            inside + "</filter></get></rpc>";
        ly_in *input = nullptr;
        EXPECT_EQ(ly_in_new_memory(rpc.c_str(), &input), LY_SUCCESS);
        lyd_node *envelope = nullptr;
        lyd_node *get = nullptr;
        EXPECT_EQ(lyd_parse_op(m_context.get(), nullptr, input, LYD_XML, LYD_TYPE_RPC_NETCONF,
                               &envelope, &get),
                  LY_SUCCESS)
            << rpc;
        ly_in_free(input, 0);
        const Tree owned_envelope(envelope);
        const Tree owned(get);
        return SubtreeFilter::from(lyd_child(get));
    }

    std::string select(const std::string &data, const std::string &inside)
    {
        const Tree tree = test_support::parse_data(m_context.get(), data);
        return print(filter(inside).select(tree.get()).copy(tree.get()).get());
    }

private:
    host::twin::ServerContext m_context = test_support::make_context({kUsersModule, kStatsModule});
};

struct Case {
    const char *name;
    std::string data;
    std::string filter;
    std::string selected;
};

TEST(SubtreeFilter, SelectsAsTheRfcTells)
{
    const std::string all = squeezed(kData);
    const std::string eth0 = squeezed(kStats).substr(0, squeezed(kStats).find("</interface>")) +
                             "</interface></interfaces></top>";
    const Case cases[] = {
        {"6.4.2 empty filter", kData, "\n", ""},
        {"6.4.3 the entire subtree", kData, users(""), all},
        {"6.4.3 the same by its entries", kData, users("<user/>"), all},
        {"6.4.4 all names", kData, users("<user><name/></user>"),
         users("<user><name>root</name></user><user><name>fred</name></user>"
               "<user><name>barney</name></user>")},
        {"6.4.5 one entry", kData, users("<user><name>fred</name></user>"), users(kFred)},
        {"6.4.6 elements of an entry", kData,
         users("<user><name>fred</name><type/><full-name/></user>"),
         users("<user><name>fred</name><type>admin</type><full-name>Fred Flintstone</full-name>"
               "</user>")},
        {"6.4.7 multiple subtrees", kData,
         users("<user><name>root</name><company-info/></user>"
               "<user><name>fred</name><company-info><id/></company-info></user>"
               "<user><name>barney</name><type>superuser</type>"
               "<company-info><dept/></company-info></user>"),
         users("<user><name>root</name><company-info><dept>1</dept><id>1</id></company-info></user>"
               "<user><name>fred</name><company-info><id>2</id></company-info></user>")},
        {"6.4.8 attributes", kStats,
         "<t:top xmlns:t=\"http://example.com/schema/1.2/stats\"><t:interfaces>"
         "<t:interface t:ifName=\"eth0\"/></t:interfaces></t:top>",
         eth0},
        {"an attribute without the namespace", kStats,
         "<top xmlns=''><interfaces><interface ifName='eth0'/></interfaces></top>", ""},
        {"any namespace", kData,
         "<top xmlns=''><users><user><name>fred</name></user></users></top>", users(kFred)},
        {"an unknown namespace", kData, "<top xmlns='urn:none'><users/></top>", ""},
        {"an unknown node", kData, users("<group/>"), ""},
        {"blanks around a value", kData, users("<user><name>\n fred </name></user>"), users(kFred)},
        {"blanks alone select", kData, "<top xmlns=''><users> \n </users></top>", all},
        {"a value in another form", kData,
         users("<user><company-info><id> 02 </id><dept/></company-info></user>"),
         users("<user><name>fred</name><company-info><dept>2</dept><id>2</id></company-info>"
               "</user>")},
        {"a node selected twice", kData,
         users("<user><name>fred</name><type/></user><user><name>fred</name></user>"),
         users(kFred)},
        {"two values of which one does not match", kData,
         users("<user><name>fred</name><type>superuser</type></user>"), ""},
        {"a value of a missing leaf", kData, users("<user><shoe-size>44</shoe-size><name/></user>"),
         ""},
        {"no data", "", users(""), ""}};
    Rpcs rpcs;
    for (const auto &one : cases) {
        EXPECT_EQ(rpcs.select(squeezed(one.data), one.filter), squeezed(one.selected)) << one.name;
    }
}

/** On a card, of another context than the filter's. */
class CardFilter : public testing::Test
{
protected:
    static const lyd_node *card()
    {
        static const auto golden = test_support::read_golden_case(
            test_support::schema(), std::string(GOLDEN_CASES) + "/full-card");
        return golden.running.root();
    }
};

TEST_F(CardFilter, SelectsWhatXPathDoes)
{
    const struct {
        const char *inside; /**< Of <config>. */
        const char *xpath;
    } cases[] = {
        {"<service-port/>", "/config/service-port"},
        {"<service-port><id>7</id></service-port>", "/config/service-port[id='7']"},
        {"<service-port><id>7</id><gpon><id/></gpon></service-port>",
         "/config/service-port[id='7']/gpon/id"},
        {"<interface><gpon><port-id>3</port-id><onu><onu-id>5</onu-id></onu></gpon></interface>",
         "/config/interface/gpon[port-id='3']/onu[onu-id='5']"
         "|/config/interface/gpon[port-id='3']/port-id"},
        {"<profile><gpon><line-profile><name/></line-profile></gpon></profile>",
         "/config/profile/gpon/line-profile/name"},
        {"<interface><gpon><port-id>99</port-id></gpon></interface>",
         "/config/interface/gpon[port-id='99']"}};
    Rpcs rpcs;
    for (const auto &one : cases) {
        const auto filter = rpcs.filter("<config xmlns='urn:olt:gpon:base'>" +
                                        std::string(one.inside) + "</config>");
        const auto by_filter = filter.select(card()).copy(card());
        const auto by_xpath = select_xpath(card(), one.xpath).copy(card());
        EXPECT_EQ(print(by_filter.get()), print(by_xpath.get())) << one.xpath;
    }
    EXPECT_EQ(print(select_xpath(card(), "/config").copy(card()).get()), print(card()));
    EXPECT_THROW(select_xpath(card(), "/config["), FilterError);
    EXPECT_THROW(select_xpath(card(), "count(/config)"), FilterError);
}

/** What is masked stands behind its siblings. */
TEST(Masking, HidesSecretsAndNothingElse)
{
    const auto card = [](const std::string &password, const std::string &sip_password) {
        return "<config xmlns=\"urn:olt:gpon:base\"><profile><gpon><tr069-acs-profile>"
               "<name>acs</name><username>password</username><password>" +
               sip_password +
               "</password></tr069-acs-profile></gpon></profile><interface><gpon>"
               "<chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>3</port-id><onu>"
               "<onu-id>5</onu-id><auth-method><password>" +
               password + "</password></auth-method></onu></gpon></interface></config>";
    };
    const auto tree =
        engine::Datastore::parse(test_support::schema(), {"card", card("0123456789", "$0$secret")});
    const Masking masking(*test_support::schema());
    EXPECT_TRUE(masking.has_secrets(tree.root()));
    masking.mask(tree.root());
    EXPECT_FALSE(masking.has_secrets(tree.root()));
    EXPECT_EQ(print(tree.root()), card("***", "***"));
    for (const char *edit :
         {"<password>***</password>", "<b:pppoe-password>***</b:pppoe-password>"}) {
        EXPECT_TRUE(masking.is_masked(edit)) << edit;
    }
    for (const char *edit : {"", "<password>****</password>", "<description>***</description>"}) {
        EXPECT_FALSE(masking.is_masked(edit)) << edit;
    }
}

} // namespace
