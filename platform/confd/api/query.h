/** Queries: nodes of an XPath expression, handed out in chunks. */
#pragma once

#include "api/selector.h"
#include "confd_maapi.h"
#include "engine/session/framework.h"

#include <memory>
#include <string>
#include <vector>

namespace api
{

/** What maapi_query_start is asked for. */
struct QueryRequest {
    std::string expression;
    const lyd_node *context = nullptr; /**< Null for the root. */
    int chunk_size = 0;
    int initial_offset = 1;
    confd_query_result_type result_as = CONFD_QUERY_STRING;
    std::vector<Selector> selects;
    std::vector<Selector> sorts;
};

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

/** A query that was started. It belongs to its transaction. */
class Query : public engine::TransactionResource
{
public:
    /** @throws engine::Error  CONFD_ERR_XPATH. */
    Query(const engine::Transaction &transaction, QueryRequest request);
    ~Query() override;
    Query(const Query &) = delete;
    Query &operator=(const Query &) = delete;

    /** The next results; none at the end. */
    std::unique_ptr<QueryChunk> next_chunk();

private:
    void sort();

    const engine::Datastore &m_tree;
    QueryRequest m_request;
    std::vector<const lyd_node *> m_nodes;
    std::size_t m_next = 0;
};

} // namespace api
