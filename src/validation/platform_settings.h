/**
 * @file
 * What the card can do: capacities and the switch for the bandwidth check.
 *
 * lib_init reads the capacities from the platform once; until then the record holds defaults. It is
 * process-wide and not locked: it is written at initialisation only.
 */
#pragma once

#include "export.h"

#include <cstdint>

struct PlatformSettings {
    /** Whether the bandwidth limits of a PON link are enforced. */
    bool do_bw_check;
    /** Most T-CONTs with bandwidth traffic type 2 to 5 in a line profile. */
    std::uint32_t max_tconts_bw_type_2_to_5;
    /** Most T-CONTs with bandwidth traffic type 1 in a line profile. */
    std::uint32_t max_tconts_bw_type_1;
    /** Most ONUs on a PON link. */
    std::int32_t num_onus_per_ponlink;
    /** PON links on the card. */
    std::int32_t num_ponlinks;
    /** PON links that may be configured. */
    std::uint32_t num_manageable_ponlinks;
};

extern PlatformSettings platform_settings;

extern "C" {

/**
 * Stores the switch, and with it the T-CONT limits: a platform without the bandwidth check may give
 * a line profile one T-CONT of types 2 to 5 more (4 instead of 3); type 1 stays at 3.
 */
GPON_EXPORT void set_do_bw_check(bool enabled);
/** Whether the bandwidth limits of a PON link are enforced. */
GPON_EXPORT bool get_do_bw_check();

/** Stores any value, without a range check. */
GPON_EXPORT void set_num_onus_per_ponlink(std::uint32_t n);
/** Most ONUs on a PON link. */
GPON_EXPORT std::int32_t get_num_onus_per_ponlink();

/** Stores any value, without a range check. */
GPON_EXPORT void set_num_ponlinks(std::uint32_t n);
/** PON links on the card. */
GPON_EXPORT std::int32_t get_num_ponlinks();

/** Stores any value, without a range check. */
GPON_EXPORT void set_num_manageable_ponlinks(std::uint32_t n);
/** PON links that may be configured. */
GPON_EXPORT std::uint32_t get_num_manageable_ponlinks();

} // extern "C"
