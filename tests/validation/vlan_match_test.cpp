#include "card_xml.h"
#include "fixture.h"

#include "gpon_vlan_match.h"

namespace
{

using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

const Outcome kSameMatch =
    rejected("It's not possible to configure two or more vlan rules with the same match.");
const Outcome kFailed = rejected("Failed accessing transaction data.");
constexpr const char *kReadFailure =
    "Failed getting service profiles uni ethernet port information.";

const std::string kPort1 = "<uni><ethernet>1</ethernet></uni>";
const std::string kVeip = "<veip><veip/></veip>";

std::string mapping(const std::string &name, const std::string &ports, const std::string &vlan_id,
                    const std::string &cos)
{
    const auto leaf = [](const char *tag, const std::string &value) {
        return value.empty() ? "" : card_xml::element(tag, value);
    };
    return card_xml::named("vlan-mapping", name,
                           ports + "<match><outer>" + leaf("vlan-id", vlan_id) + leaf("cos", cos) +
                               "</outer></match>");
}

std::string home(const std::string &mappings)
{
    return card_xml::profiles(card_xml::named("service-profile", "home", mappings));
}

class VlanMatch : public CardTest
{
protected:
    static constexpr const char *kMapping =
        "/config/profile/gpon/service-profile{home}/vlan-mapping{m}";

    Outcome ask_home() { return ask(validate_vlan_match, kMapping); }
};

TEST_F(VlanMatch, conflicts_do_not_depend_on_the_order)
{
    struct Match {
        const char *vlan_id;
        const char *cos;
    };
    struct Case {
        Match a;
        Match b;
        bool conflict;
    };
    for (const Case &pair : {
             Case{{"100", "3"}, {"100", "3"}, true},
             Case{{"100", "3"}, {"100", "4"}, false},
             Case{{"100", "3"}, {"101", "3"}, false},
             Case{{"any", "any"}, {"100", "3"}, true},
             Case{{"any", "any"}, {"100", "any"}, true},
             Case{{"any", "any"}, {"any", "any"}, true},
             Case{{"any", "5"}, {"200", "5"}, true},
             Case{{"any", "5"}, {"200", "6"}, false},
             Case{{"any", "5"}, {"any", "6"}, false},
             Case{{"100", "any"}, {"100", "2"}, true},
             Case{{"100", "any"}, {"101", "2"}, false},
             Case{{"100", "any"}, {"101", "any"}, false},
             Case{{"any", "3"}, {"100", "any"}, false},
             Case{{"Any", "any"}, {"100", "3"}, false},
             Case{{"untagged", "3"}, {"any", "3"}, true},
         }) {
        for (const auto &[stored, added] : {std::pair{pair.a, pair.b}, std::pair{pair.b, pair.a}}) {
            VlanMatches matches;
            EXPECT_EQ(check_vlan_match(1, stored.vlan_id, stored.cos, matches), 0);
            EXPECT_EQ(check_vlan_match(2, added.vlan_id, added.cos, matches), 0);
            EXPECT_EQ(check_vlan_match(1, added.vlan_id, added.cos, matches),
                      pair.conflict ? -1 : 0)
                << stored.vlan_id << "/" << stored.cos << " beside " << added.vlan_id << "/"
                << added.cos;
            EXPECT_THAT(matches, SizeIs(pair.conflict ? 2 : 3));
        }
    }
}

TEST_F(VlanMatch, needs_to_know_the_ports_of_a_mapping)
{
    struct Case {
        const char *what;
        std::string mappings;
        Outcome outcome;
    };
    for (const Case &profile : {
             Case{"the Ethernet ports count of one that has both",
                  mapping("m", kPort1 + kVeip, "100", "3") + mapping("n", kVeip, "100", "3"),
                  accepted()},
             Case{"neither", mapping("m", "", "100", "3"), kFailed},
         }) {
        given("", home(profile.mappings));
        EXPECT_EQ(ask_home(), profile.outcome) << profile.what;
        expect_nothing_held();
    }
    EXPECT_THAT(trace_lines(), testing::IsEmpty());
}

TEST_F(VlanMatch, reads_the_candidate_only)
{
    const std::string same = mapping("m", kPort1, "100", "3") + mapping("n", kPort1, "100", "3");
    const std::string other = mapping("m", kPort1, "100", "3") + mapping("n", kPort1, "101", "3");
    given(home(same), home(other));
    EXPECT_EQ(ask_home(), accepted());
    given(home(other), home(same));
    EXPECT_EQ(ask_home(), kSameMatch);
}

TEST_F(VlanMatch, a_match_that_is_not_set_cannot_be_read)
{
    for (const auto &mappings : {mapping("m", kPort1, "", "3"), mapping("m", kPort1, "100", "")}) {
        given("", home(mappings));
        forget_trace();
        EXPECT_EQ(ask_home(), kFailed);
        ASSERT_THAT(trace(10), ElementsAre(kReadFailure));
        EXPECT_EQ(trace_lines().front().category, "debug");
        expect_nothing_held();
    }
}

TEST_F(VlanMatch, every_read_that_fails_rejects)
{
    given("", home(mapping("m", kPort1, "100", "3") + mapping("n", kVeip, "100", "3")));
    const Outcome none = accepted();
    EXPECT_THAT(ask_with_each_call_failing(validate_vlan_match, kMapping),
                ElementsAre(none, none,             // Open the list, first mapping.
                            kFailed, kFailed,       // Its VLAN and class of service.
                            none, none, none, none, // Their types and texts.
                            kFailed, kFailed, none, // Port 1: exists, read; next mapping.
                            kFailed, kFailed,       // VLAN and class of service.
                            none, none, none, none, // Their types and texts.
                            none, kFailed,          // No Ethernet; the VEIP exists.
                            none, none));           // The end, close.
    // Five of the seven are failed reads; to be on no port is another matter, without a line.
    EXPECT_THAT(trace(10), testing::AllOf(SizeIs(5), Each(kReadFailure)));
}

TEST_F(VlanMatch, a_keypath_without_the_profile_is_a_programming_error)
{
    given("", home(""));
    EXPECT_DEATH(ask(validate_vlan_match, "/config/profile/gpon/service-profile{home}"),
                 "src/validation/gpon_vlan_match:[0-9]+: int32_t validate_vlan_match\\(int32_t, "
                 "confd_trans_ctx\\*, confd_hkeypath_t\\*, confd_value_t\\*\\).*"
                 "\\(&keypath->v\\[2\\]\\[0\\]\\)->type == C_BUF");
}

} // namespace
