#include "call_recorder.h"

#include <algorithm>
#include <utility>

namespace bench
{

Recorder &Recorder::instance()
{
    static Recorder recorder;
    return recorder;
}

void Recorder::start()
{
    const Outside outside;
    m_tape = {};
    m_room = {};
    m_cursors.clear();
    m_queries.clear();
    m_chunks.clear();
    m_allocated = 0;
    m_is_recording = true;
}

Tape Recorder::stop()
{
    m_is_recording = false;
    m_tape.need(std::move(m_room));
    return std::move(m_tape);
}

void Recorder::wait() const
{
    if (m_latency.count() == 0) {
        return;
    }
    // Sleeping would take longer than asked for, by an amount that depends on the machine.
    const auto end = std::chrono::steady_clock::now() + m_latency;
    while (std::chrono::steady_clock::now() < end) {
    }
}

std::size_t Recorder::open_cursor(const maapi_cursor *cursor)
{
    const auto [found, is_new] = m_cursors.try_emplace(cursor, m_room.cursors.size());
    if (is_new) {
        m_room.cursors.emplace_back();
    }
    return found->second;
}

std::size_t Recorder::open_query(int query)
{
    m_room.queries.push_back(0);
    return m_queries[query] = m_room.queries.size() - 1;
}

std::size_t Recorder::open_chunk(const confd_query_result *chunk)
{
    m_room.chunks.push_back(nullptr);
    return m_chunks[chunk] = m_room.chunks.size() - 1;
}

void Recorder::need_values(std::size_t count)
{
    m_room.values.resize(std::max(m_room.values.size(), count));
}

} // namespace bench
