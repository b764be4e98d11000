#include "fixture.h"

#include "gpon_onu_password_valid.h"
#include "support/card_xml.h"

namespace
{

using namespace test_support;

class OnuUniqueness : public CardTest
{
protected:
    static constexpr const char *kOnus = "/config/interface/gpon{1 1 3}/onu";
};

TEST_F(OnuUniqueness, ReportsEveryEntryOfARepeatedValue)
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

TEST_F(OnuUniqueness, FilesWhatTheMethodCallsFor)
{
    const auto credentials = [](int id, const std::string &serial, const std::string &password) {
        return onu(id,
                   xml("auth-method", xml("serial-number", serial) + xml("password", password)));
    };
    given("", xml("interface", link(3, credentials(1, "abCDef01ab", "abCDef01ab") +
                                           credentials(2, "abCd", "") + onu(4))));
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

TEST_F(OnuUniqueness, KeepsASerialNumberThatIsShorterThanItsVendor)
{
    given("");
    client().leaf_text = "ab";
    OnuCredentials values;
    ProfileOnuSerialPassword(sock(), tctx(), values, "3", "1", "", "serial-number", 0);
    EXPECT_THAT(values, testing::ElementsAre(testing::Pair("ab", "interface gpon 3 onu 1")));
}

TEST_F(OnuUniqueness, ReadsTheMethodOfTheChassisAndSlotInTheKeypath)
{
    given("");
    confd_hkeypath_t keypath = keypath_of(kOnus);
    CONFD_SET_UINT32(&keypath.v[1][0], 3);
    CONFD_SET_UINT32(&keypath.v[1][1], 7);
    std::vector<ClientCall> calls;
    client().record = &calls;
    EXPECT_EQ(getAuthMethod(sock(), tctx(), &keypath), 0);
    EXPECT_EQ(calls.back().text, "maapi_get_enum_value_elem /config/gpon{3/7}/onu-auth-method");
    engine::free_keypath(keypath);
}

TEST_F(OnuUniqueness, NeedsATransactionAndAKeypath)
{
    given("");
    confd_hkeypath_t keypath{};
    EXPECT_EQ(validate_onu_pwd_sn_unique(sock(), nullptr, &keypath, nullptr), -1);
    EXPECT_EQ(take_outcome(validate_onu_pwd_sn_unique(sock(), tctx(), nullptr, nullptr)),
              rejected(""));
}

} // namespace
