#include "hooks.h"

#include "error.h"

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

void Hooks::fail_no_more()
{
    m_until_failure = 0;
}

void Hooks::reset_counts()
{
    m_counts.clear();
}

void Hooks::on_call(const char *name)
{
    ++m_counts[name];
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
