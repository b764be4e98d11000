#include "headroom/fullness.h"

#include <algorithm>
#include <cstdio>

namespace host
{
namespace
{

std::string decimal(std::uint64_t tenths_or_hundredths, unsigned digits)
{
    char text[32];
    const std::uint64_t unit = digits == 1 ? 10 : 100;
    std::snprintf(text, sizeof(text), "%llu.%0*llu",
                  static_cast<unsigned long long>(tenths_or_hundredths / unit),
                  static_cast<int>(digits),
                  static_cast<unsigned long long>(tenths_or_hundredths % unit));
    return text;
}

} // namespace

Fullness fullness(std::uint64_t value, std::uint64_t limit)
{
    constexpr std::uint64_t kAll = 100;
    const auto over = [&](std::uint64_t percentage) { return value * kAll > limit * percentage; };
    return over(kAll) ? Fullness::kOver100
           : over(90) ? Fullness::kOver90
           : over(70) ? Fullness::kOver70
                      : Fullness::kLow;
}

Fullness fullness(const LinkFigures &link, const Limits &limits)
{
    return std::max(fullness(link.demand(), limits.guaranteed), fullness(link.fixed, limits.fixed));
}

double percent(std::uint64_t value, std::uint64_t limit)
{
    return limit == 0 ? 0.0 : 100.0 * static_cast<double>(value) / static_cast<double>(limit);
}

std::string percent_text(std::uint64_t value, std::uint64_t limit)
{
    constexpr std::uint64_t kTenths = 1000;
    const std::uint64_t tenths = limit == 0 ? 0 : value * kTenths / limit;
    return decimal(value > limit ? tenths + 1 : tenths, 1) + " %";
}

std::string grouped(std::uint64_t number)
{
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3;) {
        at -= 3;
        text.insert(at, ",");
    }
    return text;
}

std::string oversubscription(const LinkFigures &link, const Limits &limits)
{
    return decimal(link.maximum * 100 / limits.guaranteed, 2) + "x";
}

std::string remark_on(const LinkFigures &link)
{
    std::string text;
    if (!link.is_read) {
        text = "its ONUs cannot be read";
    }
    for (const auto &name : link.missing) {
        text += (text.empty() ? "" : "; ") + (name.empty()
                                                  ? "an ONU has no line profile"
                                                  : "line profile " + name + " does not exist");
    }
    return text;
}

std::string room_text(const Room &room)
{
    std::string text = std::to_string(room.more);
    switch (room.limit) {
    case RoomLimit::kFixed:
        return text + " f";
    case RoomLimit::kOnus:
        return text +
               (room.more < room.by_bandwidth ? " of " + std::to_string(room.by_bandwidth) : "");
    case RoomLimit::kMissingLine:
        return "none";
    case RoomLimit::kGuaranteed:
        break;
    }
    return text;
}

std::string port_name(const VlanFigures &vlan)
{
    return vlan.is_veip ? "VEIP" : "Ethernet " + std::to_string(vlan.port);
}

const LinkFigures *find_link(const Figures &figures, std::uint32_t port)
{
    const auto found = std::find_if(figures.links.begin(), figures.links.end(),
                                    [port](const LinkFigures &link) { return link.port == port; });
    return found != figures.links.end() ? &*found : nullptr;
}

std::size_t find_line(const Figures &figures, const std::string &name)
{
    const auto found = std::find_if(figures.lines.begin(), figures.lines.end(),
                                    [&](const LineFigures &line) { return line.name == name; });
    return found != figures.lines.end() ? static_cast<std::size_t>(found - figures.lines.begin())
                                        : std::string::npos;
}

} // namespace host
