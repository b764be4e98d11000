/**
 * @file
 * A report as workflow commands of GitHub, which shows them beside the lines they are about.
 */
#pragma once

#include "report/report.h"

namespace host
{

class GithubReport : public Report
{
public:
    explicit GithubReport(const ReportSettings &settings) : m_settings(settings) {}

    std::string conclusion(const Outcome &outcome, Place place) override;

private:
    ReportSettings m_settings;
};

} // namespace host
