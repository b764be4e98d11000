/** Owners of what the framework hands out: each releases it, so that every early return is safe. */
#pragma once

#include <confd_maapi.h>

#include <cstdlib>
#include <memory>

/** Walks a list of the transaction: entry by entry, while has_entry(). */
class ListCursor
{
public:
    /** Opens the list and goes to its first entry. */
    template <typename... Arguments>
    ListCursor(int maapi_sock, int thandle, const char *format, Arguments... arguments)
    {
        // A failure of either call leaves no entry: the walk is over before it begins.
        maapi_init_cursor(maapi_sock, thandle, &m_cursor, format, arguments...);
        next();
    }
    ~ListCursor()
    {
        if (m_is_owned) {
            maapi_destroy_cursor(&m_cursor);
        }
    }
    ListCursor(const ListCursor &) = delete;
    ListCursor &operator=(const ListCursor &) = delete;

    bool has_entry() const { return m_cursor.n != 0; }
    void next() { maapi_get_next(&m_cursor); }
    /** Key of the present entry; owned by the cursor until next(). */
    const confd_value_t &key(int position = 0) const { return m_cursor.keys[position]; }

    /** The cursor itself, for checks whose assertion text names its keys. */
    const maapi_cursor &cursor() const { return m_cursor; }

    /** Leaves the cursor to be released with its transaction, as some early returns do. */
    void leave_to_transaction() { m_is_owned = false; }

private:
    maapi_cursor m_cursor{};
    bool m_is_owned = true;
};

/** A query on the transaction, fetched chunk by chunk. */
class Query
{
public:
    /** Takes over what maapi_query_start returned; negative when it failed. */
    Query(int maapi_sock, int handle) : m_maapi_sock(maapi_sock), m_handle(handle) {}
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

private:
    int m_maapi_sock;
    int m_handle;
};

/** The next chunk of a query's results. One that cannot be had is empty: it counts as the end. */
class QueryChunk
{
public:
    explicit QueryChunk(const Query &query)
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

    int size() const { return m_chunk != nullptr ? m_chunk->nresults : 0; }
    /** Number of the chunk's first result, counted from 1. */
    int offset() const { return m_chunk->offset; }
    int selected_per_result() const { return m_chunk->nelements; }
    /** A selected value of a result that came as tag-values. */
    confd_tag_value_t &selected(int result, int position = 0) const
    {
        return m_chunk->results[result].tv[position];
    }

private:
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

    /** Reads them. @return Whether that went well. */
    template <typename... Arguments>
    bool read(int maapi_sock, int thandle, const char *format, Arguments... arguments)
    {
        return maapi_get_list_elem(maapi_sock, thandle, &m_values, &m_size, format, arguments...) ==
               CONFD_OK;
    }
    int size() const { return m_size; }
    confd_value_t *values() const { return m_values; }

private:
    confd_value_t *m_values = nullptr;
    int m_size = 0;
};

/** The text that an XPath expression evaluates to; null when it cannot be evaluated. */
using XPathResult = std::unique_ptr<char, decltype(&std::free)>;

inline XPathResult evaluate_xpath(int maapi_sock, int thandle, const char *expression)
{
    char *text = nullptr;
    // What counts is whether a text came back.
    maapi_xpath_eval_expr(maapi_sock, thandle, expression, &text, nullptr, nullptr);
    return XPathResult(text, &std::free);
}
