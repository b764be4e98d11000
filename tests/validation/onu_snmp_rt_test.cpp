#include "fixture.h"

#include "gpon_onu_snmp_rt_confirm.h"

#include <stdexcept>

namespace
{

using testing::ElementsAre;
using testing::MatchesRegex;

class OnuSnmpRealTime : public CardTest
{
protected:
    Outcome ask_card() { return ask(onu_snmp_rt_confirmation, "/config/interface/gpon"); }
    Outcome ask_with(const std::string &count)
    {
        client().xpath_text = count;
        forget_trace();
        return ask_card();
    }
    static auto took()
    {
        return ElementsAre(MatchesRegex("Took [0-9]+ ms to check for SNMP real-time warning "
                                        "message\\."));
    }
};

TEST_F(OnuSnmpRealTime, warns_above_the_recommended_number)
{
    given("");
    for (const std::string count : {"-5", "0", "128"}) {
        EXPECT_EQ(ask_with(count), accepted());
        EXPECT_THAT(trace(11), ElementsAre(count + " ONUs with real-time enabled. Don't show "
                                                   "warning message."));
        EXPECT_THAT(trace(12), testing::IsEmpty());
        EXPECT_THAT(trace(10), took());
    }
    EXPECT_EQ(
        ask_with("129 and more"),
        warned("There are 129 ONUs with real-time SNMP monitoring enabled. Recommended number "
               "is 128. This might cause performance impacts. Do you want to proceed?"));
    EXPECT_THAT(trace(12), ElementsAre("129 ONUs with real-time enabled. Show warning message."));
    EXPECT_THAT(trace(11), testing::IsEmpty());
    EXPECT_THAT(trace(10), took());
}

TEST_F(OnuSnmpRealTime, a_count_that_cannot_be_had_and_one_that_is_no_number_are_told_apart)
{
    given("");
    engine::Hooks::instance().fail_call(1, CONFD_ERR_OS);
    EXPECT_EQ(ask_card(), rejected("Failed accessing confd data."));
    EXPECT_THAT(trace(12), ElementsAre("There was an error (forced failure) checking how many ONUs "
                                       "have SNMP real-time enabled."));
    EXPECT_THAT(trace(10), took());

    for (const char *count : {"", "many"}) {
        EXPECT_EQ(ask_with(count), rejected("Failed accessing transaction data."));
        EXPECT_THAT(trace(12),
                    ElementsAre(MatchesRegex("There was an error \\(.*\\) \\(stoi\\) checking how "
                                             "many ONUs have SNMP real-time enabled\\.")));
        EXPECT_THAT(trace(10), took());
    }
    EXPECT_THROW(ask_with("2147483648"), std::out_of_range);
}

} // namespace
