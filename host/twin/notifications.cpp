#include "twin/notifications.h"

#include <stdexcept>
#include <utility>

namespace host::twin
{
namespace
{

struct FreeInput {
    void operator()(ly_in *input) const { ly_in_free(input, 0); }
};

Tree parse(const ly_ctx *context, const std::string &body)
{
    ly_in *input = nullptr;
    ly_in_new_memory(body.c_str(), &input);
    const std::unique_ptr<ly_in, FreeInput> owned(input);
    lyd_node *tree = nullptr;
    if (lyd_parse_op(context, nullptr, input, LYD_XML, LYD_TYPE_NOTIF_YANG, &tree, nullptr) !=
        LY_SUCCESS) {
        lyd_free_all(tree);
        throw std::logic_error("an event is none of the model: " + body);
    }
    return Tree(tree);
}

/** Where a client's wish makes no sense. */
std::optional<Refusal> fault_of(const SubscriptionRequest &request, EventTime now)
{
    if (request.stream != Notifications::kStream) {
        return Refusal{"invalid-value", "There is no stream \"" + request.stream + "\".", "stream"};
    }
    if (request.stop && !request.start) {
        return Refusal{"missing-element", "A stop time needs a start time.", "startTime"};
    }
    if (request.start && *request.start > now) {
        return Refusal{"bad-element", "The start time is in the future.", "startTime"};
    }
    if (request.stop && *request.stop < *request.start) {
        return Refusal{"bad-element", "The stop time is before the start time.", "stopTime"};
    }
    return std::nullopt;
}

} // namespace

Notifications::Notifications(const ly_ctx *context, EventTime now, std::size_t limit)
    : m_context(context), m_created(now), m_limit(limit)
{
}

std::optional<Refusal> Notifications::subscribe(std::uint32_t session, SubscriptionRequest request,
                                                EventTime now, std::vector<Delivery> &replay)
{
    if (is_subscribed(session)) {
        return Refusal{"in-use", "The session has a subscription already."};
    }
    if (auto refusal = fault_of(request, now)) {
        return refusal;
    }
    try {
        // An expression that is none fails with any event.
        selects(request, {now, session_start_body({"", "", session, "", ""})});
    } catch (const FilterError &failure) {
        return Refusal{"invalid-value", failure.what(), "filter"};
    }
    const auto &[entry, is_new] = m_subscriptions.emplace(session, std::move(request));
    if (!entry->second.start) {
        return std::nullopt;
    }
    for (const auto &event : m_log) {
        if (event.time >= *entry->second.start && is_sent(entry->second, event)) {
            replay.push_back({session, event});
        }
    }
    replay.push_back({session, {now, replay_complete_body()}});
    if (entry->second.stop && *entry->second.stop <= now) {
        replay.push_back({session, {now, notification_complete_body()}});
        m_subscriptions.erase(entry);
    }
    return std::nullopt;
}

bool Notifications::is_subscribed(std::uint32_t session) const
{
    return m_subscriptions.count(session) != 0;
}

void Notifications::session_ended(std::uint32_t session)
{
    m_subscriptions.erase(session);
}

std::vector<Delivery> Notifications::publish(Event event)
{
    std::vector<Delivery> deliveries;
    for (const auto &[session, request] : m_subscriptions) {
        if (is_sent(request, event)) {
            deliveries.push_back({session, event});
        }
    }
    m_log.push_back(std::move(event));
    if (m_log.size() > m_limit) {
        m_aged = m_log.front().time;
        m_log.pop_front();
    }
    return deliveries;
}

std::vector<Delivery> Notifications::expire(EventTime now)
{
    std::vector<Delivery> deliveries;
    for (auto next = m_subscriptions.begin(); next != m_subscriptions.end();) {
        if (next->second.stop && *next->second.stop <= now) {
            deliveries.push_back({next->first, {now, notification_complete_body()}});
            next = m_subscriptions.erase(next);
        } else {
            ++next;
        }
    }
    return deliveries;
}

std::optional<EventTime> Notifications::deadline() const
{
    std::optional<EventTime> first;
    for (const auto &[session, request] : m_subscriptions) {
        if (request.stop && (!first || *request.stop < *first)) {
            first = request.stop;
        }
    }
    return first;
}

bool Notifications::is_sent(const SubscriptionRequest &request, const Event &event) const
{
    return (!request.stop || event.time <= *request.stop) && selects(request, event);
}

bool Notifications::selects(const SubscriptionRequest &request, const Event &event) const
{
    if (!request.subtree && !request.xpath) {
        return true;
    }
    const Tree tree = parse(m_context, event.body);
    return !(request.subtree ? request.subtree->select(tree.get())
                             : select_xpath(tree.get(), *request.xpath))
                .empty();
}

} // namespace host::twin
