#include "results.h"

#include <algorithm>
#include <cmath>
#include <iostream>

namespace bench
{

void Results::ReportRuns(const std::vector<Run> &runs)
{
    for (const Run &run : runs) {
        const std::string name = run.run_name.function_name;
        if (run.error_occurred) {
            m_failures.push_back(name + ": " + run.error_message);
            continue;
        }
        const auto slash = name.find('/');
        Result result{name.substr(0, slash), name.substr(slash + 1), {}};
        result.subject.resize(std::min(result.subject.find('/'), result.subject.size()));
        for (const auto &[counter, value] : run.counters) {
            result.counters[counter] = value.value;
        }
        m_results.push_back(std::move(result));
        std::cerr << "\r\033[K" << m_results.size() << ": " << name << std::flush;
    }
}

std::vector<Result> Results::of(const std::string &question) const
{
    std::vector<Result> found;
    std::copy_if(m_results.begin(), m_results.end(), std::back_inserter(found),
                 [&](const Result &result) { return result.question == question; });
    return found;
}

std::vector<std::pair<std::string, BySize>> by_subject(const std::vector<Result> &results)
{
    std::vector<std::pair<std::string, BySize>> subjects;
    for (const Result &result : results) {
        auto found = std::find_if(subjects.begin(), subjects.end(), [&](const auto &subject) {
            return subject.first == result.subject;
        });
        if (found == subjects.end()) {
            found = subjects.insert(subjects.end(), {result.subject, {}});
        }
        found->second.emplace(result.links(), result);
    }
    return subjects;
}

double exponent(const BySize &sizes, const std::string &counter)
{
    double sum_x = 0;
    double sum_y = 0;
    double sum_xx = 0;
    double sum_xy = 0;
    for (const auto &[links, result] : sizes) {
        if (result[counter] <= 0) {
            return 0;
        }
        const double x = std::log(links);
        const double y = std::log(result[counter]);
        sum_x += x;
        sum_y += y;
        sum_xx += x * x;
        sum_xy += x * y;
    }
    const auto n = static_cast<double>(sizes.size());
    const double spread = n * sum_xx - sum_x * sum_x;
    return spread > 0 ? (n * sum_xy - sum_x * sum_y) / spread : 0;
}

} // namespace bench
