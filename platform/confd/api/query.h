/**
 * @file
 * Queries: nodes of an XPath expression, handed out in chunks.
 */
#pragma once

#include "api/query_chunk.h"
#include "api/selector.h"
#include "confd_maapi.h"
#include "engine/session/framework.h"
#include "engine/session/selection_reads.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace api
{

/** What maapi_query_start is asked for. */
struct QueryRequest {
    std::string expression;
    const lyd_node *context = nullptr; /**< Null for the root. */
    engine::SelectionPlace context_place;
    int chunk_size = 0;
    int initial_offset = 1;
    confd_query_result_type result_as = CONFD_QUERY_STRING;
    std::vector<Selector> selects;
    std::vector<Selector> sorts;
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
    void note();
    void sort();

    const engine::Datastore &m_tree;
    QueryRequest m_request;
    std::vector<const lyd_node *> m_nodes;
    std::size_t m_next = 0;
    std::uint64_t m_noted_in = 0; /**< The last request that was told what the query reads. */
};

} // namespace api
