#include "commit.h"

#include "gpon_card_valid.h"

#include "call_recorder.h"
#include "engine/data/path.h"
#include "stopwatch.h"

#include <fm_host.h>

#include <algorithm>
#include <functional>
#include <stdexcept>

namespace bench
{
namespace
{

void use_card_of(std::uint32_t links)
{
    fm::Card card;
    card.do_bw_check = true;
    card.max_onus_per_pon_link = static_cast<int>(shape_of(links, 1).onus);
    card.max_pon_links = static_cast<int>(links);
    card.manageable_pon_links = links;
    fm::use_card(card);
}

/** Calls with each data node of a schema node, in document order. */
void for_each_instance(const lyd_node *root, const engine::SchemaNode &schema,
                       const std::function<void(const lyd_node *)> &visit)
{
    const auto visit_below = [&](const lyd_node *parent) {
        for (const auto *node = engine::first_instance(root, parent, schema); node != nullptr;
             node = engine::next_instance(node)) {
            visit(node);
        }
    };
    if (schema.up() == nullptr) {
        visit_below(nullptr);
    } else {
        for_each_instance(root, *schema.up(), visit_below);
    }
}

/** Tells of answers with the time that was measured here. */
class WithTime : public engine::Observer
{
public:
    WithTime(engine::Observer &listener, const std::chrono::nanoseconds &time)
        : m_listener(listener), m_time(time)
    {
    }

    void after(std::size_t request, const engine::Answer &answer) override
    {
        engine::Answer timed = answer;
        timed.time = m_time;
        m_listener.after(request, timed);
    }

private:
    engine::Observer &m_listener;
    const std::chrono::nanoseconds &m_time;
};

} // namespace

std::vector<engine::Request> requests_for(const std::string &rule, const engine::Datastore &tree)
{
    std::vector<engine::Request> requests;
    for (const auto &point : schema()->points()) {
        if (point.opaque == rule) {
            for_each_instance(tree.root(), point.once ? *point.node->up() : *point.node,
                              [&](const lyd_node *node) {
                                  requests.push_back({&point, node, ""});
                              });
        }
    }
    return requests;
}

bool is_local(const std::string &call)
{
    return call.rfind("confd_", 0) == 0 || call == "maapi_query_free_result";
}

std::uint64_t Sum::requests() const
{
    std::uint64_t count = 0;
    for (const auto &[call, calls_of_it] : calls) {
        count += is_local(call) ? 0 : calls_of_it;
    }
    return count;
}

void Sum::after(std::size_t /*request*/, const engine::Answer &answer)
{
    time += answer.time;
    verdict = std::max(verdict, answer.verdict);
    for (const auto &[name, count] : answer.calls) {
        calls[name] += count;
    }
}

host::Plugin &plugin(std::uint32_t links)
{
    static host::Plugin loaded("");
    static std::uint32_t present = 0;
    if (present != links) {
        use_card_of(links);
        loaded.init();
        present = links;
    }
    return loaded;
}

engine::Callback recorded_plugin(std::uint32_t links)
{
    use_card_of(links);
    if (lib_init() != 0) {
        throw std::runtime_error("the plug-in's copy cannot be initialised");
    }
    return [](confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval) {
        Recorder::instance().set_keypath(kp);
        return validate(tctx, kp, newval);
    };
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
    std::chrono::nanoseconds time{0};
    const auto timed = [&](confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval) {
        const Stopwatch stopwatch;
        const int result = callback(tctx, kp, newval);
        time = stopwatch.elapsed();
        return result;
    };
    WithTime observer_of_time(observer, time);
    return engine::validate(*m_transaction, requests, plugin(m_links).validation_point(), timed,
                            m_context.word(), true, observer_of_time);
}

} // namespace bench
