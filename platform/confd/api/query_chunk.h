/**
 * @file
 * One chunk of a query's results.
 */
#pragma once

#include "api/selector.h"
#include "confd_maapi.h"

#include <string>
#include <type_traits>
#include <vector>

namespace api
{

/** A chunk of results, with all that it owns, in the client's hands. */
class QueryChunk
{
public:
    QueryChunk(confd_query_result_type type, int offset, std::size_t rows, std::size_t columns);
    ~QueryChunk();
    QueryChunk(const QueryChunk &) = delete;
    QueryChunk &operator=(const QueryChunk &) = delete;

    /** @param node  Null when the select matched nothing. */
    void set(std::size_t row, std::size_t column, const lyd_node *node, const Selector &select);

    confd_query_result *result() { return &m_result; }
    static QueryChunk *of(confd_query_result *result);

private:
    using Row = std::remove_pointer_t<decltype(confd_query_result::results)>;
    using KeyedValue = std::remove_pointer_t<decltype(Row::kv)>;

    void point_rows(std::size_t columns);

    confd_query_result m_result{};
    std::vector<Row> m_rows;
    // One of these holds the cells, row after row.
    std::vector<std::string> m_texts;
    std::vector<char *> m_text_pointers;
    std::vector<confd_hkeypath_t> m_keypaths;
    std::vector<KeyedValue> m_keyed_values;
    std::vector<confd_tag_value_t> m_tag_values;
};

} // namespace api
