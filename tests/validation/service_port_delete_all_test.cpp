#include "fixture.h"

#include "valid_service_port.h"

#include <numeric>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

std::string service_ports(int count)
{
    std::string xml;
    for (int id = 1; id <= count; ++id) {
        xml += "<service-port><id>" + std::to_string(id) +
               "</id><gpon><id>1/1/3</id><onu><id>5</id><gem><gem-id>1</gem-id></gem></onu></gpon>"
               "</service-port>";
    }
    return xml;
}

/** PON links 1, 2, ... with so many ONUs. */
std::string links(const std::vector<int> &onus)
{
    std::string xml = "<interface>";
    for (std::size_t port = 1; port <= onus.size(); ++port) {
        xml += "<gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>" +
               std::to_string(port) + "</port-id>";
        for (int id = 1; id <= onus[port - 1]; ++id) {
            xml += "<onu><onu-id>" + std::to_string(id) + "</onu-id></onu>";
        }
        xml += "</gpon>";
    }
    return xml + "</interface>";
}

class DeleteAll : public CardTest
{
protected:
    static constexpr const char *kServicePorts = "/config/service-port";

    Outcome ask_all() { return ask(service_port_delete_all_warning, kServicePorts); }

    /** Lines of the library itself; the middleware has some of its own. */
    std::vector<std::string> own_lines() const
    {
        std::vector<std::string> texts;
        for (const auto &line : trace_lines()) {
            if (line.category == "gpon-valid") {
                texts.push_back(std::to_string(line.level) + " " + line.text);
            }
        }
        return texts;
    }

    const Outcome m_warning{CONFD_VALIDATION_WARN,
                            "All Service Ports are being removed causing traffic stop for all "
                            "ONUs. Are you sure you want to proceed?"};
};

TEST_F(DeleteAll, compares_committed_service_ports_with_the_candidate)
{
    struct Case {
        int running;
        int candidate;
        std::vector<int> candidate_onus; /**< By PON link. */
        Outcome outcome;
        std::string counts;
    };
    const std::string text = "num_inst_in_running = ";
    for (const Case &change : {
             Case{5, 0, {0, 2}, m_warning, "5, num_inst_in_candidate = 0, is_load_factory = 0."},
             Case{2, 0, {1}, m_warning, "2, num_inst_in_candidate = 0, is_load_factory = 0."},
             Case{1, 0, {1}, accepted(), "1, num_inst_in_candidate = 0, is_load_factory = 0."},
             Case{0, 0, {1}, accepted(), "0, num_inst_in_candidate = 0, is_load_factory = 0."},
             Case{5, 4, {1}, accepted(), "5, num_inst_in_candidate = 4, is_load_factory = 0."},
             Case{0, 5, {1}, accepted(), "0, num_inst_in_candidate = 5, is_load_factory = 0."},
             Case{5, 0, {0, 0}, accepted(), "5, num_inst_in_candidate = 0, is_load_factory = 1."},
             Case{5, 0, {}, accepted(), "5, num_inst_in_candidate = 0, is_load_factory = 1."},
         }) {
        // The committed ONUs are the other way round: they do not count.
        const auto &onus = change.candidate_onus;
        const bool has_onus = std::accumulate(onus.begin(), onus.end(), 0) != 0;
        given(service_ports(change.running) + links({has_onus ? 0 : 1}),
              service_ports(change.candidate) + links(onus));
        forget_trace();
        EXPECT_EQ(ask_all(), change.outcome) << change.counts;
        EXPECT_THAT(own_lines(), ElementsAre("12 " + text + change.counts));
        expect_nothing_held();
        EXPECT_EQ(open_sessions(), 0);
    }
}

TEST_F(DeleteAll, stays_silent_when_it_cannot_tell)
{
    given(service_ports(2) + links({1, 1}), links({1, 1}));
    EXPECT_THAT(ask_with_each_call_failing(service_port_delete_all_warning, kServicePorts),
                ElementsAre(accepted(),             // The session.
                            accepted(), accepted(), // Both counts.
                            accepted(), accepted(), // Open the interfaces, the first one.
                            m_warning, m_warning,   // Its ONUs; the next interface.
                            m_warning, m_warning,   // Its ONUs; the end.
                            m_warning));            // Close.
    forget_trace();
    engine::Hooks::instance().fail_call(1, CONFD_ERR_OS);
    EXPECT_EQ(ask_all(), accepted());
    EXPECT_THAT(own_lines(), IsEmpty());
}

TEST_F(DeleteAll, onus_of_a_link_that_cannot_be_counted_add_nothing)
{
    given(service_ports(2) + links({1}), links({1}));
    engine::Hooks::instance().fail_call(6, CONFD_ERR_OS);
    EXPECT_EQ(ask_all(), accepted());
    ASSERT_THAT(own_lines(), ElementsAre("12 Failed to get number of ONUs. (err: forced failure).",
                                         "12 num_inst_in_running = 2, num_inst_in_candidate = 0, "
                                         "is_load_factory = 1."));
    EXPECT_EQ(trace_lines().front().function, "get_number_onus_in_candidate");
}

} // namespace
