/**
 * @file
 * A table for a terminal, which leaves out columns where the window is narrow.
 */
#pragma once

#include "report/style.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace host
{

/** What stands in a cell, and how. */
struct TextCell {
    enum class Look { kPlain, kGood, kWarning, kBad, kStrong };

    std::string text;
    Look look = Look::kPlain;
};

class TextTable
{
public:
    /**
     * @param importance  Of two columns, the one with the lower number goes first; columns with 0
     *                    never go.
     */
    void add_column(std::string title, bool is_number, int importance = 0);
    void add_row(std::vector<TextCell> cells) { m_rows.push_back(std::move(cells)); }

    /** @param width  Of the window; 0: it has none. */
    void print(std::ostream &out, const Style &style, std::size_t width) const;

private:
    struct Column {
        std::string title;
        bool is_number;
        int importance;
    };

    std::vector<std::size_t> widths() const;
    std::vector<bool> shown(const std::vector<std::size_t> &widths, std::size_t width) const;

    std::vector<Column> m_columns;
    std::vector<std::vector<TextCell>> m_rows;
};

/** Characters of a text. */
std::size_t text_width(const std::string &text);

} // namespace host
