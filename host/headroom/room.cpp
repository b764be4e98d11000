#include "headroom/room.h"

#include <algorithm>
#include <map>
#include <utility>

namespace host
{
namespace
{

/** One ONU after the other, in the rule's own arithmetic. Overhead alone ends it, but for sums
 *  beyond 32 bits. */
Room by_bandwidth(const bandwidth_ctx &line, LinkDemand demand)
{
    constexpr std::uint32_t kMost = kUpstreamCapacityKbps / kOverheadPerOnuKbps;
    const auto is_full = [&demand] {
        return demand.exceeds_capacity() || demand.exceeds_fixed_capacity();
    };
    Room room;
    for (bool is_too_full = is_full(); !is_too_full && room.more < kMost; ++room.more) {
        demand.add(line);
        ++demand.num_onus;
        if (is_full()) {
            break;
        }
    }
    room.by_bandwidth = room.more;
    room.limit = demand.exceeds_fixed_capacity() && !demand.exceeds_capacity()
                     ? RoomLimit::kFixed
                     : RoomLimit::kGuaranteed;
    return room;
}

Room room_for(const bandwidth_ctx &line, const LinkDemand &link, const Limits &limits)
{
    Room room = by_bandwidth(line, link);
    const std::uint32_t numbers = limits.onus - std::min(link.num_onus, limits.onus);
    if (!limits.do_bw_check || numbers < room.more) {
        room.more = numbers;
        room.limit = RoomLimit::kOnus;
        room.by_bandwidth = limits.do_bw_check ? room.by_bandwidth : numbers;
    }
    return room;
}

} // namespace

std::vector<Room> room_on(const LinkDemand &link, const Figures &figures)
{
    std::vector<Room> all;
    all.reserve(figures.lines.size());
    std::map<std::pair<std::uint32_t, std::uint32_t>, Room> known; // Many profiles ask the same.
    for (const LineFigures &line : figures.lines) {
        const auto [entry, is_new] = known.try_emplace({line.guaranteed, line.fixed});
        if (is_new) {
            entry->second = room_for({line.guaranteed, line.fixed, 0, 0}, link, figures.limits);
        }
        all.push_back(entry->second);
    }
    return all;
}

} // namespace host
