/** Reads of the committed configuration. */
#include "confd_cdb.h"

#include "api/guard.h"
#include "api/reads.h"
#include "api/session.h"

extern "C" {

int cdb_exists(int sock, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("cdb_exists", CONFD_ERR, [&] {
        const auto view = api::committed_of(sock);
        return api::exists(view, *view.path(fmt, args)) ? 1 : 0;
    });
    va_end(args);
    return result;
}

int cdb_get_bool(int sock, int *rval, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("cdb_get_bool", CONFD_ERR, [&] {
        const auto view = api::committed_of(sock);
        *rval = api::read_leaf(view, *view.path(fmt, args), C_BOOL).val.boolean;
        return CONFD_OK;
    });
    va_end(args);
    return result;
}

int cdb_num_instances(int sock, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("cdb_num_instances", CONFD_ERR, [&] {
        const auto view = api::committed_of(sock);
        return api::count_entries(view, *view.path(fmt, args));
    });
    va_end(args);
    return result;
}

} // extern "C"
