/**
 * @file
 * The stream of events and who has subscribed to it (RFC 5277). Without sockets: the
 * server sends what comes out of here.
 */
#pragma once

#include "twin/event_bodies.h"
#include "twin/subtree_filter.h"

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace host::twin
{

/** An event's element, as XML. */
struct Event {
    EventTime time;
    std::string body;
};

/** What a client asks for with <create-subscription>. */
struct SubscriptionRequest {
    std::string stream = "NETCONF";
    std::optional<EventTime> start{};
    std::optional<EventTime> stop{};
    /** Selects from an event's tree; without one all events are sent. */
    std::optional<SubtreeFilter> subtree{};
    std::optional<std::string> xpath{}; /**< Instead of it; with module names as prefixes. */
};

/** An event to send to a session. */
struct Delivery {
    std::uint32_t session = 0;
    Event event;
};

/**
 * Keeps the last events for replay, and tells which session gets which event. It has no clock. Not
 * for several threads at once.
 */
class Notifications
{
public:
    static constexpr const char *kStream = "NETCONF";

    /**
     * @param context  In which bodies are parsed for filters: must hold their modules.
     * @param limit    Events that are kept.
     */
    Notifications(const ly_ctx *context, EventTime now, std::size_t limit = 1000);

    /**
     * Subscribes a session.
     * @return Why not; else nothing, and `replay` has what is to be sent at once.
     */
    std::optional<Refusal> subscribe(std::uint32_t session, SubscriptionRequest request,
                                     EventTime now, std::vector<Delivery> &replay);
    bool is_subscribed(std::uint32_t session) const;
    void session_ended(std::uint32_t session);

    /** Adds an event to the log. @return Who gets it. */
    std::vector<Delivery> publish(Event event);
    /** Ends subscriptions whose stop time has come. @return Their last notifications. */
    std::vector<Delivery> expire(EventTime now);
    /** When to call `expire`. */
    std::optional<EventTime> deadline() const;

    EventTime log_created() const { return m_created; }
    /** Time of the last event that the log has lost; nothing: it has lost none. */
    std::optional<EventTime> log_aged() const { return m_aged; }

private:
    bool is_sent(const SubscriptionRequest &request, const Event &event) const;
    bool selects(const SubscriptionRequest &request, const Event &event) const;

    const ly_ctx *m_context;
    EventTime m_created;
    std::size_t m_limit;
    std::deque<Event> m_log;
    std::optional<EventTime> m_aged;
    std::map<std::uint32_t, SubscriptionRequest> m_subscriptions;
};

} // namespace host::twin
