/**
 * @file
 * The host's side of the platform facility: which card this process represents.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace fm
{

/** A card's capabilities. One that is left out is one that the board does not report. */
struct Card {
    std::optional<bool> do_bw_check;
    std::optional<std::uint32_t> manageable_pon_links;
    std::optional<int> max_onus_per_pon_link;
    std::optional<int> max_pon_links;
    std::uint32_t chassis = 1;
    std::uint32_t slot = 1;
    int init_result = 0;       /**< What fm_init answers. */
    int local_slot_result = 0; /**< What fm_local_slot answers. */
};

/** The card that stands when none was named: bandwidth check on, 128 ONUs on each of 8 PON links.
 */
Card default_card();

/**
 * Reads a card from JSON, such as
 *
 *     { "do_bw_check": true, "max_onus_per_pon_link": 128, "max_pon_links": 16,
 *       "manageable_pon_links": 16 }
 *
 * `init_result` and `local_slot_result` may stand as well, to see what a failing card does.
 * @param text  Of the file.
 * @throws std::runtime_error  The text names the line or member, and what would be right.
 */
Card parse_card(const std::string &text);

/** The card that the calls of fm_gpond.h describe from now on. */
void use_card(const Card &card);

} // namespace fm
