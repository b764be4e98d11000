#include "fixture.h"

#include "gpon_line_profile_confirm.h"
#include "gpon_onu_rg_profile_validation.h"
#include "gpon_onu_snmp_rt_confirm.h"
#include "gpon_ponlink_fec_confirm.h"
#include "gpon_rg_profile_validation.h"
#include "gpon_sip_agent_validation.h"
#include "gpon_tr069_profile_validation.h"
#include "gpon_voip_media_profile_validation.h"
#include "support/card_xml.h"
#include "valid_service_port.h"

#include <stdexcept>

namespace
{

using namespace test_support;

/** A rule that counts, and what it answers when the count is no number. */
struct Counting {
    validator_t *validator;
    const char *profile; /**< Empty: it counts for the whole card. */
    const char *conversion_failure;
};

const char *const kConfd = "Failed accessing confd data.";
const char *const kTransaction = "Failed accessing transaction data.";

const Counting kCounting[] = {
    {line_profile_confirmation, "line-profile", kConfd},
    {rg_profile_confirmation, "rg-profile", kConfd},
    {tr069_profile_confirmation, "tr069-acs-profile", kConfd},
    {sip_agent_profile_confirmation, "sip-agent-profile", kConfd},
    {voip_media_profile_confirmation, "media-profile", kTransaction},
    {onu_snmp_rt_confirmation, "", kTransaction},
};

class Count : public CardTest, public testing::WithParamInterface<Counting>
{
protected:
    Outcome ask_with(const std::string &count)
    {
        client().xpath_text = count;
        forget_trace();
        const std::string profile = GetParam().profile;
        return ask(GetParam().validator, profile.empty()
                                             ? "/config/interface/gpon"
                                             : "/config/profile/gpon/" + profile + "{p}");
    }
};

TEST_P(Count, IsADecimalNumberWithAnythingBehindIt)
{
    const std::string profile = GetParam().profile;
    given(profile.empty() ? "" : named("profile/gpon/" + profile, "p"));
    for (const char *none : {"0", "-1", "0x999", "-2147483648", " \t-9"}) {
        EXPECT_EQ(ask_with(none), accepted()) << none;
    }
    for (const char *many : {"129", " \t+200e1", "00129", "2147483647", "129 and more"}) {
        EXPECT_EQ(ask_with(many).result, CONFD_VALIDATION_WARN) << many;
    }
    EXPECT_EQ(ask_with("128").result, profile.empty() ? CONFD_OK : CONFD_VALIDATION_WARN);
    for (const char *no_number : {"", "NaN", "- 1"}) {
        EXPECT_EQ(ask_with(no_number), rejected(GetParam().conversion_failure)) << no_number;
        EXPECT_THAT(trace(12),
                    testing::ElementsAre(testing::AllOf(testing::StartsWith("There was an error ("),
                                                        testing::HasSubstr(") (stoi) checking "),
                                                        testing::EndsWith("."))));
    }
    for (const char *out_of_range : {"2147483648", "-2147483649", "99999999999999999999"}) {
        EXPECT_THROW(ask_with(out_of_range), std::out_of_range) << out_of_range;
        EXPECT_EQ(open_sessions(), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Rules, Count, testing::ValuesIn(kCounting));

class PublishedWarnings : public CardTest
{
};

TEST_F(PublishedWarnings, AreReadThroughTheirPointers)
{
    const std::string card =
        xml("interface", link(1, onu(1, xml("profile-references/line-profile", "p")))) +
        named("profile/gpon/line-profile", "p");
    given(card + port(1) + port(2), test_support::checked_config(card));
    confd_value_t on;
    CONFD_SET_BOOL(&on, 1);
    const std::string fec = "/config/interface/gpon{1 1 1}/upstream-fec";
    for (const char **warning : {&LINE_PROF_WARN_MSG, &FEC_WARN_MSG, &SP_DEL_ALL_WARN_MSG}) {
        const char *const before = std::exchange(*warning, "100%s sure?");
        const Outcome outcome =
            warning == &LINE_PROF_WARN_MSG
                ? ask(line_profile_confirmation, "/config/profile/gpon/line-profile{p}")
            : warning == &FEC_WARN_MSG
                ? ask(ponlink_fec_confirmation, fec, &on)
                : ask(service_port_delete_all_warning, "/config/service-port");
        EXPECT_EQ(outcome, warned("100%s sure?"));
        *warning = before;
    }
}

TEST_F(PublishedWarnings, AreCutWhereTheirBufferEnds)
{
    const std::string onus = xml("interface", link(1, onu(1)));
    given(onus + port(1) + port(2), test_support::checked_config(onus));
    confd_value_t on;
    CONFD_SET_BOOL(&on, 1);
    const std::string text(9000, 't');
    const Outcome cut = warned(text.substr(0, 8191));
    const char *const fec = std::exchange(FEC_WARN_MSG, text.c_str());
    const char *const delete_all = std::exchange(SP_DEL_ALL_WARN_MSG, text.c_str());
    EXPECT_EQ(ask(ponlink_fec_confirmation, "/config/interface/gpon{1 1 1}/upstream-fec", &on),
              cut);
    EXPECT_EQ(ask(service_port_delete_all_warning, "/config/service-port"), cut);
    FEC_WARN_MSG = fec;
    SP_DEL_ALL_WARN_MSG = delete_all;
}

TEST_F(PublishedWarnings, ComeWithLinesInThePlaceOfTheCheck)
{
    given(named("profile/gpon/line-profile", "p"));
    ask(line_profile_confirmation, "/config/profile/gpon/line-profile{p}");
    EXPECT_THAT(trace_lines(), testing::SizeIs(3));
    for (const zlog_host::Line &line : trace_lines()) {
        EXPECT_EQ(line.file, "src/validation/gpon_line_profile_confirm");
        EXPECT_EQ(line.line, trace_lines().front().line) << "the shared code has other lines";
    }
}

class FecConfirm : public CardTest
{
};

TEST_F(FecConfirm, KnowsTwoLeavesOnceTheInterfaceIsCommitted)
{
    confd_value_t on;
    CONFD_SET_BOOL(&on, 1);
    const std::string other_leaf = "/config/interface/gpon{1 1 2}/port-id";
    given(xml("interface", link(2)));
    EXPECT_EQ(ask(ponlink_fec_confirmation, other_leaf, &on), rejected(kConfd));
    EXPECT_THAT(trace_lines(), testing::IsEmpty());
    EXPECT_EQ(open_sessions(), 0);
    given("", xml("interface", link(2)));
    EXPECT_EQ(ask(ponlink_fec_confirmation, other_leaf, &on), accepted());
}

TEST_F(FecConfirm, TellsThatNothingChanges)
{
    confd_value_t off;
    CONFD_SET_BOOL(&off, 0);
    given(xml("interface", link(2, xml("downstream-fec", "false"))));
    EXPECT_EQ(ask(ponlink_fec_confirmation, "/config/interface/gpon{1 1 2}/downstream-fec", &off),
              accepted());
    EXPECT_THAT(trace(12), testing::ElementsAre("kp=/config/interface/gpon{1 1 %d}/downstream-fec "
                                                "value_changed=0.",
                                                "gpon 1/1/2 FEC didn't changed"));
}

class MissingSession : public CardTest
{
};

TEST_F(MissingSession, IsEndedByTwoRules)
{
    const std::string list = "/config/profile/gpon/rg-profile";
    given(xml("interface", link(1, onu(1, xml("rg-profile", "a")))) +
          named("profile/gpon/rg-profile", "a") +
          xml("gpon", xml("card", "1/1") + xml("rg-one-shot-prov")));
    struct Case {
        validator_t *validator;
        std::string path;
        bool is_ended;
    };
    for (const Case &rule :
         {Case{ponlink_fec_confirmation, "/config/interface/gpon{1 1 1}/upstream-fec", true},
          Case{service_port_delete_all_warning, "/config/service-port", true},
          Case{rg_profile_confirmation, list + "{a}", false},
          Case{validate_rg_prof_one_shot, "/config/interface/gpon{1 1 1}/onu{1}/rg-profile",
               false}}) {
        std::vector<ClientCall> calls;
        client().record = &calls;
        client().sessions_start = false;
        ask(rule.validator, rule.path);
        EXPECT_EQ(calls.back().text == "velconfd_config_session_end", rule.is_ended) << rule.path;
    }
}

} // namespace
