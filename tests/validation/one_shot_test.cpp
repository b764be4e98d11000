#include "fixture.h"

#include "card_xml.h"
#include "client_answers.h"
#include "engine/data/keypath.h"
#include "gpon_onu_rg_profile_validation.h"

#include <base.h>

namespace
{

using namespace card_xml;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kSwitchWarning =
    "The rg-one-shot-prov configuration will not be applied automatically to all ONUs using "
    "rg-profile. You shall force rg-one-shot-prov provision using the command 'rg-reprovision' "
    "available on the onu configuration tree.";
const std::string kProfileWarning =
    "The rg-profile will not be provisioned automatically for this onu due to rg-one-shot-prov "
    "feature enabled. You shall force rg-profile reprovision using the command 'rg-reprovision' "
    "available on the onu configuration tree.";
const std::string kAccessFailed = "Failed accessing confd data.";

/** With the switch on or off; the method stands there so that no default makes a difference. */
std::string settings(const std::string &method, const std::string &rg_switch)
{
    return element("gpon", "<card>1/1</card>" + element("onu-auth-method", method) + rg_switch);
}
const std::string kSwitchOff = settings("serial-number", "");
const std::string kSwitchOn = settings("serial-number", "<rg-one-shot-prov/>");
const std::string kRgProfiles = profiles(named("rg-profile", "a") + named("rg-profile", "b"));
const std::string kOnu = "/config/interface/gpon{1 1 1}/onu{1}";

std::string uses(const std::string &profile)
{
    return element("rg-profile", profile);
}
std::string overrides(const std::string &inside)
{
    return element("rg-override-parameters", inside);
}
std::string parameter(const std::string &name, const std::string &value)
{
    return named("parameter", name, element("value", value));
}

// ---- The switch ---------------------------------------------------------------------------------

class OneShotSwitch : public CardTest
{
protected:
    void given_onus(const std::string &onus)
    {
        given(kRgProfiles + link(1, onus) + kSwitchOff, kRgProfiles + link(1, onus) + kSwitchOn);
    }
    Outcome ask_switch() { return ask(validate_one_shot_prov, "/config/gpon{1/1}"); }
};

TEST_F(OneShotSwitch, looks_for_an_onu_with_a_profile_up_to_the_first)
{
    given_onus(onu(1) + onu(7, uses("a")) + onu(9, uses("a")));
    EXPECT_EQ(ask_switch(), warned(kSwitchWarning));
    EXPECT_THAT(trace(12),
                ElementsAre("Validating keypath: /config/gpon{1/1}", HasSubstr("(op=3, oldv:"),
                            HasSubstr("(op=1, oldv:"), "rg-one-shot-prov has changed!",
                            "result 1:\n", testing::StartsWith(" rg-profile: "), "result 2:\n"));
    EXPECT_EQ(trace_lines()[4].function, "is_rg_profile_in_use");
    EXPECT_EQ(trace_lines()[5].function, "is_rg_profile_in_use");
    expect_nothing_held();
}

TEST_F(OneShotSwitch, numbers_the_onus_on_over_all_chunks)
{
    std::string onus;
    for (int id = 1; id <= 128; ++id) {
        onus += onu(id);
    }
    const std::string links = element("interface", gpon(1, onus) + gpon(2, onus));
    given(links + kSwitchOn, links + kSwitchOff);
    EXPECT_EQ(ask_switch(), accepted());
    EXPECT_THAT(trace(12), Contains("result 256:\n"));
    EXPECT_THAT(trace(12), testing::Not(Contains("result 257:\n")));
    EXPECT_GT(engine::Hooks::instance().counts().at("maapi_query_result"), 2U);
    expect_nothing_held();
}

TEST_F(OneShotSwitch, an_unchanged_switch_asks_for_no_onus)
{
    const std::string card = kRgProfiles + link(1, onu(1, uses("a")));
    given(card + kSwitchOn, card + settings("password", "<rg-one-shot-prov/>"));
    EXPECT_EQ(ask_switch(), accepted());
    EXPECT_EQ(engine::Hooks::instance().counts().count("maapi_query_start"), 0U);
}

TEST_F(OneShotSwitch, tells_a_value_without_a_name)
{
    given_onus(onu(1));
    const NamelessTags nameless;
    EXPECT_EQ(ask_switch(), accepted());
    EXPECT_THAT(trace(12), Contains(" : \n"));
}

TEST_F(OneShotSwitch, failing_calls)
{
    struct Case {
        int failing_call;
        Outcome outcome;
    };
    given_onus(onu(1));
    for (const Case &call : {Case{1, accepted()},             // the changes
                             Case{2, warned(kSwitchWarning)}, // the query for ONUs
                             Case{3, accepted()},             // a chunk: the end
                             Case{4, accepted()}}) {          // freeing it
        forget_trace();
        engine::Hooks::instance().fail_call(call.failing_call, CONFD_ERR_OS);
        EXPECT_EQ(ask_switch(), call.outcome) << "call " << call.failing_call;
        EXPECT_TRUE(engine::Hooks::instance().has_failed());
        if (call.failing_call == 2) {
            EXPECT_THAT(trace(12), Contains("query failed for onu. err=forced failure"));
        }
        expect_nothing_held();
    }
}

TEST_F(OneShotSwitch, the_iterator_looks_for_the_switch_in_what_came_or_went)
{
    given("");
    struct Case {
        int operation;
        confd_value_t element;
        maapi_iter_ret answer;
        bool has_changed;
    };
    confd_value_t the_switch;
    CONFD_SET_XMLTAG(&the_switch, base_rg_one_shot_prov, base__ns);
    confd_value_t other_node;
    CONFD_SET_XMLTAG(&other_node, base_rg_profile, base__ns);
    confd_value_t key;
    CONFD_SET_UINT32(&key, 1);
    for (const Case &change :
         {Case{MOP_CREATED, the_switch, ITER_STOP, true},
          Case{MOP_DELETED, the_switch, ITER_STOP, true},
          Case{MOP_CREATED, other_node, ITER_CONTINUE, false},
          Case{MOP_DELETED, other_node, ITER_CONTINUE, false},
          Case{MOP_CREATED, key, ITER_RECURSE, false}, Case{MOP_DELETED, key, ITER_RECURSE, false},
          Case{MOP_MODIFIED, key, ITER_RECURSE, false}, Case{0, the_switch, ITER_CONTINUE, false},
          Case{MOP_VALUE_SET, the_switch, ITER_CONTINUE, false},
          Case{MOP_ATTR_SET, the_switch, ITER_CONTINUE, false}}) {
        confd_hkeypath_t keypath{};
        keypath.len = 1;
        keypath.v[0][0] = change.element;
        CONFD_SET_NOEXISTS(&keypath.v[0][1]);
        bool has_changed = false;
        EXPECT_EQ(diff_iter(&keypath, static_cast<confd_iter_op>(change.operation), nullptr,
                            nullptr, &has_changed),
                  change.answer)
            << trace(12).back();
        EXPECT_EQ(has_changed, change.has_changed) << trace(12).back();
    }
}

// ---- An ONU's profile and its overrides
// -----------------------------------------------------------

class OneShotProfile : public CardTest
{
protected:
    /** The same card with two states of the ONU. */
    void given_onu(const std::string &before, const std::string &after)
    {
        given(kRgProfiles + link(1, onu(1, before)) + kSwitchOn,
              kRgProfiles + link(1, onu(1, after)) + kSwitchOn);
        forget_trace();
    }
    Outcome ask_onu(const std::string &leaf)
    {
        const Outcome outcome = ask(validate_rg_prof_one_shot, kOnu + leaf);
        EXPECT_EQ(open_sessions(), 0);
        expect_nothing_held();
        return outcome;
    }
};

TEST_F(OneShotProfile, asks_for_a_committed_profile_and_logs_its_decision)
{
    given_onu(uses("a"), uses("b"));
    EXPECT_EQ(ask_onu("/rg-profile"), warned(kProfileWarning));
    EXPECT_THAT(trace(12),
                ElementsAre("rg-profile one-shot-prov validate.",
                            "rg-profile was exchanged or override parameters were changed."));

    given_onu("", uses("b"));
    EXPECT_EQ(ask_onu("/rg-profile"), accepted());
    EXPECT_THAT(trace(12), ElementsAre("rg-profile one-shot-prov validate."));

    given(kRgProfiles + link(1, onu(1, uses("a"))), kRgProfiles + link(1, onu(1, uses("b"))));
    forget_trace();
    EXPECT_EQ(ask_onu("/rg-profile"), accepted());
    EXPECT_THAT(trace(12), ElementsAre("rg-profile one-shot-prov validate.",
                                       "The rg-one-shot-prov is disabled."));
}

TEST_F(OneShotProfile, a_moved_parameter_is_no_change_but_one_behind_it_is)
{
    const std::string first = parameter("first", "1");
    const std::string second = parameter("second", "2");
    const std::string third = parameter("third", "3");
    given_onu(overrides(first + second + third), overrides(second + first + third));
    EXPECT_EQ(ask_onu("/rg-override-parameters"), accepted());
    EXPECT_THAT(trace(10), ElementsAre(HasSubstr("(op=5, oldv:")));

    given_onu(overrides(first + second + third),
              overrides(second + first + parameter("third", "changed")));
    EXPECT_EQ(ask_onu("/rg-override-parameters"), warned(kProfileWarning));

    given_onu(overrides(first), overrides(first));
    EXPECT_EQ(ask_onu("/rg-override-parameters"), accepted());
    EXPECT_THAT(trace(10), IsEmpty());
}

TEST_F(OneShotProfile, failing_calls)
{
    struct Case {
        const char *leaf;
        int failing_call;
        Outcome outcome;
    };
    given_onu(uses("a") + overrides(parameter("first", "1")), uses("b"));
    for (const Case &call : {Case{"/rg-profile", 1, accepted()},                // the switch
                             Case{"/rg-profile", 2, rejected(kAccessFailed)},   // the session
                             Case{"/rg-profile", 3, rejected(kAccessFailed)},   // the old profile
                             Case{"/rg-override-parameters", 2, accepted()}}) { // the changes
        engine::Hooks::instance().fail_call(call.failing_call, CONFD_ERR_NOEXISTS);
        EXPECT_EQ(ask_onu(call.leaf), call.outcome) << call.leaf << " " << call.failing_call;
        EXPECT_TRUE(engine::Hooks::instance().has_failed());
    }
}

TEST_F(OneShotProfile, the_search_for_the_committed_profile_leaves_its_answer_alone_without_session)
{
    given_onu(uses("a"), uses("b"));
    confd_hkeypath_t keypath = keypath_of(kOnu + "/rg-profile");
    int exists = 42;
    engine::Hooks::instance().fail_call(1, CONFD_ERR_OS);
    EXPECT_EQ(take_outcome(checkRgProfileChgValue(&keypath, tctx(), exists)),
              rejected(kAccessFailed));
    EXPECT_EQ(exists, 42);

    engine::Hooks::instance().fail_call(2, CONFD_ERR_OS);
    EXPECT_EQ(take_outcome(checkRgProfileChgValue(&keypath, tctx(), exists)),
              rejected(kAccessFailed));
    EXPECT_EQ(exists, CONFD_ERR);

    EXPECT_EQ(take_outcome(checkRgProfileChgValue(&keypath, tctx(), exists)), accepted());
    EXPECT_EQ(exists, 1);
    EXPECT_EQ(open_sessions(), 0);
    engine::free_keypath(keypath);
}

TEST_F(OneShotProfile, a_keypath_that_ends_in_keys_is_a_programming_error_while_the_switch_is_on)
{
    given_onu(uses("a"), uses("b"));
    EXPECT_DEATH(ask(validate_rg_prof_one_shot, kOnu),
                 "src/validation/gpon_onu_rg_profile_validation:.*"
                 "\\(&keypath->v\\[0\\]\\[0\\]\\)->type == C_XMLTAG");
    given(link(1, onu(1)));
    EXPECT_EQ(ask(validate_rg_prof_one_shot, kOnu), accepted());
}

TEST_F(OneShotProfile, the_iterator_stops_at_values_and_passes_over_everything_else)
{
    given("");
    confd_hkeypath_t keypath{};
    const auto visit = [&](int op, char flag) {
        const auto answer =
            diff_iter_rg(&keypath, static_cast<confd_iter_op>(op), nullptr, nullptr, &flag);
        return std::make_pair(answer, static_cast<int>(flag));
    };
    for (const int op : {MOP_CREATED, MOP_DELETED, MOP_MODIFIED, MOP_VALUE_SET}) {
        EXPECT_EQ(visit(op, 0), std::make_pair(ITER_STOP, 1)) << op;
    }
    // A move even takes back what came before it.
    for (const int op : {0, +MOP_MOVED_AFTER, +MOP_ATTR_SET}) {
        EXPECT_EQ(visit(op, 1), std::make_pair(ITER_CONTINUE, 0)) << op;
    }
    EXPECT_EQ(trace(10).size(), 7U);
    zlog_host::set_level(13);
    visit(MOP_CREATED, 0);
    EXPECT_EQ(trace(10).size(), 7U);
}

} // namespace
