/**
 * @file
 * Clients that are connected, and the locks that they hold.
 */
#pragma once

#include "twin/access.h"
#include "twin/history.h"
#include "twin/notifications.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace host::twin
{

enum class DatastoreName { kRunning, kCandidate, kStartup };
const char *name_of(DatastoreName datastore);

/** What is counted of a session's messages, as ietf-netconf-monitoring has it. */
struct MessageCounts {
    std::uint32_t in_rpcs = 0;
    std::uint32_t in_bad_rpcs = 0;
    std::uint32_t out_rpc_errors = 0;
    std::uint32_t out_notifications = 0;
};

/** What is counted of all sessions. */
struct SessionCounts {
    std::uint32_t in_bad_hellos = 0;
    std::uint32_t in_sessions = 0;
    std::uint32_t dropped_sessions = 0;
    MessageCounts messages{};
};

/** A client. Its own thread alone talks to it; others leave word here and wake that thread. */
class Session
{
public:
    Session(Author author, Role role);
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    std::uint32_t id() const { return m_author.session; }
    const Author &author() const { return m_author; }
    Role role() const { return m_role; }
    EventTime begin() const { return m_begin; }

    /** Readable when there is word for the session's thread. */
    int wake_fd() const { return m_wake_fd; }
    void wake() const;
    void clear_wake() const;

    /** Events that the client has subscribed to. */
    void post(std::vector<Event> events);
    std::vector<Event> take_posts();

    /** Counts one more. @param counter  Of MessageCounts. */
    void count(std::uint32_t MessageCounts::*counter);
    MessageCounts counts() const;

    /** Another session ends this one. */
    void kill(std::uint32_t killer);
    /** Whose doing it was; 0: it goes on. */
    std::uint32_t killed_by() const { return m_killed_by; }

private:
    Author m_author;
    Role m_role;
    EventTime m_begin = std::chrono::system_clock::now();
    int m_wake_fd;
    std::atomic<std::uint32_t> m_killed_by{0};
    mutable std::mutex m_mutex;
    std::vector<Event> m_posts;
    MessageCounts m_counts;
};

using SessionPtr = std::shared_ptr<Session>;

/** All sessions. For any thread. */
class Sessions
{
public:
    void add(const SessionPtr &session);
    /** A session that has no locks any more. @param dropped  It did not end as it should. */
    void remove(std::uint32_t id, bool dropped);
    /** A client that did not become a session. */
    void count_bad_hello();
    /** Since the server was started. */
    SessionCounts counts() const;
    /** Null when there is none of that number. */
    SessionPtr find(std::uint32_t id) const;
    std::size_t size() const;
    void wake_all() const;
    /** Calls with each. */
    std::vector<SessionPtr> all() const;

    /** @return Who has locked it already; nothing: the session has it now. */
    std::optional<std::uint32_t> lock(DatastoreName datastore, std::uint32_t id);
    /** @return Whether the session had locked it. */
    bool unlock(DatastoreName datastore, std::uint32_t id);
    /** Another session that has locked it; nothing: there is none. */
    std::optional<std::uint32_t> other_owner(DatastoreName datastore, std::uint32_t id) const;
    /** Since when whoever has locked it. */
    struct Lock {
        std::uint32_t session = 0;
        EventTime since;
    };
    std::optional<Lock> lock_of(DatastoreName datastore) const;

private:
    mutable std::mutex m_mutex;
    std::map<std::uint32_t, SessionPtr> m_sessions;
    SessionCounts m_counts; /**< The messages are those of sessions that have ended. */
    std::map<DatastoreName, Lock> m_locks;
};

} // namespace host::twin
