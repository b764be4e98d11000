/**
 * @file
 * A report as SARIF 2.1.0, which code hosts and editors show beside the lines it is about.
 */
#pragma once

#include "report/finding_place.h"
#include "report/report.h"

#include <nlohmann/json.hpp>

namespace host
{

/** One run with the results of all checks. */
class SarifReport : public Report
{
public:
    explicit SarifReport(const ReportSettings &settings);

    std::string conclusion(const Outcome &outcome, Place place) override;
    std::string end(const RunSummary &summary) override;

private:
    using Json = nlohmann::ordered_json;

    Json result_of(const Finding &finding, const Outcome &outcome);
    Json locations_of(const Finding &finding, const FileLocation &place) const;
    Json artifact(const std::string &file) const;
    std::size_t rule_index(const Finding &finding);

    ReportSettings m_settings;
    Json m_rules;
    std::map<std::string, std::size_t> m_rule_indexes;
    Json m_results = Json::array();
    Fingerprints m_fingerprints;
};

} // namespace host
