/**
 * @file
 * The report for people of one check or of many, from its parts.
 */
#pragma once

#include "report/report.h"

namespace host
{

class TextReport : public Report
{
public:
    explicit TextReport(const ReportSettings &settings) : m_settings(settings) {}

    std::string findings(const Outcome &outcome, Place place) override;
    std::string conclusion(const Outcome &outcome, Place place) override;
    std::string end(const RunSummary &summary) override;

private:
    ReportSettings m_settings;
    bool m_has_begun = false;
};

} // namespace host
