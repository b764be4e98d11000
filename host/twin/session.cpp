#include "twin/session.h"

#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace host::twin
{

namespace
{

MessageCounts &operator+=(MessageCounts &sum, const MessageCounts &more)
{
    sum.in_rpcs += more.in_rpcs;
    sum.in_bad_rpcs += more.in_bad_rpcs;
    sum.out_rpc_errors += more.out_rpc_errors;
    sum.out_notifications += more.out_notifications;
    return sum;
}

} // namespace

const char *name_of(DatastoreName datastore)
{
    switch (datastore) {
    case DatastoreName::kRunning:
        return "running";
    case DatastoreName::kCandidate:
        return "candidate";
    case DatastoreName::kStartup:
        return "startup";
    }
    return "";
}

Session::Session(Author author, Role role)
    : m_author(std::move(author)), m_role(role), m_wake_fd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (m_wake_fd < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

Session::~Session()
{
    ::close(m_wake_fd);
}

void Session::wake() const
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(m_wake_fd, &one, sizeof(one));
}

void Session::clear_wake() const
{
    std::uint64_t count = 0;
    [[maybe_unused]] const auto size = ::read(m_wake_fd, &count, sizeof(count));
}

void Session::post(std::vector<Event> events)
{
    {
        const std::lock_guard lock(m_mutex);
        for (auto &event : events) {
            m_posts.push_back(std::move(event));
        }
    }
    wake();
}

std::vector<Event> Session::take_posts()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_posts, {});
}

void Session::count(std::uint32_t MessageCounts::*counter)
{
    const std::lock_guard lock(m_mutex);
    ++(m_counts.*counter);
}

MessageCounts Session::counts() const
{
    const std::lock_guard lock(m_mutex);
    return m_counts;
}

void Session::kill(std::uint32_t killer)
{
    m_killed_by = killer;
    wake();
}

void Sessions::add(const SessionPtr &session)
{
    const std::lock_guard lock(m_mutex);
    m_sessions[session->id()] = session;
    ++m_counts.in_sessions;
}

void Sessions::remove(std::uint32_t id, bool dropped)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_sessions.find(id);
    if (found != m_sessions.end()) {
        m_counts.messages += found->second->counts();
        m_counts.dropped_sessions += dropped ? 1 : 0;
        m_sessions.erase(found);
    }
}

void Sessions::count_bad_hello()
{
    const std::lock_guard lock(m_mutex);
    ++m_counts.in_bad_hellos;
}

SessionCounts Sessions::counts() const
{
    const std::lock_guard lock(m_mutex);
    SessionCounts all = m_counts;
    for (const auto &[id, session] : m_sessions) {
        all.messages += session->counts();
    }
    return all;
}

SessionPtr Sessions::find(std::uint32_t id) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_sessions.find(id);
    return found != m_sessions.end() ? found->second : nullptr;
}

std::size_t Sessions::size() const
{
    const std::lock_guard lock(m_mutex);
    return m_sessions.size();
}

void Sessions::wake_all() const
{
    for (const auto &session : all()) {
        session->wake();
    }
}

std::vector<SessionPtr> Sessions::all() const
{
    const std::lock_guard lock(m_mutex);
    std::vector<SessionPtr> sessions;
    for (const auto &[id, session] : m_sessions) {
        sessions.push_back(session);
    }
    return sessions;
}

std::optional<std::uint32_t> Sessions::lock(DatastoreName datastore, std::uint32_t id)
{
    const std::lock_guard lock(m_mutex);
    const auto [held, is_new] =
        m_locks.try_emplace(datastore, Lock{id, std::chrono::system_clock::now()});
    return is_new ? std::nullopt : std::optional(held->second.session);
}

bool Sessions::unlock(DatastoreName datastore, std::uint32_t id)
{
    const std::lock_guard lock(m_mutex);
    const auto held = m_locks.find(datastore);
    if (held == m_locks.end() || held->second.session != id) {
        return false;
    }
    m_locks.erase(held);
    return true;
}

std::optional<std::uint32_t> Sessions::other_owner(DatastoreName datastore, std::uint32_t id) const
{
    const auto held = lock_of(datastore);
    return held && held->session != id ? std::optional(held->session) : std::nullopt;
}

std::optional<Sessions::Lock> Sessions::lock_of(DatastoreName datastore) const
{
    const std::lock_guard lock(m_mutex);
    const auto held = m_locks.find(datastore);
    return held != m_locks.end() ? std::optional(held->second) : std::nullopt;
}

} // namespace host::twin
