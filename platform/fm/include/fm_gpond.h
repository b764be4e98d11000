/**
 * @file
 * Platform facility of the GPON line-card daemon: the card's slot and capacities.
 *
 * A call that has no figure for the card leaves its output as it was.
 */
#pragma once

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Identifies the card's slot. Callers only pass its address on. */
struct fm_slot {
    uint32_t chassis;
    uint32_t slot;
};
typedef struct fm_slot fm_slot_t;

/** Must come first. @return 0, or non-zero when the card's capabilities are not available. */
int fm_init(void);

/** Fills in the slot that this process runs on. @return 0, or non-zero on failure. */
int fm_local_slot(fm_slot_t *slot);

/** Whether upstream bandwidth limits are to be enforced. @return 0 if `*enabled` was written. */
int fm_scalar_card_gpond_do_bw_check(const fm_slot_t *slot, bool *enabled);

/** Number of PON links that may be configured. @return 0 if `*count` was written. */
int fm_scalar_card_gpond_manageable_pon_links(const fm_slot_t *slot, uint32_t *count);

/** @return A function that gives the most ONUs of a PON link (its argument is the link, 0 for any),
 *          or null when the board does not tell. */
int (*fm_oper_card_gpond_get_max_num_onu_per_ponlink_from_board(const fm_slot_t *slot))(int);

/** @return A function that gives the number of PON links, or null when the board does not tell. */
int (*fm_oper_card_gpond_get_max_num_ponlink_from_board(const fm_slot_t *slot))(void);

#ifdef __cplusplus
}
#endif
