#include "headroom/link_figures.h"

#include "headroom/room.h"
#include "headroom/tree.h"

#include <gpon_bw_limit.h>

#include <algorithm>
#include <map>
#include <optional>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

namespace host
{
namespace
{

using Index = std::unordered_map<std::string, std::size_t>;

/** What a bandwidth profile grants at most, by name: the rules do not count it. */
std::unordered_map<std::string, std::uint64_t> read_maxima(const lyd_node *profiles)
{
    std::unordered_map<std::string, std::uint64_t> maxima;
    for_each_child(profiles, "bandwidth-profile", [&](const lyd_node *profile) {
        const lyd_node *traffic = child(profile, "traffic");
        const lyd_node *type = traffic != nullptr ? lyd_child(traffic) : nullptr;
        for (const char *rate : {"maximum", "assured", "fixed"}) {
            if (const lyd_node *leaf = child(type, rate)) {
                maxima.emplace(value(child(profile, "name")), number(leaf));
                break;
            }
        }
    });
    return maxima;
}

Index read_lines(const lyd_node *profiles, Figures &figures)
{
    const auto maxima = read_maxima(profiles);
    Index index;
    for_each_child(profiles, "line-profile", [&](const lyd_node *entry) {
        LineFigures line;
        line.name = value(child(entry, "name"));
        const auto sums = line_profiles.find(line.name);
        if (sums != line_profiles.end()) {
            const bandwidth_ctx &demand = sums->second;
            line.guaranteed = demand.total;
            line.fixed = demand.fixed;
            line.static_tconts = demand.static_tconts;
            line.dynamic_tconts = demand.dynamic_tconts;
        }
        for_each_child(entry, "tcont", [&](const lyd_node *tcont) {
            const std::string bandwidth = value(child(tcont, "bandwidth-profile"));
            if (bandwidth_profiles.count(bandwidth) == 0) {
                line.missing.push_back(bandwidth);
            } else if (const auto maximum = maxima.find(bandwidth); maximum != maxima.end()) {
                line.maximum += maximum->second;
            }
        });
        index.emplace(line.name, figures.lines.size());
        figures.lines.push_back(std::move(line));
    });
    return index;
}

/** The ONUs with their line profiles; what there is to tell of them goes to the link's figures. */
void read_onus(const lyd_node *link, const Index &index, Figures &figures, LinkFigures &figured)
{
    constexpr std::size_t kLargest = 10;
    std::map<std::size_t, std::uint32_t> users;
    std::vector<OnuFigures> onus;
    for_each_child(link, "onu", [&](const lyd_node *entry) {
        OnuFigures onu;
        onu.id = number(child(entry, "onu-id"));
        onu.line = value(below(entry, "profile-references", "line-profile"));
        const auto found = index.find(onu.line);
        if (found == index.end()) {
            figured.missing.push_back(onu.line);
        } else {
            LineFigures &line = figures.lines[found->second];
            ++line.onus;
            ++users[found->second];
            onu.is_known = true;
            onu.guaranteed = line.guaranteed;
            onu.fixed = line.fixed;
            figured.maximum += line.maximum;
        }
        onus.push_back(std::move(onu));
    });
    std::sort(figured.missing.begin(), figured.missing.end());
    figured.missing.erase(std::unique(figured.missing.begin(), figured.missing.end()),
                          figured.missing.end());
    figured.onus = static_cast<std::uint32_t>(onus.size());
    for (const auto &[line, count] : users) {
        const std::uint64_t each =
            std::uint64_t{figures.lines[line].guaranteed} + kOverheadPerOnuKbps;
        figured.shares.push_back({figures.lines[line].name, count, count * each});
    }
    std::stable_sort(
        figured.shares.begin(), figured.shares.end(),
        [](const Share &one, const Share &other) { return one.guaranteed > other.guaranteed; });
    const auto last = onus.begin() + static_cast<std::ptrdiff_t>(std::min(kLargest, onus.size()));
    std::partial_sort(onus.begin(), last, onus.end(),
                      [](const OnuFigures &one, const OnuFigures &other) {
                          return std::make_tuple(other.guaranteed, other.fixed, one.id) <
                                 std::make_tuple(one.guaranteed, one.fixed, other.id);
                      });
    figured.largest.assign(onus.begin(), last);
}

std::unordered_set<std::string> ports_with_settings(const lyd_node *config)
{
    std::unordered_set<std::string> ports;
    for_each_child(config, "gpon", [&](const lyd_node *card) {
        for_each_child(card, "pon-link",
                       [&](const lyd_node *link) { ports.insert(value(child(link, "port"))); });
    });
    return ports;
}

} // namespace

void read_links(const RuleSession &session, const lyd_node *config, Figures &figures)
{
    reload_profiles(session.sock(), session.tctx());
    const Index index = read_lines(below(config, "profile", "gpon"), figures);
    const auto settings = ports_with_settings(config);
    std::vector<std::optional<LinkDemand>> demands;
    for_each_child(child(config, "interface"), "gpon", [&](const lyd_node *entry) {
        LinkFigures link;
        const std::string port = value(child(entry, "port-id"));
        link.port = number(child(entry, "port-id"));
        link.name =
            value(child(entry, "chassis-id")) + "/" + value(child(entry, "slot-id")) + "/" + port;
        link.has_settings = settings.count(port) != 0;
        read_onus(entry, index, figures, link);
        LinkDemand demand;
        std::string unknown;
        link.is_read = read_ponlink_demand(session.sock(), session.tctx(), port, demand, unknown) !=
                       DemandRead::kFailed;
        link.guaranteed = demand.total;
        link.fixed = demand.fixed;
        link.overhead = demand.overhead();
        const bool is_rejected = figures.limits.do_bw_check && !unknown.empty();
        demands.push_back(is_rejected ? std::nullopt : std::optional(demand));
        figures.links.push_back(std::move(link));
    });
    for (std::size_t i = 0; i < demands.size(); ++i) {
        figures.links[i].room =
            demands[i] ? room_on(*demands[i], figures)
                       : std::vector<Room>(figures.lines.size(), {0, 0, RoomLimit::kMissingLine});
    }
}

} // namespace host
