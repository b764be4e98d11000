#include "cli/fleet_watcher.h"

#include "report/style.h"

#include <iomanip>
#include <ostream>
#include <sstream>

namespace host
{
namespace
{

constexpr std::chrono::milliseconds kBetweenShows{200};
constexpr std::chrono::seconds kBetweenLogLines{10};

std::size_t count_of(const FleetProgress &progress, Result result)
{
    const auto found = progress.results.find(result);
    return found != progress.results.end() ? found->second : 0;
}

/** Such as "42 s", "12 min" or "3.5 h". */
std::string time_text(double seconds)
{
    constexpr double kMinute = 60;
    constexpr double kHour = 3600;
    std::ostringstream text;
    text << std::fixed;
    if (seconds < 2 * kMinute) {
        text << std::setprecision(0) << seconds << " s";
    } else if (seconds < 2 * kHour) {
        text << std::setprecision(0) << seconds / kMinute << " min";
    } else {
        text << std::setprecision(1) << seconds / kHour << " h";
    }
    return text.str();
}

} // namespace

FleetWatcher::FleetWatcher(const Console &console)
    : m_console(console), m_is_terminal(console.err_is_terminal && !is_dumb_terminal()),
      m_line(m_is_terminal ? &console.err : nullptr)
{
}

void FleetWatcher::show(const FleetProgress &progress)
{
    const auto now = Clock::now();
    if (m_is_terminal && now - m_last >= kBetweenShows) {
        m_line.show(text(progress, now));
        m_last = now;
    } else if (!m_is_terminal && now - m_last >= kBetweenLogLines) {
        m_console.err << text(progress, now) << std::endl;
        m_last = now;
    }
}

std::string FleetWatcher::text(const FleetProgress &progress, Clock::time_point now) const
{
    const double seconds = std::chrono::duration<double>(now - m_start).count();
    const double rate = static_cast<double>(progress.done()) / seconds;
    std::ostringstream text;
    text << progress.done() << " of " << progress.total << " cards, "
         << count_of(progress, Result::kRejected) << " rejected, "
         << count_of(progress, Result::kNotChecked) + count_of(progress, Result::kPluginDied)
         << " failed; " << std::fixed << std::setprecision(1) << rate << " a second";
    if (rate > 0) {
        text << ", " << time_text(static_cast<double>(progress.total - progress.done()) / rate)
             << " left";
    }
    return text.str();
}

} // namespace host
