/**
 * @file
 * Position of a client in a list.
 */
#pragma once

#include "api/reads.h"
#include "confd_maapi.h"
#include "engine/data/value.h"
#include "engine/session/framework.h"

#include <vector>

namespace api
{

/**
 * What stands behind a maapi_cursor. It belongs to the transaction, which also frees the keys when
 * a client does not; the client's structure only knows its number.
 */
class ListCursor final : public engine::TransactionResource
{
public:
    /** @param first  Entry that comes first; null when there is none. */
    ListCursor(const ListPlace &place, const lyd_node *first);
    ~ListCursor() override;
    ListCursor(const ListCursor &) = delete;
    ListCursor &operator=(const ListCursor &) = delete;

    /** Goes on to the next entry. @return Null when there is none. */
    const lyd_node *advance();
    /** Whether advance has come to the end. */
    bool is_at_end() const { return m_is_at_end; }

    const engine::SchemaNode &list() const { return m_list; }
    /** Tells that a call depends on the list's entries. */
    void note(engine::ReadExtent extent) const;
    /** Lets the client's structure show the present entry. */
    void show(maapi_cursor &cursor);

private:
    const engine::SchemaNode &m_list;
    const engine::PlaceId m_place;
    const lyd_node *m_next;
    const lyd_node *m_entry = nullptr; /**< The present one. */
    bool m_is_at_end = false;
    std::vector<engine::OwnedValue> m_keys; /**< Of the entry that was shown. */
};

/**
 * The position behind a client's structure.
 * @throws engine::Error  CONFD_ERR_PROTOUSAGE: not initialised, destroyed, or at its end;
 *                        CONFD_ERR_BADSTATE, CONFD_ERR_NOSESSION: its session is over.
 */
ListCursor &cursor_of(const maapi_cursor *cursor);

} // namespace api
