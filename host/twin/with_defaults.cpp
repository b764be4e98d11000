#include "twin/with_defaults.h"

#include "engine/data/print_tree.h"
#include "twin/server_context.h"

#include <array>

namespace host::twin
{
namespace
{

struct Mode {
    WithDefaults mode;
    const char *name;
    std::uint32_t options;
};
constexpr std::array<Mode, 4> kModes{
    {{WithDefaults::kExplicit, "explicit", LYD_PRINT_WD_EXPLICIT},
     {WithDefaults::kReportAll, "report-all", LYD_PRINT_WD_ALL},
     {WithDefaults::kReportAllTagged, "report-all-tagged", LYD_PRINT_WD_IMPL_TAG},
     {WithDefaults::kTrim, "trim", LYD_PRINT_WD_TRIM}}};

const Mode &row_of(WithDefaults mode)
{
    for (const auto &row : kModes) {
        if (row.mode == mode) {
            return row;
        }
    }
    std::abort(); // All modes are in the table.
}

/** libyang gives the attribute the namespace of a module; no text can look like this tag, since
 *  there `>` is escaped. */
std::string with_standard_tags(const std::string &xml)
{
    static constexpr std::string_view kWritten =
        " xmlns:ncwd=\"urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults\""
        " ncwd:default=\"true\"";
    static const std::string kStandard =
        std::string(" xmlns:wd=\"") + kDefaultNamespace + "\" wd:default=\"true\"";
    std::string text;
    text.reserve(xml.size());
    std::size_t begin = 0;
    for (auto at = xml.find(kWritten); at != std::string::npos; at = xml.find(kWritten, begin)) {
        const std::size_t end = at + kWritten.size();
        const bool is_tag = xml[end] == '>' || xml.compare(end, 2, "/>") == 0;
        text.append(xml, begin, at - begin).append(is_tag ? std::string_view(kStandard) : kWritten);
        begin = end;
    }
    return text.append(xml, begin);
}

} // namespace

std::optional<WithDefaults> with_defaults_of(std::string_view text)
{
    for (const auto &row : kModes) {
        if (row.name == text) {
            return row.mode;
        }
    }
    return std::nullopt;
}

const char *name_of(WithDefaults mode)
{
    return row_of(mode).name;
}

WithDefaults with_defaults_of(const lyd_node *rpc)
{
    for (const lyd_node *child = lyd_child(rpc); child != nullptr; child = child->next) {
        const char *value = lyd_get_value(child);
        if (std::string_view(LYD_NAME(child)) == "with-defaults" && value != nullptr) {
            return with_defaults_of(std::string_view(value)).value_or(kBasicMode);
        }
    }
    return kBasicMode;
}

std::string printed(const lyd_node *tree, WithDefaults mode)
{
    std::string xml = engine::print_tree(tree, LYD_XML, engine::Siblings::kPrinted,
                                         LYD_PRINT_SHRINK | row_of(mode).options);
    return mode == WithDefaults::kReportAllTagged ? with_standard_tags(xml) : xml;
}

} // namespace host::twin
