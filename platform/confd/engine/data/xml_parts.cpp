#include "engine/data/xml_parts.h"

namespace engine
{

std::size_t find_attribute(std::string_view tag, std::string_view name)
{
    constexpr auto kBlanks = " \t\r\n";
    auto at = tag.find_first_of(kBlanks);
    while ((at = tag.find_first_not_of(kBlanks, at)) != std::string_view::npos) {
        const auto end = tag.find_first_of(" \t\r\n=", at);
        if (end == std::string_view::npos || tag.substr(at, end - at) == name) {
            return at;
        }
        const auto quote = tag.find_first_of("\"'", end);
        at = tag.find(tag[quote], quote + 1) + 1;
    }
    return 0;
}

void write_escaped(std::string &out, std::string_view text, Where where)
{
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\r':
            out += "&#13;";
            break;
        case '\n':
            out += where == Where::kAttribute ? "&#10;" : "\n";
            break;
        default:
            out += c;
        }
    }
}

} // namespace engine
