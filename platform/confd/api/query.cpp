#include "api/query.h"

#include "engine/data/error.h"
#include "engine/data/value.h"
#include "engine/data/xpath.h"
#include "engine/session/hooks.h"

#include <algorithm>

namespace api
{

using engine::Datastore;
using engine::Error;

namespace
{

constexpr int kDefaultChunkSize = 100;

using SortKeys = std::vector<const lyd_node *>;

/** Values that a result is ordered by; null where it has none. */
SortKeys sort_keys(const Datastore &tree, const lyd_node *result,
                   const std::vector<Selector> &sorts)
{
    SortKeys keys;
    for (const Selector &sort : sorts) {
        const lyd_node *key = sort.first(tree, result);
        if (key != nullptr && (key->schema->nodetype & LYD_NODE_TERM) == 0) {
            throw Error(CONFD_ERR_XPATH,
                        "results cannot be sorted by " + engine::Schema::of(key)->path());
        }
        keys.push_back(key);
    }
    return keys;
}

/** A missing value comes first. */
bool is_before(const SortKeys &a, const SortKeys &b)
{
    for (std::size_t i = 0; i < a.size(); ++i) {
        const bool can_compare = a[i] != nullptr && b[i] != nullptr;
        const int order =
            can_compare ? engine::compare_terms(a[i], b[i])
                        : static_cast<int>(a[i] != nullptr) - static_cast<int>(b[i] != nullptr);
        if (order != 0) {
            return order < 0;
        }
    }
    return false;
}

} // namespace

Query::Query(const engine::Transaction &transaction, QueryRequest request)
    : m_tree(transaction.candidate()), m_request(std::move(request)),
      m_next(static_cast<std::size_t>(m_request.initial_offset) - 1)
{
    note(); // A failure depends on it as well.
    m_nodes = engine::select_nodes(m_tree, m_request.context, m_request.expression);
    for (auto *selectors : {&m_request.selects, &m_request.sorts}) {
        std::for_each(selectors->begin(), selectors->end(),
                      [this](Selector &selector) { selector.prepare(m_nodes); });
    }
    sort();
    ++engine::Hooks::instance().held.queries;
}

Query::~Query()
{
    --engine::Hooks::instance().held.queries;
}

/** Results may be fetched in a later request than the one that started the query. */
void Query::note()
{
    auto &log = engine::ReadLog::instance();
    if (!log.is_on() || m_noted_in == log.request()) {
        return;
    }
    m_noted_in = log.request();
    const auto &schema = m_tree.schema();
    const auto *context = m_request.context != nullptr ? &m_request.context_place : nullptr;
    const auto results = engine::note_selection(schema, context, m_request.expression);
    for (const auto *selectors : {&m_request.selects, &m_request.sorts}) {
        for (const Selector &selector : *selectors) {
            if (results) {
                engine::note_selection(schema, &*results, selector.expression());
            }
        }
    }
}

void Query::sort()
{
    if (m_request.sorts.empty()) {
        return;
    }
    std::vector<std::pair<SortKeys, const lyd_node *>> sorted;
    for (const lyd_node *node : m_nodes) {
        sorted.emplace_back(sort_keys(m_tree, node, m_request.sorts), node);
    }
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto &a, const auto &b) { return is_before(a.first, b.first); });
    std::transform(sorted.begin(), sorted.end(), m_nodes.begin(),
                   [](const auto &entry) { return entry.second; });
}

std::unique_ptr<QueryChunk> Query::next_chunk()
{
    note();
    const int wanted = m_request.chunk_size > 0 ? m_request.chunk_size : kDefaultChunkSize;
    const std::size_t left = m_nodes.size() - std::min(m_next, m_nodes.size());
    const std::size_t rows = std::min(left, static_cast<std::size_t>(wanted));
    const auto &selects = m_request.selects;
    auto chunk = std::make_unique<QueryChunk>(m_request.result_as, static_cast<int>(m_next) + 1,
                                              rows, selects.size());
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t column = 0; column < selects.size(); ++column) {
            const lyd_node *node = selects[column].first(m_tree, m_nodes[m_next + row]);
            chunk->set(row, column, node, selects[column]);
        }
    }
    m_next += rows;
    return chunk;
}

} // namespace api
