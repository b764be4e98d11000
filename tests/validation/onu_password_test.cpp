#include "card_xml.h"
#include "fixture.h"

#include "gpon_onu_password_valid.h"

namespace
{

using testing::ElementsAre;
using testing::Pair;

const std::string kPasswordHeader =
    "The ONU password must be unique per GPON interface.\n Repeated passwords:\n";
const std::string kSerialNumberHeader =
    "ONU serial number must be unique.\n Repeated serial numbers:\n";

std::string onu(int id, const std::string &serial_number, const std::string &password)
{
    return card_xml::onu(
        id, card_xml::element("auth-method", card_xml::element("serial-number", serial_number) +
                                                 card_xml::element("password", password)));
}

std::string method(const std::string &name)
{
    return "<gpon><card>1/1</card><onu-auth-method>" + name + "</onu-auth-method></gpon>";
}

/** Two ONUs of one link that have everything in common. */
std::string twins()
{
    return card_xml::link(3, onu(1, "ABCD0001", "rose") + onu(2, "ABCD0001", "rose"));
}

class OnuUniqueness : public CardTest
{
protected:
    static constexpr const char *kOnus = "/config/interface/gpon{1 1 3}/onu";

    Outcome ask_card() { return ask(validate_onu_pwd_sn_unique, kOnus); }

    const Outcome m_twin_serial_numbers =
        rejected(kSerialNumberHeader + "interface gpon 3 onu 1 serial-number: [ABCD0001]\n"
                                       "interface gpon 3 onu 2 serial-number: [ABCD0001]\n");
    const Outcome m_twin_passwords =
        rejected(kPasswordHeader + "interface gpon 3 onu 1 password: [rose]\n"
                                   "interface gpon 3 onu 2 password: [rose]\n");
};

TEST_F(OnuUniqueness, reports_every_entry_of_a_repeated_value)
{
    struct Case {
        OnuCredentials values;
        std::string report;
        int duplicate;
    };
    for (const Case &filed : {
             Case{{}, "", 0},
             Case{{{"b", "B"}, {"a", "A"}}, "", 0},
             Case{{{"b", "second"}, {"a", "A"}, {"b", "first"}},
                  "second x: [b]\nfirst x: [b]\n",
                  -1},
             Case{{{"b", "1"}, {"a", "2"}, {"b", "3"}, {"a", "4"}, {"b", "5"}},
                  "2 x: [a]\n4 x: [a]\n1 x: [b]\n3 x: [b]\n5 x: [b]\n",
                  -1},
             // The empty value repeats the nothing before it.
             Case{{{"", "A"}}, " x: []\nA x: []\n", -1},
             Case{{{"", "A"}, {"", "B"}}, " x: []\nA x: []\nB x: []\n", -1},
         }) {
        std::ostringstream report;
        std::int32_t duplicate = 0;
        evaluateOnuSerialPassword(report, filed.values, "x", &duplicate);
        EXPECT_EQ(report.str(), filed.report);
        EXPECT_EQ(duplicate, filed.duplicate);
    }
    std::ostringstream report;
    std::int32_t duplicate = -1;
    evaluateOnuSerialPassword(report, {{"a", "A"}}, "x", &duplicate);
    EXPECT_EQ(duplicate, -1) << "set by another call, and not cleared";
}

TEST_F(OnuUniqueness, files_what_the_method_calls_for)
{
    given("", card_xml::link(3, onu(1, "abCDef01ab", "abCDef01ab") + onu(2, "abCd", "") +
                                    card_xml::onu(4)));
    struct Case {
        const char *onu_id;
        const char *leaf;
        int method;
        std::vector<std::string> values;
    };
    for (const Case &filed : {
             Case{"1", "serial-number", 0, {"abCDEF01AB"}},
             Case{"1", "serial-number", 1, {"abCDEF01AB"}},
             Case{"1", "serial-number", 2, {}},
             Case{"1", "password", 0, {}},
             Case{"1", "password", 1, {}},
             Case{"1", "password", 2, {"abCDef01ab"}},
             Case{"2", "serial-number", 0, {"abCd"}},
             Case{"2", "password", 2, {""}},
             Case{"4", "serial-number", 0, {}},
             Case{"9", "password", 2, {}},
         }) {
        OnuCredentials values;
        const std::string id = filed.onu_id;
        ProfileOnuSerialPassword(sock(), tctx(), values, "3", id,
                                 std::string(kOnus) + "{" + id + "}/auth-method/", filed.leaf,
                                 filed.method);
        std::vector<std::string> texts;
        for (const auto &[value, location] : values) {
            texts.push_back(value);
            EXPECT_EQ(location, "interface gpon 3 onu " + id);
        }
        EXPECT_EQ(texts, filed.values)
            << "ONU " << id << ", " << filed.leaf << ", method " << filed.method;
    }
}

TEST_F(OnuUniqueness, takes_the_method_from_the_candidate)
{
    struct Case {
        std::string committed;
        std::string candidate;
        Outcome outcome;
    };
    for (const Case &card : {
             Case{"", "", m_twin_serial_numbers},
             Case{"", method("password"), m_twin_passwords},
             Case{method("password"), method("serial-number"), m_twin_serial_numbers},
             Case{method("password"), method("serial-number-and-password"), m_twin_serial_numbers},
         }) {
        given(card.committed, twins() + card.candidate);
        EXPECT_EQ(ask_card(), card.outcome) << card.committed << " " << card.candidate;
        expect_nothing_held();
    }
    given(twins());
    EXPECT_EQ(ask_card(), m_twin_serial_numbers);
    given(twins(), "");
    confd_hkeypath_t keypath = keypath_of("/config/interface/gpon");
    CONFD_SET_UINT32(&keypath.v[1][0], 1);
    CONFD_SET_UINT32(&keypath.v[1][1], 1);
    EXPECT_EQ(take_outcome(validate_onu_pwd_sn_unique(sock(), tctx(), &keypath, nullptr)),
              accepted())
        << "no interfaces are left";
    EXPECT_THAT(trace_lines(), testing::IsEmpty());
}

TEST_F(OnuUniqueness, names_the_links_in_the_order_of_their_numbers)
{
    const auto links = [](const std::string &inside) {
        std::string xml;
        for (const char *port : {"10", "9"}) {
            xml += "<gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>" +
                   std::string(port) + "</port-id>" + inside + "</gpon>";
        }
        return card_xml::element("interface", xml);
    };
    given("", links(onu(12, "ABCD0001", "rose") + onu(2, "ABCD0002", "rose")));
    EXPECT_EQ(ask(validate_onu_pwd_sn_unique, "/config/interface/gpon{1 1 9}/onu"),
              rejected(kSerialNumberHeader +
                       "interface gpon 9 onu 12 serial-number: [ABCD0001]\n"
                       "interface gpon 10 onu 12 serial-number: [ABCD0001]\n"
                       "interface gpon 9 onu 2 serial-number: [ABCD0002]\n"
                       "interface gpon 10 onu 2 serial-number: [ABCD0002]\n"));
}

TEST_F(OnuUniqueness, what_cannot_be_read_is_left_out)
{
    given("", twins() + method("password"));
    const Outcome &found = m_twin_passwords;
    EXPECT_THAT(ask_with_each_call_failing(validate_onu_pwd_sn_unique, kOnus),
                ElementsAre(m_twin_serial_numbers,  // The method: serial numbers are examined.
                            accepted(), accepted(), // Open the interfaces, the first one.
                            accepted(), accepted(), // Open its ONUs, the first one.
                            accepted(), accepted(), // Its password, the next ONU.
                            accepted(),             // Its password.
                            found, found, found,
                            found)); // The end and close, of ONUs and interfaces.
}

TEST_F(OnuUniqueness, needs_a_transaction_and_a_keypath_below_an_interface)
{
    given(twins());
    confd_hkeypath_t keypath = keypath_of(kOnus);
    EXPECT_EQ(validate_onu_pwd_sn_unique(sock(), nullptr, &keypath, nullptr), -1);
    EXPECT_EQ(take_outcome(validate_onu_pwd_sn_unique(sock(), tctx(), nullptr, nullptr)),
              rejected(""));

    const std::string place = "src/validation/gpon_onu_password_valid:[0-9]+: int32_t "
                              "getAuthMethod\\(int32_t, confd_trans_ctx\\*, confd_hkeypath_t\\*\\)";
    for (const int key : {1, 0}) {
        keypath.v[1][key].type = C_INT32;
        EXPECT_DEATH(getAuthMethod(sock(), tctx(), &keypath), place + ".*\\(&keypath->v\\[1\\]\\[" +
                                                                  std::to_string(key) +
                                                                  "\\]\\)->type == C_UINT32");
    }
}

} // namespace
