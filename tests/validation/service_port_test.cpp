#include "fixture.h"

#include "engine/data/value.h"
#include "match_overlap_validation.h"
#include "support/card_xml.h"
#include "valid_service_port.h"

#include <set>

namespace
{

using namespace test_support;

std::string conflict_text(int first, int second)
{
    return "Service-port \"" + std::to_string(first) + "\" and \"" + std::to_string(second) +
           "\" have conflicting matches.";
}

Outcome conflict(int first, int second)
{
    return rejected(conflict_text(first, second));
}

Outcome limit_exceeded(int installed)
{
    return rejected("Service-port limit exceeded: Installed " + std::to_string(installed) +
                    " of 4096 allowed\n");
}

/** Service ports 1 to n, each with a match of its own but for those that are named. */
struct ServicePorts {
    int count = 0;
    std::set<int> alike = {};      /**< Have the same match. */
    std::set<int> incomplete = {}; /**< Have no ONU. */

    std::string text() const
    {
        std::string all;
        for (int id = 1; id <= count; ++id) {
            // Matches differ in the GEM port or in the VLAN.
            const int match = alike.count(id) != 0 ? 0 : id;
            all += port_edit(
                id, xml("gpon",
                        xml("id", "1/1/3") +
                            xml("onu", (incomplete.count(id) != 0 ? "" : xml("id", "5")) +
                                           xml("gem/gem-id", std::to_string(1 + match / 1000)))) +
                        xml("match/outer/vlan-id", std::to_string(1 + match % 1000)) +
                        xml("description", "d"));
        }
        return all;
    }
};

class ServicePortGlobal : public CardTest
{
protected:
    Outcome ask_all() { return ask(service_port_global_validation, "/config/service-port"); }

    Outcome ask_with_call_failing(int n, const ServicePorts &ports)
    {
        given("", ports.text());
        engine::Hooks::instance().fail_call(n, CONFD_ERR_OS);
        const Outcome outcome = ask_all();
        EXPECT_TRUE(engine::Hooks::instance().has_failed());
        expect_nothing_held();
        return outcome;
    }
};

TEST_F(ServicePortGlobal, OnlyTheLastBatchOf300Decides)
{
    struct Case {
        const char *what;
        ServicePorts ports;
        Outcome outcome;
    };
    for (const Case &list : {
             Case{"none", {0}, accepted()},
             Case{"one full batch", {300, {1, 2}}, conflict(1, 2)},
             Case{"forgotten", {301, {1, 2}}, accepted()},
             Case{"across batches", {301, {300, 301}}, conflict(300, 301)},
             Case{"skipped with the rest of its batch", {301, {1, 2, 300}}, accepted()},
             Case{"against the first holder", {301, {1, 2, 301}}, conflict(1, 301)},
             Case{"incomplete and forgotten", {301, {}, {300}}, accepted()},
             Case{"incomplete, and a text from before", {301, {1, 2}, {301}}, conflict(1, 2)},
         }) {
        given("", list.ports.text());
        EXPECT_EQ(ask_all(), list.outcome) << list.what;
        expect_nothing_held();
    }
    // Calls 2 and 3 ask for the schema's object size, 4 and 5 read a batch each.
    EXPECT_EQ(ask_with_call_failing(5, {301}), rejected(""));
    EXPECT_EQ(ask_with_call_failing(5, {301, {1, 2}}), conflict(1, 2));
}

TEST_F(ServicePortGlobal, AtMost4096OfThoseThatWereChecked)
{
    struct Case {
        const char *what;
        ServicePorts ports;
        Outcome outcome;
    };
    for (const Case &list : {
             Case{"the limit is told first", {4200, {4199, 4200}}, limit_exceeded(4199)},
             // 298 of the first batch are skipped.
             Case{"skipped ones do not count", {4394, {1, 2}}, accepted()},
             Case{"but for them", {4396, {1, 2}}, limit_exceeded(4097)},
         }) {
        given("", list.ports.text());
        EXPECT_EQ(ask_all(), list.outcome) << list.what;
        expect_nothing_held();
    }
    // The last of 16 batches cannot be read: the limit is told all the same.
    EXPECT_EQ(ask_with_call_failing(19, {4600}), limit_exceeded(4500));
}

TEST_F(ServicePortGlobal, EveryPartOfTheIdentityMustBeThere)
{
    const std::string whole = ServicePorts{1}.text();
    for (const auto &part : {xml("id", "1/1/3"), xml("id", "5"), xml("gem/gem-id", "1")}) {
        std::string incomplete = whole;
        ASSERT_NE(whole.find(part), std::string::npos) << part;
        given("", incomplete.erase(whole.find(part), part.size()));
        EXPECT_EQ(ask_all(), rejected("")) << "without " << part;
        EXPECT_EQ(ask(validate_sp_gem_check, "/config/service-port{1}/gpon"), rejected("")) << part;
        expect_nothing_held();
    }
}

TEST_F(ServicePortGlobal, LogsNumbersAsTheirFormatsSay)
{
    confd_value_t values[20] = {};
    values[SP_CONFD_VAL_OFFSET_GPON] = engine::make_text_value("1/1/3");
    ++engine::Hooks::instance().held.values; // As if the client library had given it.
    CONFD_SET_UINT32(&values[SP_CONFD_VAL_OFFSET_SP], 3000000000);
    CONFD_SET_UINT32(&values[SP_CONFD_VAL_OFFSET_ONU], 3000000001);
    CONFD_SET_UINT32(&values[SP_CONFD_VAL_OFFSET_GEM], 3000000002);
    CONFD_SET_INT32(&values[SP_CONFD_VAL_OFFSET_MATCH_VLAN], 7);
    CONFD_SET_INT32(&values[SP_CONFD_VAL_OFFSET_ACTION_VLAN], 9);
    std::uint32_t sp, onu, gem;
    std::string interface;
    std::int32_t match_vlan, action_vlan;
    EXPECT_EQ(service_port_get_leafs(values, sp, interface, onu, gem, match_vlan, action_vlan), 0);
    EXPECT_THAT(trace(10),
                testing::ElementsAre("SP 3000000000 (gpon=1 1 3, onu=-1294967295, gem=-1294967294) "
                                     "get leafs: match-vlan=7, action-vlan=9"));
    EXPECT_EQ(onu, 3000000001);
    EXPECT_EQ(gem, 3000000002);
}

TEST(MatchOverlap, ReportsAgainstTheFirstHolder)
{
    MatchOverlapValidation matches;
    std::string error = "before";
    EXPECT_EQ(matches.ServicePortMatchOverlaps("10", error, "1 1 3", 5, 2, 100), 0);
    EXPECT_EQ(matches.ServicePortMatchOverlaps("11", error, "1 1 3", 5, 2, 101), 0);
    EXPECT_EQ(error, "before");
    EXPECT_EQ(matches.ServicePortMatchOverlaps("20", error, "1 1 3", 5, 2, 100), 1);
    EXPECT_EQ(error, conflict_text(10, 20));
    EXPECT_EQ(matches.ServicePortMatchOverlaps("30", error, "1 1 3", 5, 2, 100), 1);
    EXPECT_EQ(error, conflict_text(10, 30));
    EXPECT_EQ(MatchOverlapValidation::GetMatchString("", "", 4294967295U, 0, -1),
              " 4294967295 0 -1");
}

} // namespace
