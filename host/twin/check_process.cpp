#include "twin/check_process.h"

#include "checker/checker.h"
#include "engine/session/hooks.h"
#include "twin/check_report.h"
#include "twin/wire.h"

#include <iostream>
#include <memory>

namespace host::twin
{
namespace
{

using nlohmann::json;

class CheckProcess : public CheckListener
{
public:
    explicit CheckProcess(Wire wire) : m_wire(std::move(wire))
    {
        m_policy.all = true;
        m_policy.keep_plugin = true;
        m_policy.reuse = true;
        m_policy.counts_calls = false;
    }

    void run()
    {
        while (const auto message = m_wire.receive()) {
            m_wire.send({answer(*message)});
        }
        if (m_checker) {
            CheckListener nobody;
            m_checker->finish(m_policy, nobody);
            m_checker->leave_card();
        }
    }

    /** So that the server can tell a long check from a process that hangs. */
    void tick() override { m_wire.send({{{"tick", true}}}); }

private:
    json answer(const Message &message);
    json open(const Message &message);
    json check(const Message &message);
    void set_trials(const json &head);

    Wire m_wire;
    Policy m_policy;
    std::unique_ptr<Checker> m_checker;
    Outcome m_last;
};

json CheckProcess::answer(const Message &message)
{
    try {
        const std::string task = message.head.at("task");
        if (task == "open") {
            return open(message);
        }
        if (task == "check") {
            return check(message);
        }
        m_checker->commit(m_last);
        return json::object();
    } catch (const std::exception &failure) {
        return {{"failure", failure.what()}};
    }
}

json CheckProcess::open(const Message &message)
{
    const auto &head = message.head;
    m_policy.idle_timeout = std::chrono::seconds(head.at("timeout").get<int>());
    set_trials(head);
    m_checker = std::make_unique<Checker>(fm::parse_card(head.at("card")),
                                          engine::Source{"running configuration", message.text},
                                          head.at("plugin"));
    return json::object();
}

/** What a tester wants to see go wrong, or take its time: then no answer is used twice. */
void CheckProcess::set_trials(const json &head)
{
    auto &hooks = engine::Hooks::instance();
    const std::string rule = head.at("fail_rule");
    const std::chrono::microseconds latency(head.at("latency").get<std::int64_t>());
    hooks.fail_rule(rule, head.at("fail_call").get<std::uint64_t>(), CONFD_ERR_OS);
    hooks.set_latency(latency);
    m_policy.reuse = rule.empty() && latency.count() == 0;
}

json CheckProcess::check(const Message &message)
{
    const Change change{static_cast<ChangeForm>(message.head.at("form").get<int>()),
                        {message.head.at("name"), message.text}};
    m_last = m_checker->check(change, m_policy, *this);
    if (m_last.result() == Result::kNotConfirmed) {
        m_last.confirmation.needed = true;
        m_last.confirmation.answer = message.head.at("confirms").get<bool>();
    }
    return report_of(m_checker->running().schema(), m_last);
}

} // namespace

int run_check_process()
{
    try {
        CheckProcess(Wire(kCheckProcessFd)).run();
        return 0;
    } catch (const std::exception &failure) {
        std::cerr << "gpon-twin: the check process ended: " << failure.what() << '\n';
        return 1;
    }
}

} // namespace host::twin
