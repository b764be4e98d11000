#include "report/markup.h"

#include "report/printable.h"

namespace host
{

std::string escaped(std::string_view text)
{
    std::string markup;
    for (const char letter : printable_lines(text)) {
        switch (letter) {
        case '&':
            markup += "&amp;";
            break;
        case '<':
            markup += "&lt;";
            break;
        case '>':
            markup += "&gt;";
            break;
        case '"':
            markup += "&quot;";
            break;
        default:
            markup += letter;
        }
    }
    return markup;
}

void fill_in(std::string &page, std::string_view mark, std::string_view markup)
{
    page.replace(page.find(mark), mark.size(), markup);
}

} // namespace host
