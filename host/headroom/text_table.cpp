#include "headroom/text_table.h"

#include "report/printable.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace host
{
namespace
{

constexpr std::size_t kGap = 2;

std::string painted(const TextCell &cell, const std::string &text, const Style &style)
{
    switch (cell.look) {
    case TextCell::Look::kGood:
        return style.good(text);
    case TextCell::Look::kWarning:
        return style.warning(text);
    case TextCell::Look::kBad:
        return style.bad(text);
    case TextCell::Look::kStrong:
        return style.strong(text);
    case TextCell::Look::kPlain:
        break;
    }
    return text;
}

} // namespace

std::size_t text_width(const std::string &text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xc0U) != 0x80U;
    }));
}

void TextTable::add_column(std::string title, bool is_number, int importance)
{
    m_columns.push_back({std::move(title), is_number, importance});
}

std::vector<std::size_t> TextTable::widths() const
{
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        std::size_t width = text_width(m_columns[i].title);
        for (const auto &row : m_rows) {
            width = std::max(width, text_width(printable(row[i].text)));
        }
        widths.push_back(width);
    }
    return widths;
}

std::vector<bool> TextTable::shown(const std::vector<std::size_t> &widths, std::size_t width) const
{
    std::vector<bool> shown(m_columns.size(), true);
    const auto needed = [&] {
        std::size_t sum = 0;
        for (std::size_t i = 0; i < widths.size(); ++i) {
            sum += shown[i] ? widths[i] + kGap : 0;
        }
        return sum;
    };
    while (width > 0 && needed() > width + kGap) {
        std::size_t least = m_columns.size();
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            if (shown[i] && m_columns[i].importance > 0 &&
                (least == m_columns.size() ||
                 m_columns[i].importance < m_columns[least].importance)) {
                least = i;
            }
        }
        if (least == m_columns.size()) {
            break;
        }
        shown[least] = false;
    }
    return shown;
}

void TextTable::print(std::ostream &out, const Style &style, std::size_t width) const
{
    const auto widths = this->widths();
    const auto is_shown = shown(widths, width);
    const auto print_line = [&](const auto &cell_of) {
        std::string line;
        std::string spaces; // None behind the last cell.
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            if (!is_shown[i]) {
                continue;
            }
            const TextCell cell = cell_of(i);
            const std::string text = printable(cell.text);
            const std::string fill(widths[i] - text_width(text), ' ');
            line += spaces + (m_columns[i].is_number ? fill : "") + painted(cell, text, style);
            spaces = (m_columns[i].is_number ? "" : fill) + std::string(kGap, ' ');
        }
        out << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
    };
    print_line([&](std::size_t i) {
        return TextCell{m_columns[i].title, TextCell::Look::kStrong};
    });
    for (const auto &row : m_rows) {
        print_line([&](std::size_t i) { return row[i]; });
    }
}

} // namespace host
