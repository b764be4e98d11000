/** Tables that a person can read. */
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace bench
{

/** The first column is aligned to the left, the others to the right. */
class Table
{
public:
    explicit Table(std::vector<std::string> header) : m_rows{std::move(header)} {}

    void add(std::vector<std::string> row) { m_rows.push_back(std::move(row)); }
    /** As Markdown, which reads well as it is. */
    void print(std::ostream &out) const;

private:
    std::vector<std::vector<std::string>> m_rows;
};

/** A number with so many digits behind the point. */
std::string number(double value, int digits = 0);

} // namespace bench
