#include "fixture.h"

#include "card_xml.h"
#include "gpon_line_profile_confirm.h"
#include "gpon_rg_profile_validation.h"
#include "gpon_sip_agent_validation.h"
#include "gpon_tr069_profile_validation.h"
#include "gpon_voip_media_profile_validation.h"

#include <algorithm>
#include <stdexcept>

namespace
{

using namespace card_xml;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const std::string kAccessFailed = "Failed accessing confd data.";

/** A kind of profile, and what its validator alone says. */
struct Kind {
    validator_t *validator;
    std::string list;
    std::string around_reference; /**< Element of the ONU that holds the reference; may be empty. */
    std::string title;
    std::string conversion_failure;

    std::string path() const { return "/config/profile/gpon/" + list + "{p}"; }
    std::string warning() const
    {
        return "Change in " + list +
               " configuration will result in temporary data loss for all ONUs using this profile.";
    }
    std::string reference() const
    {
        const std::string leaf = element(list, "p");
        const std::string port = around_reference == "pots" ? "<port>1</port>" : "";
        return around_reference.empty() ? leaf : element(around_reference, port + leaf);
    }
    std::string card(int users) const
    {
        std::string onus;
        for (int id = 1; id <= users; ++id) {
            onus += onu(id, reference());
        }
        return profiles(named(list, "p")) + link(1, onus);
    }
};

const Kind kKinds[] = {
    {line_profile_confirmation, "line-profile", "profile-references", "Line Profile",
     kAccessFailed},
    {rg_profile_confirmation, "rg-profile", "", "RG Profile", kAccessFailed},
    {tr069_profile_confirmation, "tr069-acs-profile", "", "TR069 ACS Profile", kAccessFailed},
    {sip_agent_profile_confirmation, "sip-agent-profile", "pots", "SIP agent Profile",
     kAccessFailed},
    {voip_media_profile_confirmation, "media-profile", "pots", "Media Profile",
     "Failed accessing transaction data."},
};

class ProfileInUse : public CardTest, public testing::WithParamInterface<Kind>
{
protected:
    void expect_all_released()
    {
        expect_nothing_held();
        EXPECT_EQ(open_sessions(), 0);
    }
    auto begins() { return "Check if " + GetParam().list + " p has been edited."; }
    auto took()
    {
        return testing::MatchesRegex("Took [0-9]+ ms to check for " + GetParam().title +
                                     " warning message\\.");
    }
};

TEST_P(ProfileInUse, counts_users_of_the_candidate_when_the_profile_is_committed)
{
    const Kind &kind = GetParam();
    given(kind.card(0), kind.card(2));
    EXPECT_EQ(ask(kind.validator, kind.path()), warned(kind.warning()));
    EXPECT_THAT(trace(12), ElementsAre("There are 2 onus associated with p"));
    EXPECT_THAT(trace(10), ElementsAre(begins(), took()));

    given(kind.card(1), kind.card(0));
    forget_trace();
    EXPECT_EQ(ask(kind.validator, kind.path()), accepted());
    EXPECT_THAT(trace(12), ElementsAre("There are 0 onus associated with p"));
    EXPECT_THAT(trace(10), ElementsAre(begins(), took()));
    expect_all_released();
}

TEST_P(ProfileInUse, a_new_profile_is_accepted_without_a_count_and_without_its_time)
{
    const Kind &kind = GetParam();
    given("", kind.card(1));
    EXPECT_EQ(ask(kind.validator, kind.path()), accepted());
    EXPECT_THAT(trace(10), ElementsAre(begins(), kind.list + " p was not edited"));
    EXPECT_THAT(trace(12), IsEmpty());
    EXPECT_EQ(engine::Hooks::instance().counts().count("maapi_xpath_eval_expr"), 0U);
    expect_all_released();
}

TEST_P(ProfileInUse, what_cannot_be_read_rejects)
{
    const Kind &kind = GetParam();
    given(kind.card(1));
    // The session, the profile: no line at all but the first.
    for (const int failing_call : {1, 2}) {
        forget_trace();
        engine::Hooks::instance().fail_call(failing_call, CONFD_ERR_NOEXISTS);
        EXPECT_EQ(ask(kind.validator, kind.path()), rejected(kAccessFailed));
        EXPECT_TRUE(engine::Hooks::instance().has_failed());
        EXPECT_THAT(trace(10), ElementsAre(begins())) << "call " << failing_call;
        expect_all_released();
    }
    // The users.
    forget_trace();
    engine::Hooks::instance().fail_call(3, CONFD_ERR_OS);
    EXPECT_EQ(ask(kind.validator, kind.path()), rejected(kAccessFailed));
    EXPECT_THAT(trace(12), ElementsAre("There was an error (forced failure) checking if there is "
                                       "any ONU using " +
                                       kind.list + " p."));
    EXPECT_THAT(trace(10), ElementsAre(begins(), took()));
    expect_all_released();
}

TEST_P(ProfileInUse, reads_the_count_as_a_decimal_number_with_anything_behind_it)
{
    const Kind &kind = GetParam();
    struct Case {
        const char *text;
        Outcome outcome;
    };
    const Outcome no_number = rejected(kind.conversion_failure);
    const Case cases[] = {{"0", accepted()},
                          {"-1", accepted()},
                          {"1", warned(kind.warning())},
                          {" \t+2e1", warned(kind.warning())},
                          {"010", warned(kind.warning())},
                          {"0x10", accepted()},
                          {"2147483647", warned(kind.warning())},
                          {"", no_number},
                          {"NaN", no_number},
                          {"- 1", no_number}};
    given(kind.card(0));
    for (const Case &count : cases) {
        client().xpath_text = count.text;
        forget_trace();
        EXPECT_EQ(ask(kind.validator, kind.path()), count.outcome) << count.text;
        EXPECT_THAT(trace(10), ElementsAre(begins(), took())) << count.text;
        if (count.outcome == no_number) {
            EXPECT_THAT(trace(12), ElementsAre(testing::AllOf(
                                       StartsWith("There was an error ("),
                                       HasSubstr(") (stoi) checking if there is any ONU using " +
                                                 kind.list + " p."))));
        }
    }
    for (const char *count : {"2147483648", "-2147483649", "99999999999999999999"}) {
        client().xpath_text = count;
        EXPECT_THROW(ask(kind.validator, kind.path()), std::out_of_range) << count;
        EXPECT_EQ(open_sessions(), 0);
    }
}

std::string test_name(const testing::TestParamInfo<Kind> &kind)
{
    std::string name = kind.param.list;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(AllKinds, ProfileInUse, testing::ValuesIn(kKinds), test_name);

class LineProfileInUse : public CardTest
{
};

TEST_F(LineProfileInUse, reads_its_warning_through_the_published_pointer)
{
    const char *const before = LINE_PROF_WARN_MSG;
    LINE_PROF_WARN_MSG = "100%s sure?";
    given(kKinds[0].card(1));
    EXPECT_EQ(ask(line_profile_confirmation, kKinds[0].path()), warned("100%s sure?"));
    LINE_PROF_WARN_MSG = before;
}

TEST_F(LineProfileInUse, the_name_stands_in_the_expression_as_it_is)
{
    const std::string name = "x'or'1'='1"; // Nobody uses it, and everybody is found.
    given(profiles(named("line-profile", name) + named("line-profile", "p")) +
          link(1, onu(1, kKinds[0].reference())));
    EXPECT_EQ(ask(line_profile_confirmation, "/config/profile/gpon/line-profile{" + name + "}"),
              warned(kKinds[0].warning()));
}

} // namespace
