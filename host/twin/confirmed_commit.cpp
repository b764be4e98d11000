#include "twin/confirmed_commit.h"

#include <utility>

namespace host::twin
{

const char *name_of(ConfirmEvent event)
{
    switch (event) {
    case ConfirmEvent::kStart:
        return "start";
    case ConfirmEvent::kCancel:
        return "cancel";
    case ConfirmEvent::kTimeout:
        return "timeout";
    case ConfirmEvent::kExtend:
        return "extend";
    case ConfirmEvent::kComplete:
        break;
    }
    return "complete";
}

std::optional<Refusal> ConfirmedCommit::refuse_session(const std::optional<std::string> &persist_id,
                                                       std::uint32_t session) const
{
    const bool is_known = m_pending && m_pending->persist_id && m_pending->persist_id == persist_id;
    if (persist_id && !is_known) {
        return Refusal{"invalid-value", "No confirmed commit with this persist-id is pending.",
                       "persist-id"};
    }
    if (!m_pending || is_known) {
        return std::nullopt;
    }
    if (m_pending->persist_id) {
        return Refusal{"in-use", "A confirmed commit is pending: its persist-id is required."};
    }
    if (m_pending->author.session != session) {
        return Refusal{"in-use", "A confirmed commit of session " +
                                     std::to_string(m_pending->author.session) + " is pending."};
    }
    return std::nullopt;
}

std::optional<Refusal> ConfirmedCommit::refuse(const CommitRequest &request,
                                               std::uint32_t session) const
{
    if (request.persist && !request.confirmed) {
        return Refusal{"bad-element", "persist is of a confirmed commit.", "persist"};
    }
    if (request.confirmed && request.timeout <= std::chrono::seconds(0)) {
        return Refusal{"invalid-value", "The timeout must be at least one second.",
                       "confirm-timeout"};
    }
    return refuse_session(request.persist_id, session);
}

std::optional<PendingConfirmation> ConfirmedCommit::after(const CommitRequest &request,
                                                          const Author &author,
                                                          CommitNumber before) const
{
    if (!request.confirmed) {
        return std::nullopt;
    }
    // It goes back to what was before the first of a sequence. What was said of persisting holds
    // on, unless the follow-up says it anew.
    PendingConfirmation pending = m_pending.value_or(PendingConfirmation{before, author, {}});
    pending.author = author;
    if (request.persist) {
        pending.persist_id = request.persist;
    }
    return pending;
}

std::optional<ConfirmEvent> ConfirmedCommit::committed(const CommitRequest &request,
                                                       const Author &author, CommitNumber before,
                                                       Clock::time_point now)
{
    const bool was_pending = m_pending.has_value();
    m_pending = after(request, author, before);
    if (m_pending) {
        m_deadline = now + request.timeout;
        return was_pending ? ConfirmEvent::kExtend : ConfirmEvent::kStart;
    }
    return was_pending ? std::optional(ConfirmEvent::kComplete) : std::nullopt;
}

std::optional<Refusal> ConfirmedCommit::refuse_cancel(const std::optional<std::string> &persist_id,
                                                      std::uint32_t session) const
{
    if (!m_pending && !persist_id) {
        return Refusal{"operation-failed", "No confirmed commit is pending."};
    }
    return refuse_session(persist_id, session);
}

Reversal ConfirmedCommit::cancel()
{
    return end(ConfirmEvent::kCancel);
}

std::optional<Reversal> ConfirmedCommit::session_ended(std::uint32_t session)
{
    if (!m_pending || m_pending->persist_id || m_pending->author.session != session) {
        return std::nullopt;
    }
    return end(ConfirmEvent::kCancel);
}

std::optional<Reversal> ConfirmedCommit::expire(Clock::time_point now)
{
    if (!m_pending || now < m_deadline) {
        return std::nullopt;
    }
    return end(ConfirmEvent::kTimeout);
}

std::optional<ConfirmedCommit::Clock::time_point> ConfirmedCommit::deadline() const
{
    return m_pending ? std::optional(m_deadline) : std::nullopt;
}

Reversal ConfirmedCommit::end(ConfirmEvent event)
{
    Reversal reversal{m_pending.value().restores, event, *m_pending};
    m_pending.reset();
    return reversal;
}

} // namespace host::twin
