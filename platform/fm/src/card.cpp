#include "state.h"

namespace fm
{

Card default_card()
{
    Card card;
    card.do_bw_check = true;
    card.manageable_pon_links = 8;
    card.max_onus_per_pon_link = 128;
    card.max_pon_links = 8;
    return card;
}

State &state()
{
    static State the_state;
    return the_state;
}

void use_card(const Card &card)
{
    state() = {card, false};
}

} // namespace fm
