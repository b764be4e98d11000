#include "card_xml.h"
#include "fixture.h"

#include "valid_service_port.h"

namespace
{

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::MatchesRegex;
using testing::StartsWith;

/** A service port on 1/1/3 with ONU 5 and GEM port 1; the flags say which of them it names. */
std::string service_port(bool interface = true, bool onu = true, bool gem = true)
{
    return std::string("<service-port><id>10</id><gpon>") + (interface ? "<id>1/1/3</id>" : "") +
           "<onu>" + (onu ? "<id>5</id>" : "") + (gem ? "<gem><gem-id>1</gem-id></gem>" : "") +
           "</onu></gpon></service-port>";
}

std::string line_profile(int gem)
{
    return card_xml::profiles(card_xml::named(
        "line-profile", "home",
        card_xml::element("gem", card_xml::element("gem-id", std::to_string(gem)))));
}

std::string onu(int id)
{
    return card_xml::link(3,
                          card_xml::onu(id, "<profile-references><line-profile>home</line-profile>"
                                            "</profile-references>"));
}

class ServicePortGem : public CardTest
{
protected:
    static constexpr const char *kServicePort = "/config/service-port{10}/gpon";

    Outcome ask_service_port() { return ask(validate_sp_gem_check, kServicePort); }

    const Outcome m_no_onu =
        rejected("Service-port [10] ONU [5] was not configured on interface gpon [1/1/3]");
    const Outcome m_no_gem = rejected("Service-port [10] gem [1] was not configured to onu [5]");
};

TEST_F(ServicePortGem, tells_what_it_checks)
{
    struct Case {
        std::string candidate;
        bool sound;
    };
    for (const Case &card : {
             Case{line_profile(1) + onu(5), true},
             Case{line_profile(2) + onu(5), false},
             Case{line_profile(1) + onu(6), false},
         }) {
        given("", card.candidate + service_port());
        forget_trace();
        EXPECT_EQ(ask_service_port(), card.sound ? accepted() : m_no_gem);
        EXPECT_THAT(
            trace(10),
            ElementsAre(MatchesRegex("Took [0-9]+ usecs to get SP 10 \\(gpon=1 1 3, onu=5, gem=1\\)"
                                     " from ConfD"),
                        "Validate SP 10 (gpon=1/1/3, onu=5, gem=1)",
                        MatchesRegex("Validate SP 10 \\(gpon=1/1/3, onu=5, gem=1\\) - " +
                                     std::string(card.sound ? "OK" : "ERROR") +
                                     " - elapsed time is [0-9]+ msecs\\.")));
        EXPECT_EQ(trace_lines().size(), 3U);
        EXPECT_EQ(trace_lines()[0].function, "sp_get_id_values");
        EXPECT_EQ(trace_lines()[1].function, "validate_sp_gem_check");
        expect_nothing_held();
    }
}

TEST_F(ServicePortGem, looks_for_onu_and_gem_in_the_candidate)
{
    given(line_profile(1) + onu(5), line_profile(2) + onu(5) + service_port());
    EXPECT_EQ(ask_service_port(), m_no_gem);
    given(line_profile(2) + onu(6), line_profile(1) + onu(5) + service_port());
    EXPECT_EQ(ask_service_port(), accepted());
}

TEST_F(ServicePortGem, rejects_without_a_text_when_the_identity_is_incomplete)
{
    for (const auto &incomplete :
         {service_port(false), service_port(true, false), service_port(true, true, false)}) {
        given("", line_profile(1) + onu(5) + incomplete);
        forget_trace();
        EXPECT_EQ(ask_service_port(), rejected("")) << incomplete;
        ASSERT_EQ(trace_lines().size(), 1U);
        EXPECT_THAT(trace(12),
                    ElementsAre(AllOf(StartsWith("Error to get SP 10 values from ConfD (err="),
                                      EndsWith(")"))));
        EXPECT_EQ(trace_lines().front().function, "sp_get_id_values");
        expect_nothing_held();
    }
}

TEST_F(ServicePortGem, takes_what_cannot_be_read_for_absent)
{
    given("", line_profile(1) + onu(5) + service_port());
    EXPECT_THAT(ask_with_each_call_failing(validate_sp_gem_check, kServicePort),
                ElementsAre(rejected(""),       // The identity.
                            m_no_onu,           // The ONU; its GEM port is found all the same.
                            m_no_gem, m_no_gem, // The line profile: exists, read.
                            m_no_gem));         // The GEM port.
    EXPECT_THAT(trace(12),
                ElementsAre("Error to get SP 10 values from ConfD (err=forced failure)"));
}

TEST_F(ServicePortGem, a_keypath_without_the_service_port_is_a_programming_error)
{
    given("", service_port());
    EXPECT_DEATH(ask(validate_sp_gem_check, "/config/service-port{10}"),
                 "src/validation/valid_service_port:[0-9]+: int sp_get_id_values\\(int32_t, "
                 "confd_trans_ctx\\*, confd_hkeypath_t\\*, .*string&, uint32_t&, uint32_t&, "
                 "uint32_t&\\).*\\(&keypath->v\\[1\\]\\[0\\]\\)->type == C_UINT32");
}

} // namespace
