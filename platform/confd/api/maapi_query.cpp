/** Queries in a transaction. */
#include "confd_maapi.h"

#include "api/guard.h"
#include "api/query.h"
#include "api/reads.h"
#include "api/session.h"
#include "engine/data/error.h"

#include <algorithm>
#include <map>

using engine::Error;

namespace
{

/** Where a query is to be found. */
struct QueryPlace {
    int sock;
    int transaction;
    int resource;
};

/** Queries by their handles: maapi_query_result is not told the transaction. */
std::map<int, QueryPlace> &open_queries()
{
    static std::map<int, QueryPlace> queries;
    return queries;
}

/** A query takes its handle along when its transaction ends. */
class HandledQuery final : public api::Query
{
public:
    HandledQuery(const engine::Transaction &transaction, api::QueryRequest request, int handle)
        : Query(transaction, std::move(request)), m_handle(handle)
    {
    }
    ~HandledQuery() override { open_queries().erase(m_handle); }
    HandledQuery(const HandledQuery &) = delete;
    HandledQuery &operator=(const HandledQuery &) = delete;

private:
    int m_handle;
};

int start(int sock, engine::Transaction &transaction, api::QueryRequest request)
{
    static int last_handle = 0;
    const int handle = ++last_handle;
    const int resource = transaction.add_resource(
        std::make_unique<HandledQuery>(transaction, std::move(request), handle));
    open_queries()[handle] = {sock, transaction.handle(), resource};
    return handle;
}

/** @throws engine::Error  CONFD_ERR_PROTOUSAGE: stopped, of an ended transaction, or never started.
 */
QueryPlace find(int sock, int handle)
{
    const auto found = open_queries().find(handle);
    if (found == open_queries().end() || found->second.sock != sock) {
        throw Error(CONFD_ERR_PROTOUSAGE, "there is no query " + std::to_string(handle) +
                                              " on socket " + std::to_string(sock));
    }
    return found->second;
}

std::vector<api::Selector> selectors(const char *expressions[], int count)
{
    return {expressions, expressions + std::max(count, 0)};
}

} // namespace

extern "C" {

int maapi_query_start(int sock, int th, const char *expr, const char *context_node, int chunk_size,
                      int initial_offset, enum confd_query_result_type result_as, int nselect,
                      const char *select[], int nsort, const char *sort[])
{
    return api::guarded("maapi_query_start", CONFD_ERR, [&] {
        if (expr == nullptr || chunk_size < 0 || initial_offset < 1 || nselect < 1 ||
            result_as < CONFD_QUERY_STRING || result_as > CONFD_QUERY_TAG_VALUE) {
            throw Error(CONFD_ERR_PROTOUSAGE,
                        "maapi_query_start: an expression, a select, a first result from 1 on and "
                        "a known kind of results are wanted");
        }
        auto &transaction = api::transaction_of(sock, th);
        const auto view = api::candidate_of(transaction);
        api::QueryRequest request;
        request.expression = expr;
        if (context_node != nullptr) {
            const auto path = engine::read_path(view.tree.schema(), context_node);
            request.context = api::find_context(view, *path);
            request.context_place = {path->schema(), path->steps.back().place, true};
        }
        request.chunk_size = chunk_size;
        request.initial_offset = initial_offset;
        request.result_as = result_as;
        request.selects = selectors(select, nselect);
        request.sorts = selectors(sort, nsort);
        return start(sock, transaction, std::move(request));
    });
}

int maapi_query_result(int sock, int qh, struct confd_query_result **qrs)
{
    *qrs = nullptr;
    return api::guarded("maapi_query_result", CONFD_ERR, [&] {
        const QueryPlace place = find(sock, qh);
        auto &transaction = api::transaction_of(sock, place.transaction);
        auto &query = *transaction.find_resource<HandledQuery>(place.resource);
        *qrs = query.next_chunk().release()->result();
        return CONFD_OK;
    });
}

int maapi_query_free_result(struct confd_query_result *qrs)
{
    return api::guarded_release("maapi_query_free_result", [qrs] {
        if (qrs != nullptr) {
            delete api::QueryChunk::of(qrs);
        }
    });
}

int maapi_query_stop(int sock, int qh)
{
    return api::guarded_release("maapi_query_stop", [=] {
        const QueryPlace place = find(sock, qh);
        engine::Framework::current().transaction(place.transaction).drop_resource(place.resource);
    });
}

} // extern "C"
