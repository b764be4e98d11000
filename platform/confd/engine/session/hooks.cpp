#include "engine/session/hooks.h"

#include "engine/data/error.h"

#include <algorithm>
#include <thread>

namespace engine
{

Hooks &Hooks::instance()
{
    static Hooks hooks;
    return hooks;
}

void Hooks::fail_call(std::uint64_t n, int code, bool from_then_on)
{
    m_until_failure = n;
    m_code = code;
    m_from_then_on = from_then_on;
    m_has_failed = false;
}

void Hooks::clear_failure()
{
    m_until_failure = 0;
}

void Hooks::fail_rule(std::string rule, std::uint64_t n, int code)
{
    m_failing_rule = std::move(rule);
    m_failing_call = n;
    m_rule_code = code;
}

void Hooks::begin_request(const std::string &rule)
{
    if (m_failing_rule.empty()) {
        return;
    }
    clear_failure();
    if (rule == m_failing_rule) {
        fail_call(m_failing_call, m_rule_code);
    }
}

void Hooks::throw_breakdown()
{
    if (m_breakdown) {
        std::rethrow_exception(std::exchange(m_breakdown, nullptr));
    }
}

void Hooks::reset_counts()
{
    m_counts.clear();
}

std::map<std::string, std::uint64_t> Hooks::counts() const
{
    std::map<std::string, std::uint64_t> by_name;
    for (const auto &[name, count] : m_counts) {
        by_name[name] += count; // Two libraries may have the same literal at two addresses.
    }
    return by_name;
}

void Hooks::count(const char *name)
{
    const auto found = std::find_if(m_counts.begin(), m_counts.end(),
                                    [name](const auto &entry) { return entry.first == name; });
    if (found != m_counts.end()) {
        ++found->second;
    } else {
        m_counts.emplace_back(name, 1);
    }
}

void Hooks::on_call(const char *name)
{
    if (m_is_counting) {
        count(name);
    }
    if (m_latency.count() > 0) {
        std::this_thread::sleep_for(m_latency);
    }
    if (m_until_failure == 0) {
        return;
    }
    if (m_until_failure > 1) {
        --m_until_failure;
        return;
    }
    if (!m_from_then_on) {
        m_until_failure = 0;
    }
    m_has_failed = true;
    throw Error(m_code, "forced failure");
}

} // namespace engine
