/**
 * @file
 * A report as JUnit XML, which pipelines show as tests.
 */
#pragma once

#include "report/finding.h"
#include "report/report.h"

namespace host
{

struct JunitCase {
    enum class End { kPassed, kFailure, kError, kSkipped };

    std::string name;
    std::chrono::nanoseconds time{0};
    std::vector<Finding> findings{}; /**< In the order of telling. */
    End end = End::kPassed;
    std::string reason{}; /**< Why it did not pass, in one line. */
    std::string type{};   /**< What kind of reason that is. */
};

/**
 * Of many edits, each is a test case. Of one change, the candidate is a case, and each rule that
 * was asked. Whenever the run does not end with exit code 0, a case has not passed.
 */
class JunitReport : public Report
{
public:
    explicit JunitReport(const ReportSettings &settings) : m_settings(settings) {}

    std::string conclusion(const Outcome &outcome, Place place) override;
    std::string end(const RunSummary &summary) override;

private:
    ReportSettings m_settings;
    std::string m_suite; /**< What was checked. */
    std::vector<JunitCase> m_cases;
};

} // namespace host
