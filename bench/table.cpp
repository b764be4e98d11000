#include "table.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <sstream>

namespace bench
{

void Table::print(std::ostream &out) const
{
    std::vector<std::size_t> widths(m_rows.front().size());
    for (const auto &row : m_rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    const auto print_row = [&](const std::vector<std::string> &row) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            out << "| " << (i == 0 ? std::left : std::right)
                << std::setw(static_cast<int>(widths[i])) << row[i] << ' ';
        }
        out << "|\n";
    };
    print_row(m_rows.front());
    for (std::size_t i = 0; i < widths.size(); ++i) {
        out << (i == 0 ? "|:" : "|-") << std::string(widths[i], '-') << (i == 0 ? "-" : ":");
    }
    out << "|\n";
    std::for_each(m_rows.begin() + 1, m_rows.end(), print_row);
}

std::string number(double value, int digits)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << value;
    return text.str();
}

} // namespace bench
