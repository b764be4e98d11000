#include "engine/data/xml_text.h"

#include "engine/data/xml_writer.h"

#include <algorithm>

namespace engine
{
namespace
{

constexpr std::string_view kBlanks = " \t\r\n";

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/** The text behind an XML declaration that says UTF-8 or no encoding; all of it otherwise. */
std::string_view behind_declaration(std::string_view text)
{
    const auto end = text.find("?>");
    if (text.substr(0, 6) != "<?xml " || end == std::string_view::npos) {
        return text;
    }
    const auto declaration = text.substr(0, end);
    const bool is_plain = declaration.find("encoding") == std::string_view::npos ||
                          declaration.find("UTF-8") != std::string_view::npos ||
                          declaration.find("utf-8") != std::string_view::npos;
    return is_plain ? text.substr(end + 2) : text;
}

/** Whether a comment, a CDATA section or a processing instruction may begin in the text. */
bool has_markup(std::string_view text)
{
    for (const char kind : {'!', '?'}) {
        for (auto at = text.find(kind); at != std::string_view::npos;
             at = text.find(kind, at + 1)) {
            if (at > 0 && text[at - 1] == '<') {
                return true;
            }
        }
    }
    return false;
}

/** Whether what an equals sign ends is the name of a namespace declaration. */
bool declares_namespace(std::string_view before)
{
    while (!before.empty() && is_blank(before.back())) {
        before.remove_suffix(1);
    }
    const auto blank = before.find_last_of(kBlanks);
    const auto name = before.substr(blank == std::string_view::npos ? 0 : blank + 1);
    return name == "xmlns" || name.substr(0, 6) == "xmlns:";
}

/** Whether there may be attributes besides a few declarations of what edits and data need. */
bool has_attributes(std::string_view text, std::string_view space)
{
    std::size_t namespaces = 0;
    for (auto at = text.find('='); at != std::string_view::npos; at = text.find('=', at + 1)) {
        const auto open = std::min(text.find_first_not_of(kBlanks, at + 1), text.size());
        const auto quote = text.substr(open, 1);
        if (quote != "\"" && quote != "'") {
            continue;
        }
        const auto value = text.substr(open + 1, text.find(quote, open + 1) - open - 1);
        const bool is_known =
            value == space || value == kNetconfNamespace || value == kYangNamespace;
        if (!is_known || !declares_namespace(text.substr(0, at)) || ++namespaces > kMaxNamespaces) {
            return true;
        }
    }
    return false;
}

/** Whether the text begins with a node of the top, as it is usually written. */
bool begins_with_data(std::string_view text, const Schema &schema)
{
    const auto open = std::min(text.find('<'), text.size());
    const auto tag = text.substr(open, text.find('>', open) - open);
    const auto name = tag.substr(0, tag.find_first_of(" \t\r\n/")).substr(tag.empty() ? 0 : 1);
    const std::string space = schema.module()->ns;
    return schema.top(name) != nullptr &&
           (tag.find(" xmlns=\"" + space + '"') != std::string_view::npos ||
            tag.find(" xmlns='" + space + "'") != std::string_view::npos);
}

/** Ends a message in a session over NETCONF; who saves one may have it in the file. */
std::string_view without_end_of_message(std::string_view text)
{
    constexpr std::string_view kEnd = "]]>]]>";
    const auto end = text.find_last_not_of(kBlanks) + 1;
    const bool has_end = end >= kEnd.size() && text.substr(end - kEnd.size(), kEnd.size()) == kEnd;
    return has_end ? text.substr(0, end - kEnd.size()) : text;
}

} // namespace

std::optional<std::string> normalise_xml(const RawText &raw, Envelope &envelope)
{
    RawText message = raw;
    message.text = without_end_of_message(raw.text);
    const auto body = behind_declaration(message.text);
    const auto begin = body.find_first_not_of(kBlanks);
    const bool is_markup = begin != std::string_view::npos && body[begin] == '<';
    const bool is_plain =
        !is_markup || (!raw.source.reading.skip_foreign && begins_with_data(body, raw.schema) &&
                       !has_markup(body) && !has_attributes(body, raw.schema.module()->ns));
    if (is_plain && message.text.size() == raw.text.size()) {
        return std::nullopt;
    }
    return write_xml(message, envelope);
}

} // namespace engine
