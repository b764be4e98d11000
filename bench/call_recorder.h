/**
 * Stands between the plug-in and the client library. The program holds a second copy of the
 * plug-in, linked so that its client calls come here (see client_wrappers.cpp); the shipped
 * library, which is what is timed, calls the client library directly.
 */
#pragma once

#include "tape.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>

namespace bench
{

class Recorder
{
public:
    static Recorder &instance();

    /** From now on requests go onto a new tape, and the plug-in's allocations are counted. */
    void start();
    /** Ends that. @return What was recorded. */
    Tape stop();
    /** Bytes that the plug-in allocated between the last start and stop. */
    std::uint64_t allocated_bytes() const { return m_allocated; }

    /** The keypath that is being asked about: recorded paths that begin with it are made anew. */
    void set_keypath(const confd_hkeypath_t *keypath) { m_keypath = keypath; }
    const confd_hkeypath_t *keypath() const { return m_keypath; }

    /** Each request to the framework takes so much longer. */
    void set_latency(std::chrono::nanoseconds latency) { m_latency = latency; }

    // For the wrappers of the client calls.
    bool is_recording() const { return m_is_recording; }
    void record(Tape::Request request) { m_tape.add(std::move(request)); }
    void wait() const;
    /** Place of a new cursor, of a query, of a chunk; the old one of the same name is gone. */
    std::size_t open_cursor(const maapi_cursor *cursor);
    std::size_t open_query(int query);
    std::size_t open_chunk(const confd_query_result *chunk);
    std::size_t cursor(const maapi_cursor *cursor) const { return m_cursors.at(cursor); }
    std::size_t query(int query) const { return m_queries.at(query); }
    std::size_t chunk(const confd_query_result *chunk) const { return m_chunks.at(chunk); }
    void need_values(std::size_t count);

    /** Counts an allocation, if the plug-in itself makes it. */
    void note_allocation(std::size_t size)
    {
        m_allocated += m_is_recording && m_depth == 0 ? size : 0;
    }

    /** While one lives, the framework or the recorder is at work, not the plug-in. */
    class Outside
    {
    public:
        Outside() { ++instance().m_depth; }
        ~Outside() { --instance().m_depth; }
        Outside(const Outside &) = delete;
        Outside &operator=(const Outside &) = delete;
    };

private:
    Tape m_tape;
    Session m_room;
    std::map<const maapi_cursor *, std::size_t> m_cursors;
    std::map<int, std::size_t> m_queries;
    std::map<const confd_query_result *, std::size_t> m_chunks;
    std::chrono::nanoseconds m_latency{0};
    std::uint64_t m_allocated = 0;
    const confd_hkeypath_t *m_keypath = nullptr;
    int m_depth = 0;
    bool m_is_recording = false;
};

} // namespace bench
