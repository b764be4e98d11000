/** Walks over lists. */
#include "confd_maapi.h"

#include "api/cursor.h"
#include "api/guard.h"
#include "api/reads.h"
#include "api/session.h"

#include <algorithm>
#include <cstdint>

namespace
{

/** No entry, nothing behind it. */
void clear(maapi_cursor &cursor)
{
    cursor.n = 0;
    cursor.internal = nullptr;
    std::fill_n(cursor.keys, MAXKEYLEN, engine::no_value());
}

void open(maapi_cursor &cursor, const char *format, va_list args)
{
    auto &transaction = api::transaction_of(cursor.sock, cursor.th);
    const auto view = api::candidate_of(transaction);
    const auto place = api::find_list(view, *view.path(format, args));
    const lyd_node *first =
        place.exists ? engine::first_instance(view.tree.root(), place.parent, place.list) : nullptr;
    const int number = transaction.add_resource(std::make_unique<api::ListCursor>(place, first));
    // A number, not an address: a stale cursor is told from a living one.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    cursor.internal = reinterpret_cast<void *>(static_cast<std::intptr_t>(number));
    cursor.n = static_cast<int>(place.list.key_nodes.size());
}

} // namespace

extern "C" {

int maapi_init_cursor(int sock, int th, struct maapi_cursor *mc, const char *fmt, ...)
{
    clear(*mc);
    mc->sock = sock;
    mc->th = th;
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("maapi_init_cursor", CONFD_ERR, [&] {
        open(*mc, fmt, args);
        return CONFD_OK;
    });
    va_end(args);
    return result;
}

int maapi_get_next(struct maapi_cursor *mc)
{
    const int result = api::guarded("maapi_get_next", CONFD_ERR, [mc] {
        auto &position = api::cursor_of(mc);
        position.note(engine::ReadExtent::kNode);
        position.advance();
        position.show(*mc);
        return CONFD_OK;
    });
    if (result != CONFD_OK && mc != nullptr) {
        mc->n = 0;
    }
    return result;
}

void maapi_destroy_cursor(struct maapi_cursor *mc)
{
    api::guarded_release("maapi_destroy_cursor", [mc] {
        if (mc == nullptr || mc->internal == nullptr) {
            return;
        }
        const auto number = static_cast<int>(reinterpret_cast<std::intptr_t>(mc->internal));
        const int handle = mc->th;
        clear(*mc);
        // The socket may be closed by now; the transaction may be over, and the cursor with it.
        auto &transaction = engine::Framework::current().transaction(handle);
        if (transaction.find_resource<api::ListCursor>(number) != nullptr) {
            transaction.drop_resource(number);
        }
    });
}

} // extern "C"
