/**
 * @file
 * A report as GitLab's code quality, an array of issues.
 */
#pragma once

#include "report/finding_place.h"
#include "report/report.h"

#include <nlohmann/json.hpp>

namespace host
{

class GitlabReport : public Report
{
public:
    explicit GitlabReport(const ReportSettings &settings) : m_settings(settings) {}

    std::string conclusion(const Outcome &outcome, Place place) override;
    std::string end(const RunSummary &summary) override;

private:
    ReportSettings m_settings;
    nlohmann::ordered_json m_issues = nlohmann::ordered_json::array();
    Fingerprints m_fingerprints;
};

} // namespace host
