#include "fixture.h"

#include "committed_change_guard.h"
#include "gpon_onu_rg_profile_validation.h"
#include "support/card_xml.h"

#include <base.h>

namespace
{

using namespace test_support;

class ChangeWalk : public CardTest
{
protected:
    ChangeWalk() { given(""); }

    template <typename Iterator>
    std::pair<maapi_iter_ret, int> visit(Iterator iterator, int op, const confd_value_t &last,
                                         char flag = 0)
    {
        confd_hkeypath_t keypath{};
        keypath.len = 1;
        keypath.v[0][0] = last;
        CONFD_SET_NOEXISTS(&keypath.v[0][1]);
        const auto answer =
            iterator(&keypath, static_cast<confd_iter_op>(op), nullptr, nullptr, &flag);
        return {answer, flag};
    }
};

TEST_F(ChangeWalk, LooksForTheSwitchInWhatCameOrWent)
{
    confd_value_t the_switch;
    CONFD_SET_XMLTAG(&the_switch, base_rg_one_shot_prov, base__ns);
    confd_value_t other_node;
    CONFD_SET_XMLTAG(&other_node, base_rg_profile, base__ns);
    confd_value_t key;
    CONFD_SET_UINT32(&key, base_rg_one_shot_prov);
    struct Case {
        int operation;
        confd_value_t last;
        std::pair<maapi_iter_ret, int> answer;
    };
    for (const Case &change :
         {Case{MOP_CREATED, the_switch, {ITER_STOP, 1}},
          Case{MOP_DELETED, the_switch, {ITER_STOP, 1}},
          Case{MOP_CREATED, other_node, {ITER_CONTINUE, 0}},
          Case{MOP_DELETED, other_node, {ITER_CONTINUE, 0}},
          Case{MOP_CREATED, key, {ITER_RECURSE, 0}}, Case{MOP_DELETED, key, {ITER_RECURSE, 0}},
          Case{MOP_MODIFIED, key, {ITER_RECURSE, 0}}, Case{0, the_switch, {ITER_CONTINUE, 0}},
          Case{MOP_VALUE_SET, the_switch, {ITER_CONTINUE, 0}},
          Case{MOP_ATTR_SET, the_switch, {ITER_CONTINUE, 0}}}) {
        EXPECT_EQ(visit(diff_iter, change.operation, change.last), change.answer)
            << trace(12).back();
    }
}

TEST_F(ChangeWalk, OfOverridesStopsAtValues)
{
    confd_value_t key;
    CONFD_SET_UINT32(&key, 1);
    for (const int op : {MOP_CREATED, MOP_DELETED, MOP_MODIFIED, MOP_VALUE_SET}) {
        EXPECT_EQ(visit(diff_iter_rg, op, key), std::make_pair(ITER_STOP, 1)) << op;
    }
    // A move even takes back what came before it.
    for (const int op : {0, +MOP_MOVED_AFTER, +MOP_ATTR_SET}) {
        EXPECT_EQ(visit(diff_iter_rg, op, key, 1), std::make_pair(ITER_CONTINUE, 0)) << op;
    }
}

TEST_F(ChangeWalk, OfCommittedEntriesStopsAtTheFirstEdit)
{
    confd_value_t key;
    CONFD_SET_UINT32(&key, 1);
    for (const int op : {MOP_CREATED, MOP_DELETED, MOP_VALUE_SET, MOP_MOVED_AFTER, MOP_ATTR_SET}) {
        EXPECT_EQ(visit(diffIter, op, key), std::make_pair(ITER_CONTINUE, 0)) << op;
        EXPECT_EQ(visit(diffIter, op, key, 1), std::make_pair(ITER_STOP, 1)) << op;
    }
    EXPECT_EQ(visit(diffIter, MOP_MODIFIED, key), std::make_pair(ITER_STOP, 1));
}

TEST_F(ChangeWalk, PrintsNoPathsThatNobodyReads)
{
    confd_value_t key;
    CONFD_SET_UINT32(&key, 1);
    zlog_host::set_level(13);
    std::vector<ClientCall> calls;
    client().record = &calls;
    visit(diff_iter, MOP_CREATED, key);
    visit(diff_iter_rg, MOP_CREATED, key);
    ask(validate_one_shot_prov, "/config/gpon");
    for (const ClientCall &call : calls) {
        EXPECT_THAT(call.text, testing::Not(testing::StartsWith("confd_pp_kpath")));
    }
    EXPECT_FALSE(calls.empty());
}

TEST_F(ChangeWalk, TakesTheListsNameForTheText)
{
    // The number of a service port may be the very number of the list's tag.
    const std::string id = std::to_string(base_service_port);
    const auto ports = [&](const char *description) {
        return test_support::checked_config(
            port(base_service_port, xml("description", description)));
    };
    given(ports("old"), ports("new"));
    EXPECT_EQ(ask(validate_config_modify, "/config/service-port{" + id + "}"),
              rejected("Changing already committed profile is not allowed."));
}

class OneShot : public CardTest
{
};

TEST_F(OneShot, NumbersTheOnusOnOverAllChunks)
{
    std::string onus;
    for (int id = 1; id <= 128; ++id) {
        onus += onu(id);
    }
    const std::string links = xml("interface", link(1, onus) + link(2, onus));
    given(links + xml("gpon", xml("card", "1/1") + xml("rg-one-shot-prov")),
          test_support::checked_config(links + xml("gpon/card", "1/1")));
    client().nameless_tags = true;
    client().items_too_many = 1; // Of each result: the next one's, and none behind the last.
    EXPECT_EQ(ask(validate_one_shot_prov, "/config/gpon{1/1}"), accepted());
    EXPECT_THAT(trace(12), testing::Contains("result 256:\n"));
    EXPECT_THAT(trace(12), testing::Not(testing::Contains("result 257:\n")));
    EXPECT_THAT(trace(12), testing::Contains(" 833143253: \n"));
    expect_nothing_held();
}

TEST_F(OneShot, LeavesTheAnswerAloneWithoutASession)
{
    const std::string card = xml("interface", link(1, onu(1, xml("rg-profile", "a")))) +
                             named("profile/gpon/rg-profile", "a");
    given(card);
    confd_hkeypath_t keypath = keypath_of("/config/interface/gpon{1 1 1}/onu{1}/rg-profile");
    const Outcome failed = rejected("Failed accessing confd data.");
    int exists = 42;
    engine::Hooks::instance().fail_call(1, CONFD_ERR_OS);
    EXPECT_EQ(take_outcome(checkRgProfileChgValue(&keypath, tctx(), exists)), failed);
    EXPECT_EQ(exists, 42);
    engine::Hooks::instance().fail_call(2, CONFD_ERR_OS);
    EXPECT_EQ(take_outcome(checkRgProfileChgValue(&keypath, tctx(), exists)), failed);
    EXPECT_EQ(exists, CONFD_ERR);
    EXPECT_EQ(take_outcome(checkRgProfileChgValue(&keypath, tctx(), exists)), accepted());
    EXPECT_EQ(exists, 1);
    engine::free_keypath(keypath);
}

} // namespace
