#include "fm_gpond.h"
#include "state.h"

namespace
{

constexpr int kDone = 0;
constexpr int kNoFigure = -1;

/** The card in a slot; null for a slot that it is not in, and before fm_init. */
const fm::Card *card_in(const fm_slot_t *slot)
{
    const fm::State &state = fm::state();
    const bool is_here =
        slot != nullptr && slot->chassis == state.card.chassis && slot->slot == state.card.slot;
    return state.initialised && is_here ? &state.card : nullptr;
}

// The board answers these: they are handed out only while the card has the figure.

int max_onus_of_pon_link(int /*link*/)
{
    return fm::state().card.max_onus_per_pon_link.value_or(0);
}

int max_pon_links()
{
    return fm::state().card.max_pon_links.value_or(0);
}

} // namespace

int fm_init(void)
{
    fm::State &state = fm::state();
    state.initialised = state.card.init_result == 0;
    return state.card.init_result;
}

int fm_local_slot(fm_slot_t *slot)
{
    const fm::State &state = fm::state();
    if (!state.initialised) {
        return kNoFigure;
    }
    if (state.card.local_slot_result == 0) {
        *slot = {state.card.chassis, state.card.slot};
    }
    return state.card.local_slot_result;
}

int fm_scalar_card_gpond_do_bw_check(const fm_slot_t *slot, bool *enabled)
{
    const fm::Card *card = card_in(slot);
    if (card == nullptr || !card->do_bw_check) {
        return kNoFigure;
    }
    *enabled = *card->do_bw_check;
    return kDone;
}

int fm_scalar_card_gpond_manageable_pon_links(const fm_slot_t *slot, uint32_t *count)
{
    const fm::Card *card = card_in(slot);
    if (card == nullptr || !card->manageable_pon_links) {
        return kNoFigure;
    }
    *count = *card->manageable_pon_links;
    return kDone;
}

int (*fm_oper_card_gpond_get_max_num_onu_per_ponlink_from_board(const fm_slot_t *slot))(int)
{
    const fm::Card *card = card_in(slot);
    return card != nullptr && card->max_onus_per_pon_link ? max_onus_of_pon_link : nullptr;
}

int (*fm_oper_card_gpond_get_max_num_ponlink_from_board(const fm_slot_t *slot))(void)
{
    const fm::Card *card = card_in(slot);
    return card != nullptr && card->max_pon_links ? max_pon_links : nullptr;
}
