#include "fixture.h"

#include "card_xml.h"
#include "engine/data/keypath.h"
#include "gpon_ponlink_fec_confirm.h"

namespace
{

using namespace card_xml;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kWarning = "The change in FEC configuration will result in temporary data loss "
                             "for all users of this GPON link.";
const std::string kAccessFailed = "Failed accessing confd data.";
const std::string kDownstream = "/config/interface/gpon{1 1 2}/downstream-fec";
const std::string kUpstream = "/config/interface/gpon{1 1 2}/upstream-fec";

class FecConfirm : public CardTest
{
protected:
    FecConfirm()
    {
        // Committed: down off, up on.
        given(link(2, "<downstream-fec>false</downstream-fec><upstream-fec>true</upstream-fec>"));
    }
    Outcome ask_fec(const std::string &path, bool value)
    {
        confd_value_t newval;
        CONFD_SET_BOOL(&newval, value ? 1 : 0);
        const Outcome outcome = ask(ponlink_fec_confirmation, path, &newval);
        EXPECT_EQ(open_sessions(), 0);
        expect_nothing_held();
        return outcome;
    }
};

TEST_F(FecConfirm, compares_the_new_value_with_the_committed_one_of_the_same_direction)
{
    EXPECT_EQ(ask_fec(kDownstream, true), warned(kWarning));
    EXPECT_EQ(ask_fec(kUpstream, false), warned(kWarning));
    EXPECT_THAT(trace(12),
                ElementsAre("kp=/config/interface/gpon{1 1 %d}/downstream-fec value_changed=1.",
                            "kp=/config/interface/gpon{1 1 %d}/upstream-fec value_changed=1."));
    forget_trace();
    EXPECT_EQ(ask_fec(kDownstream, false), accepted());
    EXPECT_EQ(ask_fec(kUpstream, true), accepted());
    EXPECT_THAT(trace(12),
                ElementsAre("kp=/config/interface/gpon{1 1 %d}/downstream-fec value_changed=0.",
                            "gpon 1/1/2 FEC didn't changed",
                            "kp=/config/interface/gpon{1 1 %d}/upstream-fec value_changed=0.",
                            "gpon 1/1/2 FEC didn't changed"));
    EXPECT_THAT(trace(10), IsEmpty());
}

TEST_F(FecConfirm, an_interface_that_is_not_committed_is_accepted_whatever_the_leaf_and_value)
{
    given("", link(2, "<downstream-fec>true</downstream-fec>"));
    EXPECT_EQ(ask_fec(kDownstream, true), accepted());
    EXPECT_EQ(ask(ponlink_fec_confirmation, "/config/interface/gpon{1 1 2}/port-id"), accepted());
    EXPECT_THAT(trace(12),
                ElementsAre("gpon 1/1/2 FEC didn't changed", "gpon 1/1/2 FEC didn't changed"));
    EXPECT_THAT(trace(10), testing::Each("keypath=/config/interface/gpon{1 1 %d} (pl=1/1/2) "
                                         "doesn't exist. FEC didn't change."));
}

TEST_F(FecConfirm, another_leaf_is_a_failure)
{
    EXPECT_EQ(ask_fec("/config/interface/gpon{1 1 2}/port-id", true), rejected(kAccessFailed));
    EXPECT_THAT(trace_lines(), IsEmpty());
}

TEST_F(FecConfirm, tells_a_missing_session_and_value_but_takes_a_failed_search_for_absence)
{
    auto &hooks = engine::Hooks::instance();
    hooks.fail_call(1, CONFD_ERR_OS);
    EXPECT_EQ(ask_fec(kDownstream, true), rejected(kAccessFailed));
    EXPECT_TRUE(trace(10).empty() && trace(11).empty());

    forget_trace();
    hooks.fail_call(2, CONFD_ERR_OS);
    EXPECT_EQ(ask_fec(kDownstream, true), accepted());
    EXPECT_THAT(trace(12), ElementsAre("gpon 1/1/2 FEC didn't changed"));

    forget_trace();
    hooks.fail_call(3, CONFD_ERR_NOEXISTS);
    EXPECT_EQ(ask_fec(kDownstream, false), rejected(kAccessFailed));
    EXPECT_THAT(trace(12),
                ElementsAre("kp=/config/interface/gpon{1 1 %d}/downstream-fec value_changed=0.",
                            testing::MatchesRegex("cdb_sock=[0-9]+ ret = -1")));
}

TEST_F(FecConfirm, reads_its_warning_through_the_published_pointer)
{
    const char *const before = FEC_WARN_MSG;
    FEC_WARN_MSG = "50% more?";
    EXPECT_EQ(ask_fec(kDownstream, true), warned("50% more?"));
    FEC_WARN_MSG = before;
}

TEST_F(FecConfirm, values_of_an_unexpected_type_are_programming_errors)
{
    confd_value_t newval;
    CONFD_SET_INT32(&newval, 1);
    EXPECT_DEATH(ask(ponlink_fec_confirmation, kDownstream, &newval),
                 "src/validation/gpon_ponlink_fec_confirm:.*\\(newval\\)->type == C_BOOL");

    confd_hkeypath_t keypath = keypath_of(kDownstream);
    const auto ask_altered = [&](confd_value_t &altered, confd_vtype type) {
        altered.type = type;
        ponlink_fec_confirmation(sock(), tctx(), &keypath, &newval);
    };
    EXPECT_DEATH(ask_altered(keypath.v[1][2], C_INT32),
                 "\\(&keypath->v\\[1\\]\\[2\\]\\)->type == C_UINT32");
    EXPECT_DEATH(ask_altered(keypath.v[0][0], C_NOEXISTS),
                 "\\(&keypath->v\\[0\\]\\[0\\]\\)->type == C_XMLTAG");
    engine::free_keypath(keypath);
}

} // namespace
