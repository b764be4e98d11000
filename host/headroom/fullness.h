/**
 * @file
 * How close a figure is to its limit, in numbers and in words.
 */
#pragma once

#include "headroom/figures.h"

#include <cstdint>
#include <string>

namespace host
{

/** Below, or over 70, 90 or 100 % of the limit. */
enum class Fullness { kLow, kOver70, kOver90, kOver100 };

Fullness fullness(std::uint64_t value, std::uint64_t limit);

/** The higher one of a link's guaranteed and fixed rates. */
Fullness fullness(const LinkFigures &link, const Limits &limits);

/** In percent of the limit; of a limit of 0, 0. */
double percent(std::uint64_t value, std::uint64_t limit);

/** Such as `80.7 %`: below 100 only what is below the limit, and above only what is above it. */
std::string percent_text(std::uint64_t value, std::uint64_t limit);

/** In groups of three digits, such as `1,107,504`. */
std::string grouped(std::uint64_t number);

/** What the maximum rates of a link are to its capacity, such as `3.20x`. */
std::string oversubscription(const LinkFigures &link, const Limits &limits);

/** Where a link differs from a full and sound one, in words; empty: nowhere. */
std::string remark_on(const LinkFigures &link);

/** How many ONUs fit, with what keeps out one more: 3, `3 f` (fixed rate), `0 of 3` or `none`. */
std::string room_text(const Room &room);

/** Port of a service profile, as people know it. */
std::string port_name(const VlanFigures &vlan);

/** The link of the same number; null when there is none. */
const LinkFigures *find_link(const Figures &figures, std::uint32_t port);
/** The line profile of that name; its place, or npos. */
std::size_t find_line(const Figures &figures, const std::string &name);

} // namespace host
