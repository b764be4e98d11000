/**
 * @file
 * The reports of checks on their way to the console and to files.
 */
#pragma once

#include "checker/outcome.h"
#include "cli/check_options.h"
#include "cli/console.h"
#include "engine/data/error.h"
#include "report/report.h"

#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace host
{

/**
 * What goes to stdout is printed as it comes; files are written in the end. What cannot be written
 * keeps no other report from being written.
 */
class CheckReports
{
public:
    CheckReports(const CheckOptions &options, const Console &console);
    ~CheckReports();
    CheckReports(const CheckReports &) = delete;
    CheckReports &operator=(const CheckReports &) = delete;

    /**
     * Until this was called no report is written to a file.
     * @throws engine::InputError  One of the files is read, too, or written twice.
     */
    void allow_files(const std::vector<std::string> &edits);

    /**
     * Asks the operator about warnings if that is due, there is somebody to ask, and he reads the
     * report on stdout.
     */
    void add(Outcome &outcome, Place place = {});

    /**
     * @return The worst result, or not checked where a report could not be written to its file.
     * @throws std::runtime_error  stdout cannot be written.
     */
    Result finish(RunSummary summary);

private:
    struct File;

    void print(const std::string &text);
    void write(File &file, const RunSummary &summary) const;
    Result tell(const engine::InputError &failure, Result worst) const;

    const CheckOptions &m_options;
    const Console &m_console;
    std::unique_ptr<Report> m_printed;
    bool m_is_read_by_people;
    bool m_may_write = false;
    std::exception_ptr m_stdout_failure;
    std::vector<std::unique_ptr<File>> m_files;
};

/** Prints the report of what is no check, or could not become one. */
void print_report(Outcome &outcome, const CheckOptions &options, const Console &console);

/** Applies --yes, --no and --warnings-as-errors to an outcome. */
void note_need(Outcome &outcome, const CheckOptions &options);

} // namespace host
