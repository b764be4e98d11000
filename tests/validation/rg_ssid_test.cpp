#include "fixture.h"

#include "card_xml.h"
#include "gpon_rg_profile_validation.h"

namespace
{

using namespace card_xml;
using testing::Contains;
using testing::ElementsAre;

const std::string kWlans = "/config/profile/gpon/rg-profile{home}/wlan";
const std::string kAccessFailed = "Failed accessing confd data.";
const std::string kNotConfigured = "must configure one of: auto, custom";
const std::string kSameSsid = "There are two or more WLANs with the same SSID. SSID must be unique "
                              "within the RG profile.";

std::string wlan(int id, const std::string &ssid)
{
    return element("wlan", element("id", std::to_string(id)) + element("ssid", ssid));
}
std::string custom(const std::string &ssid)
{
    return element("custom", ssid);
}
std::string composed(const std::string &prefix, const std::string &suffix)
{
    return element("auto",
                   "<onu-serial-number/>" + element("prefix", prefix) + element("suffix", suffix));
}

class RgSsid : public CardTest
{
protected:
    void given_wlans(const std::string &wlans)
    {
        given(profiles(named("rg-profile", "home", wlans)));
        forget_trace();
    }
    Outcome ask_wlans() { return ask(rg_profile_ssid_unique_check_func, kWlans); }

    /** What the validator leaves is released with the transaction. */
    void expect_left(int cursors)
    {
        EXPECT_EQ(engine::Hooks::instance().held.cursors, cursors);
        begin_again();
        expect_nothing_held();
    }
    static std::string ssid_line(const std::string &ssid)
    {
        return "SSID is (" + ssid + ") RG-Profile (" + kWlans + ") wlan.";
    }
    static std::string error_line(const std::string &reason)
    {
        return "There was an error (" + reason + ") checking if SSID is unique in rg-profile.";
    }
};

TEST_F(RgSsid, logs_each_name_as_it_is_compared)
{
    given_wlans(wlan(2, composed("A-", "-5G")) + wlan(1, custom("Home%s")));
    EXPECT_EQ(ask_wlans(), accepted());
    EXPECT_THAT(trace(12), ElementsAre(ssid_line("Home%s"), ssid_line("A-KQTA12345678-5G")));
    EXPECT_THAT(trace(10), ElementsAre("Checking if SSID is unique for (home) RG-Profile"));
    expect_left(0);
}

TEST_F(RgSsid, a_repeated_name_leaves_the_cursor_to_the_transaction)
{
    given_wlans(wlan(1, custom("Home")) + wlan(2, custom("Home")) + wlan(3, custom("Third")));
    EXPECT_EQ(ask_wlans(), rejected(kSameSsid));
    EXPECT_THAT(trace(12), ElementsAre(ssid_line("Home"), ssid_line("Home"),
                                       testing::MatchesRegex("There was an error \\(.*\\) checking "
                                                             "if SSID is unique in rg-profile.")));
    expect_left(1);
}

TEST_F(RgSsid, a_wlan_without_name_leaves_the_cursor_one_entry_further)
{
    given_wlans(wlan(1, "") + wlan(2, custom("Home")));
    EXPECT_EQ(ask_wlans(), rejected(kNotConfigured));
    EXPECT_EQ(engine::Hooks::instance().counts().at("maapi_get_next"), 2U);
    EXPECT_THAT(trace(10), Contains("SSID not configured"));
    expect_left(1);
}

TEST_F(RgSsid, a_failing_read_of_a_custom_name)
{
    struct Case {
        int failing_call;
        Outcome outcome;
        int cursors_left;
    };
    given_wlans(wlan(1, custom("Home")));
    for (const Case &read : {Case{1, accepted(), 0},               // the cursor
                             Case{2, accepted(), 0},               // its first entry
                             Case{3, rejected(kNotConfigured), 1}, // whether custom exists
                             Case{4, rejected(kAccessFailed), 0},  // custom
                             Case{5, accepted(), 0}}) {            // the next entry
        forget_trace();
        engine::Hooks::instance().fail_call(read.failing_call, CONFD_ERR_OS);
        EXPECT_EQ(ask_wlans(), read.outcome) << "call " << read.failing_call;
        EXPECT_TRUE(engine::Hooks::instance().has_failed());
        if (read.failing_call == 4) {
            EXPECT_THAT(trace(12), ElementsAre(error_line("forced failure")));
        }
        expect_left(read.cursors_left);
    }
}

TEST_F(RgSsid, a_failing_read_of_a_composed_name_leaves_its_part_out)
{
    struct Case {
        int failing_call;
        const char *ssid;
    };
    given_wlans(wlan(1, composed("A-", "-5G")));
    // Calls 3 and 4 ask for custom and the serial number.
    for (const Case &read :
         {Case{5, "KQTA12345678-5G"}, Case{6, "KQTA12345678-5G"}, Case{7, "A-KQTA12345678"},
          Case{8, "A-KQTA12345678"}, Case{3, "A-KQTA12345678-5G"}}) {
        forget_trace();
        engine::Hooks::instance().fail_call(read.failing_call, CONFD_ERR_OS);
        EXPECT_EQ(ask_wlans(), accepted());
        EXPECT_THAT(trace(12), ElementsAre(ssid_line(read.ssid))) << "call " << read.failing_call;
        expect_left(0);
    }
}

} // namespace
