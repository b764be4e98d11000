#include "cli/progress.h"

#include <ostream>

namespace host
{
namespace
{

constexpr std::chrono::seconds kQuiet{1};
constexpr std::chrono::milliseconds kBetweenLines{100};
constexpr const char *kWipe = "\r\033[K";

} // namespace

void Progress::within(const std::string &part)
{
    m_part = part + ", ";
    m_text = part;
    tick();
}

void Progress::show(const std::string &work)
{
    if (m_terminal != nullptr) {
        m_shown = true;
        *m_terminal << kWipe << work << std::flush;
    }
}

void Progress::at(std::size_t number, std::size_t total, const std::string &rule)
{
    if (m_terminal == nullptr) {
        return; // It would take longer than many a request.
    }
    m_text =
        m_part + "request " + std::to_string(number) + " of " + std::to_string(total) + ": " + rule;
    tick();
}

void Progress::tick()
{
    const auto now = Clock::now();
    if (m_terminal == nullptr || m_text.empty() || now - m_start < kQuiet ||
        now - m_last < kBetweenLines) {
        return;
    }
    m_last = now;
    m_shown = true;
    *m_terminal << kWipe << m_text << std::flush;
}

void Progress::clear()
{
    if (m_shown) {
        *m_terminal << kWipe << std::flush;
        m_shown = false;
    }
}

} // namespace host
