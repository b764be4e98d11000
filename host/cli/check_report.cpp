#include "cli/check_report.h"

#include "cli/check_inputs.h"
#include "cli/output_file.h"
#include "report/report_formats.h"
#include "report/report_text.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <optional>
#include <ostream>

namespace host
{
namespace
{

ReportFormat printed_format(const CheckOptions &options)
{
    const auto printed = std::find_if(options.reports.begin(), options.reports.end(),
                                      [](const ReportOption &each) { return each.file.empty(); });
    if (printed != options.reports.end()) {
        return printed->format;
    }
    return options.json ? ReportFormat::kJson : ReportFormat::kText;
}

ReportSettings settings_of(const CheckOptions &options)
{
    ReportSettings settings;
    settings.is_series = options.is_series();
    settings.explains = options.explains();
    settings.detail = {options.calls, options.reads};
    settings.text = {options.shown == "full", options.new_only};
    std::error_code unknown; // Then file names stay as they are.
    settings.working_folder = std::filesystem::current_path(unknown).string();
    return settings;
}

} // namespace

/** A report with its text so far. */
struct CheckReports::File {
    std::string path;
    std::unique_ptr<Report> report;
    std::string text;
    std::optional<OutputFile> output;
};

CheckReports::CheckReports(const CheckOptions &options, const Console &console)
    : m_options(options), m_console(console),
      m_is_read_by_people(printed_format(options) == ReportFormat::kText)
{
    ReportSettings settings = settings_of(options);
    for (const auto &report : options.reports) {
        if (!report.file.empty()) {
            m_files.push_back(std::make_unique<File>());
            m_files.back()->path = report.file;
            m_files.back()->report = make_report(report.format, settings);
        }
    }
    if (!m_files.empty()) {
        // Who reads stdout may stop early: the files are written all the same.
        static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    }
    settings.for_terminal = console.out_is_terminal;
    settings.is_colored = wants_color(options.color, console.out_is_terminal);
    m_printed = make_report(printed_format(options), settings);
}

CheckReports::~CheckReports() = default;

void CheckReports::allow_files(const std::vector<std::string> &edits)
{
    m_may_write = false;
    require_separate_files(m_options, edits);
    m_may_write = true;
}

void CheckReports::add(Outcome &outcome, Place place)
{
    print(m_printed->findings(outcome, place));
    // Whoever reads another format is no operator: the answer is given beforehand or not at all.
    if (outcome.result() == Result::kNotConfirmed && !m_options.answer && m_console.ask &&
        m_is_read_by_people) {
        outcome.confirmation.answer = m_console.ask();
    }
    print(m_printed->conclusion(outcome, place));
    for (const auto &file : m_files) {
        file->text += file->report->findings(outcome, place);
        file->text += file->report->conclusion(outcome, place);
    }
}

Result CheckReports::finish(RunSummary summary)
{
    // What tells of the end tells of files that cannot be opened as well.
    for (const auto &file : m_files) {
        try {
            if (m_may_write) {
                file->output.emplace(file->path);
            }
        } catch (const engine::InputError &failure) {
            summary.worst = tell(failure, summary.worst);
        }
    }
    print(m_printed->end(summary));
    Result worst = summary.worst;
    for (const auto &file : m_files) {
        try {
            write(*file, summary);
        } catch (const engine::InputError &failure) {
            worst = tell(failure, worst);
        }
    }
    if (m_stdout_failure) {
        std::rethrow_exception(m_stdout_failure);
    }
    return worst;
}

void CheckReports::write(File &file, const RunSummary &summary) const
{
    if (file.output) {
        file.text += file.report->end(summary);
        if (const int error = file.output->write(file.text); error != 0) {
            file.output->fail(error);
        }
        file.output->commit();
    }
}

/** A stdout that cannot be written ends the run at once, unless there are other reports. */
void CheckReports::print(const std::string &text)
{
    if (m_stdout_failure || text.empty()) {
        return;
    }
    try {
        errno = 0; // It tells why the report cannot be written.
        m_console.out << text;
        flush_or_throw(m_console.out);
    } catch (const std::exception &) {
        if (m_files.empty()) {
            throw;
        }
        m_stdout_failure = std::current_exception();
    }
}

/** By now the reports on stdout are out. */
Result CheckReports::tell(const engine::InputError &failure, Result worst) const
{
    print_problems(m_console.err, failure.problems(), Style(false));
    return worse_of(worst, Result::kNotChecked);
}

void print_report(Outcome &outcome, const CheckOptions &options, const Console &console)
{
    CheckReports reports(options, console);
    reports.add(outcome);
    RunSummary summary;
    summary.worst = outcome.result();
    static_cast<void>(reports.finish(summary));
}

void note_need(Outcome &outcome, const CheckOptions &options)
{
    outcome.warnings_are_errors = options.warnings_as_errors;
    outcome.assumes_card = options.card.empty();
    // Only a change that could be committed is worth a question.
    if (outcome.result() == Result::kNotConfirmed) {
        outcome.confirmation.needed = true;
        outcome.confirmation.answer = options.answer;
        outcome.confirmation.by_option = options.answer.has_value();
        outcome.confirmation.rules = options.confirmed_rules;
    }
}

} // namespace host
