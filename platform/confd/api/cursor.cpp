#include "api/cursor.h"

#include "api/session.h"
#include "engine/data/error.h"
#include "engine/data/path.h"
#include "engine/session/hooks.h"

#include <algorithm>
#include <cstdint>

namespace api
{

ListCursor::ListCursor(const ListPlace &place, const lyd_node *first)
    : m_list(place.list), m_place(place.place), m_next(first)
{
    ++engine::Hooks::instance().held.cursors;
}

ListCursor::~ListCursor()
{
    --engine::Hooks::instance().held.cursors;
}

const lyd_node *ListCursor::advance()
{
    m_entry = m_next;
    if (m_entry != nullptr) {
        m_next = engine::next_instance(m_entry);
    }
    m_is_at_end = m_entry == nullptr;
    return m_entry;
}

void ListCursor::note(engine::ReadExtent extent) const
{
    auto &log = engine::ReadLog::instance();
    if (log.is_on()) {
        log.note(engine::ReadSide::kCandidate, m_list, m_place, extent);
    }
}

void ListCursor::show(maapi_cursor &cursor)
{
    m_keys.clear();
    for (const lyd_node *key = m_entry != nullptr ? lyd_child(m_entry) : nullptr;
         key != nullptr && lysc_is_key(key->schema); key = key->next) {
        m_keys.emplace_back(engine::value_of(key));
    }
    cursor.n = static_cast<int>(std::min<std::size_t>(m_keys.size(), MAXKEYLEN));
    std::transform(m_keys.begin(), m_keys.begin() + cursor.n, cursor.keys,
                   [](const engine::OwnedValue &key) { return key.get(); });
}

ListCursor &cursor_of(const maapi_cursor *cursor)
{
    if (cursor == nullptr || cursor->internal == nullptr) {
        throw engine::Error(CONFD_ERR_PROTOUSAGE,
                            "the cursor is not initialised, or was destroyed");
    }
    const auto number = static_cast<int>(reinterpret_cast<std::intptr_t>(cursor->internal));
    auto &transaction = transaction_of(cursor->sock, cursor->th);
    auto *position = transaction.find_resource<ListCursor>(number);
    if (position == nullptr) {
        throw engine::Error(CONFD_ERR_PROTOUSAGE, "the cursor was destroyed");
    }
    if (position->is_at_end()) {
        throw engine::Error(CONFD_ERR_PROTOUSAGE,
                            "the cursor is at the end of " + position->list().path());
    }
    return *position;
}

} // namespace api
