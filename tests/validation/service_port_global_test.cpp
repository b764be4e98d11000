#include "fixture.h"

#include "engine/data/value.h"
#include "match_overlap_validation.h"
#include "valid_service_port.h"

#include <set>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

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

    std::string xml() const
    {
        std::string xml;
        for (int id = 1; id <= count; ++id) {
            // Matches differ in the GEM port or in the VLAN.
            const int match = alike.count(id) != 0 ? 0 : id;
            xml += "<service-port><id>" + std::to_string(id) + "</id><gpon><id>1/1/3</id><onu>" +
                   (incomplete.count(id) != 0 ? "" : "<id>5</id>") + "<gem><gem-id>" +
                   std::to_string(1 + match / 1000) +
                   "</gem-id></gem></onu></gpon><match><outer><vlan-id>" +
                   std::to_string(1 + match % 1000) +
                   "</vlan-id></outer></match><description>d</description></service-port>";
        }
        return xml;
    }
};

class ServicePortGlobal : public CardTest
{
protected:
    Outcome ask_all() { return ask(service_port_global_validation, "/config/service-port"); }
};

TEST_F(ServicePortGlobal, only_the_last_batch_of_300_decides)
{
    struct Case {
        const char *what;
        ServicePorts ports;
        Outcome outcome;
    };
    for (const Case &list : {
             Case{"none", {0}, accepted()},
             Case{"the only two", {2, {1, 2}}, conflict(1, 2)},
             Case{"one full batch", {300, {1, 2}}, conflict(1, 2)},
             Case{"forgotten", {301, {1, 2}}, accepted()},
             Case{"across batches", {301, {300, 301}}, conflict(300, 301)},
             Case{"skipped with the rest of its batch", {301, {1, 2, 300}}, accepted()},
             Case{"against the first holder", {301, {1, 2, 301}}, conflict(1, 301)},
             Case{"incomplete", {2, {}, {2}}, rejected("")},
             Case{"incomplete and forgotten", {301, {}, {300}}, accepted()},
             Case{"incomplete, and a text from before", {301, {1, 2}, {301}}, conflict(1, 2)},
         }) {
        given("", list.ports.xml());
        EXPECT_EQ(ask_all(), list.outcome) << list.what;
        expect_nothing_held();
    }
}

TEST_F(ServicePortGlobal, every_part_of_the_identity_must_be_there)
{
    const std::string whole = ServicePorts{1}.xml();
    for (const std::string part :
         {"<id>1/1/3</id>", "<id>5</id>", "<gem-id>1</gem-id>", "<gem><gem-id>1</gem-id></gem>"}) {
        std::string incomplete = whole;
        ASSERT_NE(whole.find(part), std::string::npos) << part;
        given("", incomplete.erase(whole.find(part), part.size()));
        EXPECT_EQ(ask_all(), rejected("")) << "without " << part;
        expect_nothing_held();
    }
}

TEST_F(ServicePortGlobal, at_most_4096_of_those_that_were_checked)
{
    struct Case {
        const char *what;
        ServicePorts ports;
        Outcome outcome;
    };
    for (const Case &list : {
             Case{"at the limit", {4096}, accepted()},
             Case{"one above", {4097}, limit_exceeded(4097)},
             Case{"the limit is told first", {4200, {4199, 4200}}, limit_exceeded(4199)},
             // 298 of the first batch are skipped.
             Case{"skipped ones do not count", {4394, {1, 2}}, accepted()},
             Case{"but for them", {4396, {1, 2}}, limit_exceeded(4097)},
         }) {
        given("", list.ports.xml());
        EXPECT_EQ(ask_all(), list.outcome) << list.what;
        expect_nothing_held();
    }
    EXPECT_EQ(engine::Hooks::instance().counts().at("maapi_get_objects"), 15U);
}

TEST_F(ServicePortGlobal, reads_the_candidate_only)
{
    given(ServicePorts{2, {1, 2}}.xml(), ServicePorts{2}.xml());
    EXPECT_EQ(ask_all(), accepted());
    given(ServicePorts{2}.xml(), ServicePorts{2, {1, 2}}.xml());
    EXPECT_EQ(ask_all(), conflict(1, 2));
}

TEST_F(ServicePortGlobal, tells_what_it_reads_and_decides)
{
    const std::string identity = "<gpon><id>1/1/3</id><onu><id>5</id><gem><gem-id>2</gem-id></gem>"
                                 "</onu></gpon>";
    const auto vlans = [](const std::string &match, const std::string &action) {
        return "<match><outer><vlan-id>" + match +
               "</vlan-id></outer></match><action><outer>"
               "<vlan-id>" +
               action + "</vlan-id></outer></action>";
    };
    given("", "<service-port><id>7</id>" + identity + vlans("100", "200") + "</service-port>" +
                  "<service-port><id>8</id>" + identity + vlans("any", "any") + "</service-port>" +
                  "<service-port><id>9</id>" + identity + "</service-port>");
    EXPECT_EQ(ask_all(), conflict(8, 9)) << "a VLAN with a name is no VLAN";
    EXPECT_THAT(
        trace(10),
        ElementsAre("SP 7 (gpon=1 1 3, onu=5, gem=2) get leafs: match-vlan=100, action-vlan=200",
                    "SP 8 (gpon=1 1 3, onu=5, gem=2) get leafs: match-vlan=-1, action-vlan=-1",
                    "SP 9 (gpon=1 1 3, onu=5, gem=2) get leafs: match-vlan=-1, action-vlan=-1"));
    EXPECT_THAT(trace(11),
                ElementsAre("Validate SP 7 (gpon=1 1 3, onu=5, gem=2) begin.", "Validate SP 7 end.",
                            "Validate SP 8 (gpon=1 1 3, onu=5, gem=2) begin.", "Validate SP 8 end.",
                            "Validate SP 9 (gpon=1 1 3, onu=5, gem=2) begin."));
    ASSERT_THAT(trace(12), ElementsAre("service-port global validation begin.",
                                       "service-port global validation end - ERROR - elapsed time "
                                       "0 secs."));
    EXPECT_EQ(trace_lines()[1].function, "service_port_get_leafs");
    EXPECT_EQ(trace_lines()[2].function, "service_port_validate");
    given("");
    EXPECT_EQ(ask_all(), accepted());
    EXPECT_THAT(trace(12).back(),
                MatchesRegex("service-port global validation end - OK - elapsed time 0 secs\\."));
}

TEST_F(ServicePortGlobal, a_batch_that_cannot_be_read_rejects_with_the_text_so_far)
{
    const auto ask_with_call_failing = [this](int n, const ServicePorts &ports) {
        given("", ports.xml());
        engine::Hooks::instance().fail_call(n, CONFD_ERR_OS);
        const Outcome outcome = ask_all();
        EXPECT_TRUE(engine::Hooks::instance().has_failed());
        expect_nothing_held();
        return outcome;
    };
    EXPECT_EQ(ask_with_call_failing(1, {2, {1, 2}}), accepted()) << "no cursor, no service port";
    // Calls 2 and 3 ask for the schema's object size.
    EXPECT_EQ(ask_with_call_failing(4, {2}), rejected(""));
    EXPECT_EQ(ask_with_call_failing(5, {301}), rejected(""));
    EXPECT_EQ(ask_with_call_failing(5, {301, {1, 2}}), conflict(1, 2));
}

TEST_F(ServicePortGlobal, values_of_an_unexpected_type_are_programming_errors)
{
    const auto decode = [](int position) {
        confd_value_t values[20] = {};
        values[SP_CONFD_VAL_OFFSET_GPON] = engine::make_text_value("1/1/3");
        for (const int number :
             {SP_CONFD_VAL_OFFSET_SP, SP_CONFD_VAL_OFFSET_ONU, SP_CONFD_VAL_OFFSET_GEM}) {
            CONFD_SET_UINT32(&values[number], 1);
        }
        values[position].type = C_INT32;
        std::uint32_t sp, onu, gem;
        std::string interface;
        std::int32_t match_vlan, action_vlan;
        service_port_get_leafs(values, sp, interface, onu, gem, match_vlan, action_vlan);
    };
    const std::string place =
        "src/validation/valid_service_port:[0-9]+: int service_port_get_leafs\\(confd_value_t\\*, "
        "uint32_t&, .*string&, uint32_t&, uint32_t&, int32_t&, int32_t&\\).*";
    struct Case {
        int position;
        const char *name;
        const char *type;
    };
    for (const Case &wrong : {Case{SP_CONFD_VAL_OFFSET_SP, "SP", "UINT32"},
                              Case{SP_CONFD_VAL_OFFSET_GPON, "GPON", "BUF"},
                              Case{SP_CONFD_VAL_OFFSET_ONU, "ONU", "UINT32"},
                              Case{SP_CONFD_VAL_OFFSET_GEM, "GEM", "UINT32"}}) {
        EXPECT_DEATH(decode(wrong.position), place + "\\(&values\\[SP_CONFD_VAL_OFFSET_" +
                                                 wrong.name + "\\]\\)->type == C_" + wrong.type);
    }
}

TEST(MatchOverlap, reports_against_the_first_holder)
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
}

TEST(MatchOverlap, parts_of_a_match_do_not_run_together)
{
    EXPECT_EQ(MatchOverlapValidation::GetMatchString("10", "1 1 3", 5, 2, -1), "1 1 3 5 2 -1");
    EXPECT_NE(MatchOverlapValidation::GetMatchString("", "1 1 3", 1, 12, 100),
              MatchOverlapValidation::GetMatchString("", "1 1 3", 11, 2, 100));
    EXPECT_EQ(MatchOverlapValidation::GetMatchString("", "", 4294967295U, 0, 0), " 4294967295 0 0");
}

} // namespace
