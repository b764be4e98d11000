#include "commit.h"

#include "gpon_card_valid.h"

#include <fm_host.h>

#include <stdexcept>

namespace bench
{
namespace
{

void use_figures(std::uint32_t links)
{
    fm::Card figures;
    figures.do_bw_check = true;
    figures.max_onus_per_pon_link = static_cast<int>(shape_of(links, 1).onus);
    figures.max_pon_links = static_cast<int>(links);
    figures.manageable_pon_links = links;
    fm::use_card(figures);
}

} // namespace

host::Plugin &plugin(std::uint32_t links)
{
    static host::Plugin loaded("");
    static std::uint32_t present = 0;
    if (present != links) {
        use_figures(links);
        loaded.init();
        present = links;
    }
    return loaded;
}

engine::Callback recorded_plugin(std::uint32_t links)
{
    use_figures(links);
    if (lib_init() != 0) {
        throw std::runtime_error("the plug-in's copy cannot be initialised");
    }
    return &validate;
}

Commit::Commit(const Card &card, engine::Datastore candidate)
    : m_links(card.links()), m_framework(card.running().copy()),
      m_transaction(&m_framework.begin(std::move(candidate)))
{
}

engine::Verdict Commit::ask(const std::vector<engine::Request> &requests,
                            engine::Observer &observer)
{
    host::Plugin &shipped = plugin(m_links);
    return ask(requests, observer,
               [&shipped](confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval) {
                   return shipped.validate(tctx, kp, newval);
               });
}

engine::Verdict Commit::ask(const std::vector<engine::Request> &requests,
                            engine::Observer &observer, const engine::Callback &callback)
{
    return engine::validate(*m_transaction, requests, plugin(m_links).validation_point(), callback,
                            m_context.word(), true, observer);
}

} // namespace bench
