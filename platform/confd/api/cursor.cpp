#include "api/cursor.h"

#include "api/session.h"
#include "engine/data/error.h"
#include "engine/data/path.h"
#include "engine/session/hooks.h"

#include <algorithm>
#include <cstdint>

namespace api
{

ListCursor::ListCursor(const engine::SchemaNode &list, const lyd_node *first)
    : m_list(list), m_next(first)
{
    ++engine::Hooks::instance().held.cursors;
}

ListCursor::~ListCursor()
{
    --engine::Hooks::instance().held.cursors;
}

const lyd_node *ListCursor::advance()
{
    const lyd_node *entry = m_next;
    std::vector<engine::OwnedValue> keys;
    if (entry != nullptr) {
        for (const lyd_node *key = lyd_child(entry); key != nullptr && lysc_is_key(key->schema);
             key = key->next) {
            keys.emplace_back(engine::value_of(key));
        }
        m_next = engine::next_instance(entry);
    }
    m_keys = std::move(keys);
    m_is_at_end = entry == nullptr;
    return entry;
}

void ListCursor::show(maapi_cursor &cursor) const
{
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
    auto *position = dynamic_cast<ListCursor *>(transaction.find_resource(number));
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
