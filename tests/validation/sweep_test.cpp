/** Every rule with each of its client calls failing: whatever fails, a rule answers as it may, and
 *  leaves nothing behind. */
#include "fixture.h"

#include "engine/session/validation.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <set>

namespace
{

using engine::Answer;
using engine::Request;
using engine::Verdict;
using testing::Contains;

// ---- The card -----------------------------------------------------------------------------------

/** What changes stands as [before|after]. */
const std::string kCard = R"(<profile><gpon>
  <bandwidth-profile><name>fixed</name>
    <traffic><type-1><fixed>[1000|1001]</fixed></type-1></traffic></bandwidth-profile>
  <bandwidth-profile><name>mixed</name>
    <traffic><type-5><fixed>10</fixed><assured>20</assured><maximum>30</maximum></type-5></traffic>
  </bandwidth-profile>
  <line-profile><name>line</name>
    <tcont><id>1</id><bandwidth-profile>fixed</bandwidth-profile></tcont>
    <tcont><id>2</id><bandwidth-profile>mixed</bandwidth-profile></tcont>
    <gem><gem-id>1</gem-id><description>[old|new]</description></gem></line-profile>
  <service-profile><name>service</name>
    <vlan-mapping><name>lan</name><uni><ethernet>1</ethernet><ethernet>2</ethernet></uni>
      <match><outer><vlan-id>[10|11]</vlan-id><cos>any</cos></outer></match></vlan-mapping>
    <vlan-mapping><name>gateway</name><veip><veip/></veip>
      <match><outer><vlan-id>any</vlan-id><cos>3</cos></outer></match></vlan-mapping>
  </service-profile>
  <rg-profile><name>home</name>
    <wlan><id>1</id><ssid><custom>[Home|House]</custom></ssid></wlan>
    <wlan><id>2</id>
      <ssid><auto><onu-serial-number/><prefix>A</prefix><suffix>Z</suffix></auto></ssid></wlan>
    <wan-pppoe-connection><name>internet</name><itf-grouping>
      <ports><port>eth1</port></ports><ipv4-address>192.168.1.1/24</ipv4-address>
      <dhcp-server>true</dhcp-server><dhcp-server-address-pool>
        <start-address>192.168.1.2</start-address><end-address>192.168.1.9</end-address>
      </dhcp-server-address-pool></itf-grouping></wan-pppoe-connection>
    <wan-bridge-connection><name>tv</name><itf-grouping>
      <ports><port>eth2</port><vlan>10</vlan></ports><ipv4-address>192.168.2.1/24</ipv4-address>
    </itf-grouping></wan-bridge-connection></rg-profile>
  <rg-profile><name>other</name></rg-profile>
  <tr069-acs-profile><name>acs</name><password>$0$[old|new]</password></tr069-acs-profile>
  <sip-agent-profile><name>sip</name><register-expires>[60|90]</register-expires>
  </sip-agent-profile>
  <media-profile><name>media</name><packet-period>[10|20]</packet-period></media-profile>
</gpon></profile>
<interface>
  <gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>1</port-id>
    <downstream-fec>[false|true]</downstream-fec>
    <onu><onu-id>1</onu-id>
      <profile-references><line-profile>line</line-profile>
        <service-profile>service</service-profile></profile-references>
      <auth-method><serial-number>ABCD0000000[1|2]</serial-number></auth-method>
      <rg-profile>[other|home]</rg-profile><tr069-acs-profile>acs</tr069-acs-profile>
      <rg-override-parameters><pppoe-username>[old|new]</pppoe-username></rg-override-parameters>
      <pots><port>1</port><sip-agent-profile>sip</sip-agent-profile>
        <media-profile>media</media-profile></pots>
      <snmp><real-time/></snmp>
      <management><address>10.0.0.2/24</address>
        <default-gateway>10.0.0.[1|3]</default-gateway></management></onu>
    <onu><onu-id>2</onu-id>
      <profile-references><line-profile>line</line-profile></profile-references>
      <auth-method><serial-number>ABCD00000009</serial-number></auth-method>
      <snmp>[|<real-time/>]</snmp></onu></gpon>
  <gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>2</port-id></gpon>
  [<gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>3</port-id></gpon>|]
</interface>
<gpon><card>1/1</card>[|<rg-one-shot-prov/>]
  <pon-link><port>1</port></pon-link></gpon>)";

const std::string kServicePorts = R"(
<service-port><id>1</id>
  <gpon><id>1/1/1</id><onu><id>1</id><gem><gem-id>1</gem-id></gem></onu></gpon>
  <match><outer><vlan-id>[10|11]</vlan-id></outer></match><description>one</description>
</service-port>
<service-port><id>2</id>
  <gpon><id>1/1/1</id><onu><id>[1|2]</id><gem><gem-id>1</gem-id></gem></onu></gpon>
  <match><outer><vlan-id>any</vlan-id></outer></match></service-port>)";

std::string state(std::string xml, bool is_after)
{
    for (auto open = xml.find('['); open != std::string::npos; open = xml.find('[', open)) {
        const auto bar = xml.find('|', open);
        const auto close = xml.find(']', bar);
        const std::string chosen =
            is_after ? xml.substr(bar + 1, close - bar - 1) : xml.substr(open + 1, bar - open - 1);
        xml.replace(open, close - open + 1, chosen);
    }
    return xml;
}
std::string before(const std::string &xml)
{
    return state(xml, false);
}
std::string after(const std::string &xml)
{
    return state(xml, true);
}

// ---- The rules ----------------------------------------------------------------------------------

const std::string kSilent;
const std::string kNoConfd = "Failed accessing confd data.";
const std::string kNoTransaction = "Failed accessing transaction data.";
const std::string kNoLineProfile = "Line profile line doesn't not exist.";

/** What a rule answers about this card, and what it may say when a call fails. */
struct Rule {
    std::string key;
    int result; /**< When nothing fails. */
    std::vector<std::string>
        rejections;       /**< The empty one stands for a rejection without a text. */
    std::string warning;  /**< Empty: it never warns. */
    int cursors_left = 0; /**< At most, to be released with the transaction. */
    bool service_ports_go = false;
};

Rule accepts(const std::string &key, const std::vector<std::string> &rejections,
             int cursors_left = 0)
{
    return {key, CONFD_OK, rejections, "", cursors_left};
}

Rule warns(const std::string &key, const std::string &warning,
           const std::vector<std::string> &rejections = {kNoConfd})
{
    return {key, CONFD_VALIDATION_WARN, rejections, warning};
}

Rule warns_of_profile(const std::string &key, const std::string &list)
{
    return warns(key, "Change in " + list +
                          " configuration will result in temporary data loss for all ONUs using "
                          "this profile.");
}

std::vector<Rule> rules()
{
    std::vector<Rule> all = {
        accepts("onu_bw_check", {kSilent, kNoLineProfile}),
        accepts("ponlink_bw_check", {kSilent, kNoLineProfile}),
        accepts("onu_gateway_ip_check", {kSilent}),
        accepts("vlan_match_check", {kNoTransaction}),
        accepts("vlan_limit_check", {kNoTransaction}),
        accepts("onu_pwd_sn_unique_check", {}),
        accepts("tr069_profile_password_length_check", {"Invalid password length/size"}),
        accepts("rg_profile_ssid_unique_check", {kNoConfd, "must configure one of: auto, custom"},
                1),
        accepts("sp_gem_check",
                {kSilent, "Service-port [2] ONU [2] was not configured on interface gpon [1/1/1]",
                 "Service-port [2] gem [1] was not configured to onu [2]"}),
        accepts("service_port_global_validation", {kSilent}),
        accepts("onu_snmp_rt_warn", {kNoConfd}),
        accepts("itf_grp_validation", {kSilent}, 2),
        accepts("interface_validation", {kSilent}),
        warns_of_profile("line_confirmation_warning", "line-profile"),
        warns_of_profile("rg_profile_confirmation_warning", "rg-profile"),
        warns_of_profile("tr069_profile_confirmation_warning", "tr069-acs-profile"),
        warns_of_profile("sip_agent_profile_confirmation_warning", "sip-agent-profile"),
        warns_of_profile("voip_media_profile_confirmation_warning", "media-profile"),
        warns("fec_confirmation_warning", "The change in FEC configuration will result in "
                                          "temporary data loss for all users of this GPON link."),
        warns("one_shot_prov_check",
              "The rg-one-shot-prov configuration will not be applied automatically to all ONUs "
              "using rg-profile. You shall force rg-one-shot-prov provision using the command "
              "'rg-reprovision' available on the onu configuration tree.",
              {}),
        warns("rg_prof_one_shot_check",
              "The rg-profile will not be provisioned automatically for this onu due to "
              "rg-one-shot-prov feature enabled. You shall force rg-profile reprovision using the "
              "command 'rg-reprovision' available on the onu configuration tree."),
        warns("service_port_delete_all_warning_check",
              "All Service Ports are being removed causing traffic stop for all ONUs. Are you sure "
              "you want to proceed?",
              {}),
        {"config_modified_check",
         CONFD_ERR,
         {"Changing already committed profile is not allowed.",
          "Changing already committed service port is not allowed."},
         ""},
    };
    for (Rule &rule : all) {
        rule.service_ports_go = rule.key == "service_port_delete_all_warning_check";
    }
    return all;
}

// ---- The sweep ----------------------------------------------------------------------------------

struct Failure {
    std::uint64_t call = 0; /**< Counted from 1; 0: none fails. */
    int code = CONFD_OK;
    bool from_then_on = false;
};

std::ostream &operator<<(std::ostream &out, const Failure &failure)
{
    return out << "call " << failure.call << " fails with " << failure.code
               << (failure.from_then_on ? ", and all later ones" : "");
}

std::string text_of(FILE *file)
{
    std::string text;
    std::rewind(file);
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
        text += static_cast<char>(c);
    }
    return text;
}

/** Takes the one answer. */
class Listener : public engine::Observer
{
public:
    void after(std::size_t /*request*/, const Answer &given) override { answer = given; }
    Answer answer;
};

class Sweep : public CardTest
{
protected:
    void given_card_of(const Rule &rule)
    {
        const std::string candidate =
            rule.service_ports_go ? after(kCard) : after(kCard + kServicePorts);
        given(before(kCard + kServicePorts), test_support::checked_config(candidate));
    }

    /** The requests about a rule that the change calls for. */
    std::vector<Request> requests_of(const Rule &rule) const
    {
        auto requests = engine::plan(transaction());
        std::erase_if(requests, [&rule](const Request &r) { return r.point->opaque != rule.key; });
        return requests;
    }

    /** Asks the entry point about one request, in a transaction of its own. */
    Answer ask_rule(const Rule &rule, std::size_t request, const Failure &failure)
    {
        begin_again();
        forget_trace();
        auto &hooks = engine::Hooks::instance();
        EXPECT_TRUE(hooks.held.none()) << "after the end of the transaction before";
        Listener listener;
        hooks.fail_call(failure.call, failure.code, failure.from_then_on);
        engine::validate(transaction(), {requests_of(rule).at(request)}, "gpon_validation_check",
                         validate, tctx()->vcb_opaque, false, listener);
        hooks.fail_no_more();
        return listener.answer;
    }

    /** Whether the rule ends the process with a fault report: reading in bulk without the schema
     *  does, and is meant to. */
    bool ends_the_process(const Rule &rule, std::size_t request, const Failure &failure)
    {
        const std::unique_ptr<FILE, decltype(&std::fclose)> report(std::tmpfile(), &std::fclose);
        std::cout << std::flush;
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            dup2(fileno(report.get()), STDERR_FILENO);
            ask_rule(rule, request, failure);
            _exit(0);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status));
        if (status == 0) {
            return false;
        }
        EXPECT_EQ(WEXITSTATUS(status), 1);
        EXPECT_THAT(text_of(report.get()), testing::HasSubstr(" differs from expected ("));
        return true;
    }

    void expect_allowed(const Rule &rule, const Answer &answer)
    {
        switch (answer.result) {
        case CONFD_OK:
            EXPECT_EQ(answer.text, "");
            break;
        case CONFD_ERR:
            EXPECT_THAT(rule.rejections, Contains(answer.text));
            break;
        case CONFD_VALIDATION_WARN:
            EXPECT_EQ(answer.text, rule.warning);
            EXPECT_NE(rule.warning, "");
            break;
        default:
            ADD_FAILURE() << "result " << answer.result;
        }
    }

    void expect_released(const Rule &rule)
    {
        const auto &held = engine::Hooks::instance().held;
        EXPECT_EQ(held.queries, 0);
        EXPECT_EQ(held.query_results, 0);
        EXPECT_EQ(held.values, 0);
        EXPECT_LE(held.cursors, rule.cursors_left);
        EXPECT_EQ(open_sessions(), 0);
    }

    /** Lets call after call fail, until none is left. @return How many there were. */
    int sweep(const Rule &rule, std::size_t request, Failure failure);

    /** Asks without a failure first. @return How many calls could fail, over all kinds of failure.
     */
    int sweep(const Rule &rule, std::size_t request);

    int m_ends = 0; /**< Of the process, in the present sweep. */
    int m_all_ends = 0;
    bool m_may_end = false;
};

int Sweep::sweep(const Rule &rule, std::size_t request, Failure failure)
{
    m_ends = 0;
    for (failure.call = 1;; ++failure.call) {
        std::ostringstream what;
        what << rule.key << ", request " << request << ": " << failure;
        SCOPED_TRACE(what.str());
        if (m_may_end && ends_the_process(rule, request, failure)) {
            ++m_ends;
            ++m_all_ends;
            continue;
        }
        const Answer answer = ask_rule(rule, request, failure);
        expect_allowed(rule, answer);
        expect_released(rule);
        if (!engine::Hooks::instance().has_failed()) {
            return static_cast<int>(failure.call) - 1;
        }
    }
}

int Sweep::sweep(const Rule &rule, std::size_t request)
{
    Answer sound = ask_rule(rule, request, {});
    EXPECT_EQ(sound.result, rule.result) << rule.key << " " << sound.text;
    const auto looks_at_schema =
        static_cast<int>(sound.calls["confd_cs_node_cd"] + sound.calls["confd_max_object_size"]);
    m_may_end = sound.calls["confd_max_object_size"] != 0;
    int points = 0;
    for (const int code : {CONFD_ERR_OS, CONFD_ERR_NOEXISTS, CONFD_ERR_BADTYPE}) {
        points += sweep(rule, request, {0, code, false});
        EXPECT_EQ(m_ends, m_may_end ? looks_at_schema : 0) << rule.key;
        points += sweep(rule, request, {0, code, true});
    }
    return points;
}

TEST_F(Sweep, whatever_fails_a_rule_answers_as_it_may_and_leaves_nothing)
{
    set_num_manageable_ponlinks(2);
    set_num_onus_per_ponlink(1); // So that queries come in several chunks.
    std::set<std::string> keys_of_model;
    for (const auto &point : test_support::schema()->points()) {
        keys_of_model.insert(point.opaque);
    }
    int total = 0;
    for (const Rule &rule : rules()) {
        EXPECT_EQ(keys_of_model.erase(rule.key), 1U) << rule.key;
        given_card_of(rule);
        const std::size_t requests = requests_of(rule).size();
        EXPECT_GT(requests, 0U) << rule.key;
        int points = 0;
        for (std::size_t request = 0; request < requests; ++request) {
            points += sweep(rule, request);
        }
        std::cout << rule.key << ": " << points << " forced failures in " << requests
                  << (requests == 1 ? " request\n" : " requests\n");
        total += points;
    }
    EXPECT_TRUE(keys_of_model.empty()) << *keys_of_model.begin();
    std::cout << "all rules: " << total << " forced failures, of which " << m_all_ends
              << " end the process\n";
}

} // namespace
