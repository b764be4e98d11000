/** What the benchmarks measured, for the tables. */
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace bench
{

/** One benchmark of one run. */
struct Result {
    std::string question; /**< First part of the name: rule, commit, ... */
    std::string subject;  /**< Second part. */
    std::map<std::string, double> counters;

    /** @throws std::out_of_range  There is none of that name. */
    double operator[](const std::string &counter) const { return counters.at(counter); }
    int links() const { return static_cast<int>(counters.at("links")); }
};

/** Gathers results while benchmarks run, and shows on stderr how far they are. */
class Results : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context &) override { return true; }
    void ReportRuns(const std::vector<Run> &runs) override;

    /** Those of one question, in the order in which they ran. */
    std::vector<Result> of(const std::string &question) const;
    /** Names and reasons of those that failed. */
    const std::vector<std::string> &failures() const { return m_failures; }

private:
    std::vector<Result> m_results;
    std::vector<std::string> m_failures;
};

/** Results of one subject by the card's size in links. */
using BySize = std::map<int, Result>;

/** Subjects in the order in which they ran. */
std::vector<std::pair<std::string, BySize>> by_subject(const std::vector<Result> &results);

/**
 * How a figure grows with the card: n where it is as links to the power of n, by least squares over
 * all sizes. 0 for a figure that is 0.
 */
double exponent(const BySize &sizes, const std::string &counter);

} // namespace bench
