/**
 * @file
 * What a child process shows its parent in memory that both share.
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

namespace host
{

/**
 * Made before the child is: where that is, and what it has told but not yet sent. Both outlive it,
 * so that nothing needs a call of the system until there is much to send. One process writes, and
 * the other reads the text only when that one has ended.
 */
class EventBoard
{
public:
    /** @throws std::system_error */
    EventBoard();

    /** The child is about to make this request. */
    void show_request(std::size_t request);
    void show_no_request();
    /** Adds to the text. @return Whether there was room for all of it; otherwise nothing is added.
     */
    bool add(std::string_view text);
    /** What was added and not sent. */
    std::string_view text() const;
    /** All of the text, and `more` behind it, was sent. */
    void note_sent(std::size_t more = 0);

    /** The request that the child is making, or has just made. */
    std::optional<std::size_t> request() const;
    /**
     * What was not received of all that was added.
     * @param received  Bytes of whole events that were.
     */
    std::string_view rest(std::size_t received) const;

private:
    struct Shared;
    struct Unmap {
        void operator()(Shared *shared) const;
    };

    std::unique_ptr<Shared, Unmap> m_shared;
};

} // namespace host
