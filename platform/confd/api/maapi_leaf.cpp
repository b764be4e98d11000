/** Reads of single nodes in a transaction. */
#include "confd_maapi.h"

#include "api/guard.h"
#include "api/output.h"
#include "api/reads.h"
#include "api/session.h"
#include "engine/data/error.h"

#include <cstdlib>
#include <cstring>

namespace
{

/** Value of a leaf that must be of this type. */
engine::OwnedValue typed_leaf(int sock, int th, confd_vtype type, const char *format, va_list args)
{
    const auto view = api::candidate_of(sock, th);
    return engine::OwnedValue(api::read_leaf(view, *view.path(format, args), type));
}

void copy_text(const confd_value_t &text, char *buffer, int size)
{
    const auto length = static_cast<std::size_t>(text.val.buf.size);
    if (size < 0 || length >= static_cast<std::size_t>(size)) {
        throw engine::Error(CONFD_ERR_PROTOUSAGE, "a text of " + std::to_string(length) +
                                                      " characters does not fit into a buffer of " +
                                                      std::to_string(size));
    }
    std::memcpy(buffer, text.val.buf.ptr, length + 1);
}

} // namespace

extern "C" {

int maapi_exists(int sock, int th, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("maapi_exists", CONFD_ERR, [&] {
        const auto view = api::candidate_of(sock, th);
        return api::exists(view, *view.path(fmt, args)) ? 1 : 0;
    });
    va_end(args);
    return result;
}

int maapi_num_instances(int sock, int th, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("maapi_num_instances", CONFD_ERR, [&] {
        const auto view = api::candidate_of(sock, th);
        return api::count_entries(view, *view.path(fmt, args));
    });
    va_end(args);
    return result;
}

int maapi_get_elem(int sock, int th, confd_value_t *v, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("maapi_get_elem", CONFD_ERR, [&] {
        const auto view = api::candidate_of(sock, th);
        *v = api::hand_out(engine::OwnedValue(api::read_leaf(view, *view.path(fmt, args))));
        return CONFD_OK;
    });
    va_end(args);
    return result;
}

int maapi_get_str_elem(int sock, int th, char *buf, int n, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("maapi_get_str_elem", CONFD_ERR, [&] {
        copy_text(typed_leaf(sock, th, C_BUF, fmt, args).get(), buf, n);
        return CONFD_OK;
    });
    va_end(args);
    return result;
}

int maapi_get_u_int32_elem(int sock, int th, uint32_t *rval, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("maapi_get_u_int32_elem", CONFD_ERR, [&] {
        *rval = typed_leaf(sock, th, C_UINT32, fmt, args).get().val.u32;
        return CONFD_OK;
    });
    va_end(args);
    return result;
}

int maapi_get_bool_elem(int sock, int th, int *rval, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("maapi_get_bool_elem", CONFD_ERR, [&] {
        *rval = typed_leaf(sock, th, C_BOOL, fmt, args).get().val.boolean;
        return CONFD_OK;
    });
    va_end(args);
    return result;
}

int maapi_get_ipv4_elem(int sock, int th, struct in_addr *rval, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("maapi_get_ipv4_elem", CONFD_ERR, [&] {
        *rval = typed_leaf(sock, th, C_IPV4, fmt, args).get().val.ip;
        return CONFD_OK;
    });
    va_end(args);
    return result;
}

int maapi_get_ipv4_and_plen_elem(int sock, int th, struct confd_ipv4_prefix *rval, const char *fmt,
                                 ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("maapi_get_ipv4_and_plen_elem", CONFD_ERR, [&] {
        *rval = typed_leaf(sock, th, C_IPV4_AND_PLEN, fmt, args).get().val.ipv4prefix;
        return CONFD_OK;
    });
    va_end(args);
    return result;
}

int maapi_get_enum_value_elem(int sock, int th, int32_t *rval, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("maapi_get_enum_value_elem", CONFD_ERR, [&] {
        *rval = typed_leaf(sock, th, C_ENUM_VALUE, fmt, args).get().val.enumvalue;
        return CONFD_OK;
    });
    va_end(args);
    return result;
}

int maapi_get_list_elem(int sock, int th, confd_value_t **values, int *n, const char *fmt, ...)
{
    *values = nullptr;
    *n = 0;
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("maapi_get_list_elem", CONFD_ERR, [&] {
        const auto view = api::candidate_of(sock, th);
        const auto path = view.path(fmt, args);
        if (path->schema()->is_leaf()) {
            throw engine::Error(CONFD_ERR_BADTYPE, path->text() + " is not a leaf-list");
        }
        // The client gets the list's array, and each element as a value of its own.
        const confd_value_t list = api::read_leaf(view, *path);
        for (unsigned int i = 0; i < list.val.list.size; ++i) {
            list.val.list.ptr[i] = api::hand_out(engine::OwnedValue(list.val.list.ptr[i]));
        }
        *values = list.val.list.ptr;
        *n = static_cast<int>(list.val.list.size);
        return CONFD_OK;
    });
    va_end(args);
    return result;
}

} // extern "C"
