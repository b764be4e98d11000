#include "report/report_formats.h"

#include "report/report_github.h"
#include "report/report_gitlab.h"
#include "report/report_json.h"
#include "report/report_junit.h"
#include "report/report_sarif.h"
#include "report/text_report.h"

namespace host
{
namespace
{

class JsonReport : public Report
{
public:
    explicit JsonReport(const ReportSettings &settings) : m_settings(settings) {}

    std::string conclusion(const Outcome &outcome, Place place) override
    {
        auto json = json_report(outcome, m_settings.explains);
        if (place.in_turn && place.number != 0) {
            json["sequence"] = {{"number", place.number},
                                {"total", place.total},
                                {"ends-here", outcome.result() != Result::kAccepted}};
        }
        return m_settings.is_series ? print_json_line(json, m_settings.for_terminal)
                                    : print_json(json, m_settings.for_terminal);
    }

private:
    ReportSettings m_settings;
};

} // namespace

std::unique_ptr<Report> make_report(ReportFormat format, const ReportSettings &settings)
{
    switch (format) {
    case ReportFormat::kText:
        return std::make_unique<TextReport>(settings);
    case ReportFormat::kJson:
        return std::make_unique<JsonReport>(settings);
    case ReportFormat::kSarif:
        return std::make_unique<SarifReport>(settings);
    case ReportFormat::kJunit:
        return std::make_unique<JunitReport>(settings);
    case ReportFormat::kGitlab:
        return std::make_unique<GitlabReport>(settings);
    case ReportFormat::kGithub:
        return std::make_unique<GithubReport>(settings);
    }
    throw std::logic_error("a report of no format");
}

} // namespace host
