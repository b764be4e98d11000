/**
 * @file
 * Reports by the name of their format.
 */
#pragma once

#include "report/report.h"

#include <memory>

namespace host
{

std::unique_ptr<Report> make_report(ReportFormat format, const ReportSettings &settings);

} // namespace host
