/**
 * @file
 * Owners of what the framework hands out: each releases it, so that every early return is
 * safe.
 */
#pragma once

#include "candidate.h"

#include <confd_maapi.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>

namespace validation
{

/** Walks a list of the candidate: entry by entry, while has_entry(). */
class ListCursor
{
public:
    /** Opens the list and goes to its first entry. */
    template <typename... Arguments>
    ListCursor(const Candidate &candidate, const char *format, Arguments... arguments)
    {
        // A failure of either call leaves no entry: the walk is over before it begins.
        candidate.read(maapi_init_cursor, &m_cursor, format, arguments...);
        next();
    }
    ~ListCursor() { close(); }
    ListCursor(const ListCursor &) = delete;
    ListCursor &operator=(const ListCursor &) = delete;

    bool has_entry() const { return m_cursor.n != 0; }
    void next() { maapi_get_next(&m_cursor); }
    /** Key of the present entry; owned by the cursor until next(). */
    const confd_value_t &key(int position = 0) const { return m_cursor.keys[position]; }

    /** The cursor itself, for checks whose assertion text names its keys. */
    const maapi_cursor &cursor() const { return m_cursor; }

    /** Releases the cursor, where something has to follow its release. */
    void close()
    {
        if (m_is_owned) {
            maapi_destroy_cursor(&m_cursor);
            m_is_owned = false;
        }
    }
    /** Leaves the cursor to be released with its transaction, as some early returns do. */
    void leave_to_transaction() { m_is_owned = false; }

private:
    maapi_cursor m_cursor{};
    bool m_is_owned = true;
};

/** A query for one item of each node that an expression selects, fetched chunk by chunk. */
class Query
{
public:
    /**
     * Starts the query; is_running() tells whether it could be.
     * @param nodes       XPath of the nodes.
     * @param item        XPath of the item, relative to a node.
     * @param chunk_size  Results per chunk; 0 is the client library's default.
     */
    Query(const Candidate &candidate, const char *nodes, const char *item, int chunk_size)
        : m_maapi_sock(candidate.maapi_sock()),
          m_max_results(chunk_size > 0 ? chunk_size : std::numeric_limits<int>::max()),
          m_handle(candidate.read(maapi_query_start, nodes, nullptr, chunk_size, kFirstResult,
                                  CONFD_QUERY_TAG_VALUE, 1, &item, 0, nullptr))
    {
    }
    ~Query()
    {
        if (is_running()) {
            maapi_query_stop(m_maapi_sock, m_handle);
        }
    }
    Query(const Query &) = delete;
    Query &operator=(const Query &) = delete;

    bool is_running() const { return m_handle >= 0; }
    int maapi_sock() const { return m_maapi_sock; }
    int handle() const { return m_handle; }
    /** The most that a chunk may hold, as far as the query said. */
    int max_results() const { return m_max_results; }

private:
    static constexpr int kFirstResult = 1;

    int m_maapi_sock;
    int m_max_results;
    int m_handle;
};

/**
 * The next chunk of a query's results. One that cannot be had is empty: it counts as the end. What
 * was not asked for is not looked at: its place in memory may not exist.
 */
class QueryChunk
{
public:
    explicit QueryChunk(const Query &query) : m_max_results(query.max_results())
    {
        maapi_query_result(query.maapi_sock(), query.handle(), &m_chunk);
    }
    ~QueryChunk()
    {
        if (m_chunk != nullptr) {
            maapi_query_free_result(m_chunk);
        }
    }
    QueryChunk(const QueryChunk &) = delete;
    QueryChunk &operator=(const QueryChunk &) = delete;

    int size() const { return m_chunk != nullptr ? std::min(m_chunk->nresults, m_max_results) : 0; }
    /** Number of the chunk's first result, counted from 1. */
    int offset() const { return m_chunk->offset; }
    int selected_per_result() const { return std::min(m_chunk->nelements, kItems); }
    /** A selected value of a result that came as tag-values. */
    confd_tag_value_t &selected(int result, int position = 0) const
    {
        return m_chunk->results[result].tv[position];
    }

private:
    static constexpr int kItems = 1; // Of each query: see Query.

    int m_max_results;
    confd_query_result *m_chunk = nullptr;
};

/** The entries of a leaf-list. */
class LeafList
{
public:
    LeafList() = default;
    ~LeafList()
    {
        for (int i = 0; i < m_size; ++i) {
            confd_free_value(&m_values[i]);
        }
        std::free(m_values);
    }
    LeafList(const LeafList &) = delete;
    LeafList &operator=(const LeafList &) = delete;

    /** Reads them, once. @return Whether that succeeded. */
    template <typename... Arguments>
    bool read(const Candidate &candidate, const char *format, Arguments... arguments)
    {
        confd_value_t *values = nullptr;
        int size = 0;
        if (candidate.read(maapi_get_list_elem, &values, &size, format, arguments...) != CONFD_OK) {
            return false; // Whatever a failed call wrote is not ours to free.
        }
        m_values = values;
        m_size = size;
        return true;
    }
    int size() const { return m_size; }
    confd_value_t *values() const { return m_values; }

private:
    confd_value_t *m_values = nullptr;
    int m_size = 0;
};

/** The text that an XPath expression evaluates to; null when it cannot be evaluated. */
using XPathResult = std::unique_ptr<char, decltype(&std::free)>;

inline XPathResult evaluate_xpath(const Candidate &candidate, const char *expression)
{
    char *text = nullptr;
    // What counts is whether a text came back.
    candidate.read(maapi_xpath_eval_expr, expression, &text, nullptr, nullptr);
    return XPathResult(text, &std::free);
}

} // namespace validation
