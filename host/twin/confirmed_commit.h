/**
 * @file
 * Commits that go back unless they are confirmed in time (RFC 6241, section 8.4).
 */
#pragma once

#include "twin/history.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace host::twin
{

/** What a client asks for with <commit>. */
struct CommitRequest {
    bool confirmed = false;
    std::chrono::seconds timeout{600};
    std::optional<std::string> persist{};
    std::optional<std::string> persist_id{};
};

/** Why a session may not do that. */
struct Refusal {
    const char *error_tag; /**< Of NETCONF. */
    std::string message;
    std::string bad_element{}; /**< Of the RPC, where one is at fault. */
};

/** What happened to a confirmed commit, as RFC 6470 calls it. */
enum class ConfirmEvent { kStart, kCancel, kTimeout, kExtend, kComplete };
const char *name_of(ConfirmEvent event);

/** Which commit to go back to, and the event to tell of. */
struct Reversal {
    CommitNumber restores = 0;
    ConfirmEvent event = ConfirmEvent::kCancel;
    PendingConfirmation ended; /**< What came to its end. */
};

/**
 * Knows whether a commit waits for its confirmation. It has no clock and no configuration: times
 * come from the caller, who also goes back where it says so. Not for several threads at once.
 */
class ConfirmedCommit
{
public:
    using Clock = std::chrono::steady_clock;

    /** Whether the session may commit; asked before anything is checked. */
    std::optional<Refusal> refuse(const CommitRequest &request, std::uint32_t session) const;

    /** What will wait for a confirmation once this commit is made, for History::add. */
    std::optional<PendingConfirmation> after(const CommitRequest &request, const Author &author,
                                             CommitNumber before) const;

    /**
     * The commit was made; `refuse` had no objection.
     * @param before  Commit that the running configuration was of until now.
     * @return The event to tell of; nothing for an ordinary commit.
     */
    std::optional<ConfirmEvent> committed(const CommitRequest &request, const Author &author,
                                          CommitNumber before, Clock::time_point now);

    /** Whether the session may cancel. */
    std::optional<Refusal> refuse_cancel(const std::optional<std::string> &persist_id,
                                         std::uint32_t session) const;
    /** Cancels; `refuse_cancel` had no objection. */
    Reversal cancel();
    /** A session ended: nothing, unless its commit waits for a confirmation that must be its own.
     */
    std::optional<Reversal> session_ended(std::uint32_t session);
    /** Nothing before the deadline. */
    std::optional<Reversal> expire(Clock::time_point now);

    /** When to call `expire`. */
    std::optional<Clock::time_point> deadline() const;
    const std::optional<PendingConfirmation> &pending() const { return m_pending; }

private:
    /** Whether what is pending keeps the session from committing or cancelling. */
    std::optional<Refusal> refuse_session(const std::optional<std::string> &persist_id,
                                          std::uint32_t session) const;
    Reversal end(ConfirmEvent event);

    std::optional<PendingConfirmation> m_pending;
    Clock::time_point m_deadline{};
};

} // namespace host::twin
