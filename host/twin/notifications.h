/**
 * @file
 * The stream of events and who has subscribed to it (RFC 5277, RFC 6470). Without sockets: the
 * server sends what comes out of here.
 */
#pragma once

#include "twin/confirmed_commit.h"
#include "twin/subtree_filter.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace host::twin
{

/** Wall-clock time, as events carry it. */
using EventTime = std::chrono::system_clock::time_point;

/** An event's element, as XML. */
struct Event {
    EventTime time;
    std::string body;
};

/** Reads a date and time of YANG (RFC 3339); nothing for any other text. */
std::optional<EventTime> event_time_of(std::string_view text);
/** In UTC, to the millisecond. */
std::string text_of(EventTime time);

/** Bodies of events (RFC 6470). Author::session 0 stands for the server itself. */
struct ConfigEdit {
    std::string target;    /**< Instance identifier; its prefixes are names of modules. */
    std::string operation; /**< merge, replace, create, delete or remove. */
};
/** @param namespaces  Of the modules in targets, by name. */
std::string config_change_body(const Author &author, const std::string &datastore,
                               const std::vector<ConfigEdit> &edits,
                               const std::map<std::string, std::string> &namespaces);
std::string session_start_body(const Author &author);
/** @param killed_by  Session that ended it, for the reason "killed".
 *  @param reason     closed, killed, dropped, timeout, bad-hello or other. */
std::string session_end_body(const Author &author, const std::string &reason,
                             std::optional<std::uint32_t> killed_by = {});
/** @param timeout  For kStart and kExtend. */
std::string confirmed_commit_body(const Author &author, ConfirmEvent event,
                                  std::chrono::seconds timeout);
std::string replay_complete_body();
std::string notification_complete_body();

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
    bool selects(const SubscriptionRequest &request, const Event &event) const;

    const ly_ctx *m_context;
    EventTime m_created;
    std::size_t m_limit;
    std::deque<Event> m_log;
    std::optional<EventTime> m_aged;
    std::map<std::uint32_t, SubscriptionRequest> m_subscriptions;
};

} // namespace host::twin
