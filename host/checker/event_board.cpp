#include "checker/event_board.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <sys/mman.h>
#include <system_error>

namespace host
{
namespace
{

/** All answers of a usual check, so that the parent does not take them in beside the rules: its
 *  processor may be half of theirs. */
constexpr std::size_t kCapacity = 1U << 20U;
constexpr std::size_t kNoRequest = 0;

} // namespace

struct EventBoard::Shared {
    std::atomic<std::size_t> request{kNoRequest}; /**< Its number, from 1. */
    std::atomic<std::size_t> sent{0};             /**< Bytes before the text. */
    std::atomic<std::size_t> size{0};             /**< Of the text. */
    std::array<char, kCapacity> text;
};

void EventBoard::Unmap::operator()(Shared *shared) const
{
    munmap(shared, sizeof(Shared));
}

EventBoard::EventBoard()
{
    void *memory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::system_error(errno, std::generic_category(), "cannot share memory");
    }
    m_shared.reset(new (memory) Shared);
}

void EventBoard::show_request(std::size_t request)
{
    m_shared->request.store(request + 1, std::memory_order_release);
}

void EventBoard::show_no_request()
{
    m_shared->request = kNoRequest;
}

bool EventBoard::add(std::string_view text)
{
    const std::size_t size = m_shared->size.load(std::memory_order_relaxed); // We alone write it.
    if (text.size() > kCapacity - size) {
        return false;
    }
    std::copy(text.begin(), text.end(), m_shared->text.begin() + size);
    m_shared->size.store(size + text.size(), std::memory_order_release);
    return true;
}

std::string_view EventBoard::text() const
{
    return {m_shared->text.data(), m_shared->size};
}

void EventBoard::note_sent(std::size_t more)
{
    // A process that is killed in between has told less than it sent: nothing is left to read.
    const std::size_t size = m_shared->size.exchange(0);
    m_shared->sent += size + more;
}

std::optional<std::size_t> EventBoard::request() const
{
    const std::size_t number = m_shared->request;
    return number != kNoRequest ? std::optional(number - 1) : std::nullopt;
}

std::string_view EventBoard::rest(std::size_t received) const
{
    const std::size_t known = received - m_shared->sent;
    return known <= m_shared->size ? text().substr(known) : std::string_view{};
}

} // namespace host
