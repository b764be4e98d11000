#include "twin/with_defaults.h"

#include <array>
#include <cstdlib>
#include <utility>

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
     {WithDefaults::kReportAllTagged, "report-all-tagged", LYD_PRINT_WD_ALL_TAG},
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

std::uint32_t print_options(WithDefaults mode)
{
    return row_of(mode).options;
}

std::string with_defaults_capability()
{
    std::string uri = "urn:ietf:params:netconf:capability:with-defaults:1.0?basic-mode=" +
                      std::string(name_of(kBasicMode));
    const char *separator = "&also-supported=";
    for (const auto &row : kModes) {
        if (row.mode != kBasicMode) {
            uri += std::exchange(separator, ",") + std::string(row.name);
        }
    }
    return uri;
}

} // namespace host::twin
