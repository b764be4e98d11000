/**
 * @file
 * Tells how far a fleet's check has come: on a terminal in one line, elsewhere now and then.
 */
#pragma once

#include "cli/console.h"
#include "cli/progress.h"
#include "fleet/fleet_run.h"

#include <chrono>
#include <string>

namespace host
{

class FleetWatcher
{
public:
    explicit FleetWatcher(const Console &console);

    void show(const FleetProgress &progress);
    /** Wipes the line. */
    void clear() { m_line.clear(); }

private:
    using Clock = std::chrono::steady_clock;

    std::string text(const FleetProgress &progress, Clock::time_point now) const;

    const Console &m_console;
    bool m_is_terminal;
    Progress m_line;
    Clock::time_point m_start = Clock::now();
    Clock::time_point m_last = m_start;
};

} // namespace host
