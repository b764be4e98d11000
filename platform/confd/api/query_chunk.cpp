#include "api/query_chunk.h"

#include "engine/data/error.h"
#include "engine/data/keypath.h"
#include "engine/data/value.h"
#include "engine/session/hooks.h"

#include <algorithm>

namespace api
{
namespace
{

/** Value of a leaf, name of any other node. */
confd_value_t value_of(const lyd_node *node)
{
    if (node == nullptr) {
        return engine::no_value();
    }
    return (node->schema->nodetype & LYD_NODE_TERM) != 0
               ? engine::value_of(node)
               : engine::tag_value_of(*engine::Schema::of(node));
}

} // namespace

QueryChunk::QueryChunk(confd_query_result_type type, int offset, std::size_t rows,
                       std::size_t columns)
    : m_rows(rows)
{
    const std::size_t cells = rows * columns;
    switch (type) {
    case CONFD_QUERY_STRING:
        m_texts.resize(cells);
        m_text_pointers.resize(cells);
        break;
    case CONFD_QUERY_HKEYPATH:
        m_keypaths.resize(cells);
        break;
    case CONFD_QUERY_HKEYPATH_VALUE:
        m_keyed_values.resize(cells);
        break;
    case CONFD_QUERY_TAG_VALUE:
        m_tag_values.resize(cells);
        break;
    default:
        throw engine::Error(CONFD_ERR_PROTOUSAGE, "a query has no such kind of results");
    }
    m_result.type = type;
    m_result.offset = offset;
    m_result.nresults = static_cast<int>(rows);
    m_result.nelements = static_cast<int>(columns);
    m_result.results = m_rows.data();
    m_result.__internal = this;
    point_rows(columns);
    ++engine::Hooks::instance().held.query_results;
}

/** Lets each row point to its first cell. */
void QueryChunk::point_rows(std::size_t columns)
{
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        const std::size_t cell = row * columns;
        switch (m_result.type) {
        case CONFD_QUERY_STRING:
            m_rows[row].str = &m_text_pointers[cell];
            break;
        case CONFD_QUERY_HKEYPATH:
            m_rows[row].hkp = &m_keypaths[cell];
            break;
        case CONFD_QUERY_HKEYPATH_VALUE:
            m_rows[row].kv = &m_keyed_values[cell];
            break;
        case CONFD_QUERY_TAG_VALUE:
            m_rows[row].tv = &m_tag_values[cell];
            break;
        }
    }
}

QueryChunk::~QueryChunk()
{
    std::for_each(m_keypaths.begin(), m_keypaths.end(), engine::free_keypath);
    for (KeyedValue &cell : m_keyed_values) {
        engine::free_keypath(cell.hkp);
        engine::free_value(cell.val);
    }
    for (confd_tag_value_t &cell : m_tag_values) {
        engine::free_value(cell.v);
    }
    --engine::Hooks::instance().held.query_results;
}

void QueryChunk::set(std::size_t row, std::size_t column, const lyd_node *node,
                     const Selector &select)
{
    const std::size_t cell = row * static_cast<std::size_t>(m_result.nelements) + column;
    switch (m_result.type) {
    case CONFD_QUERY_STRING: {
        const char *text = node != nullptr ? lyd_get_value(node) : nullptr;
        m_texts[cell] = text != nullptr ? text : "";
        m_text_pointers[cell] = m_texts[cell].data();
        break;
    }
    case CONFD_QUERY_HKEYPATH:
        engine::fill_keypath(m_keypaths[cell], node);
        break;
    case CONFD_QUERY_HKEYPATH_VALUE:
        m_keyed_values[cell].val = value_of(node);
        engine::fill_keypath(m_keyed_values[cell].hkp, node);
        break;
    case CONFD_QUERY_TAG_VALUE: {
        const auto *schema = node != nullptr ? engine::Schema::of(node) : nullptr;
        m_tag_values[cell].tag =
            schema != nullptr ? xml_tag{schema->tag, schema->ns} : select.tag();
        m_tag_values[cell].v = value_of(node);
        break;
    }
    }
}

QueryChunk *QueryChunk::of(confd_query_result *result)
{
    return static_cast<QueryChunk *>(result->__internal);
}

} // namespace api
