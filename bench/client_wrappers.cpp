/** The client calls as the recorded copy of the plug-in makes them. */
#include "call_recorder.h"
#include "engine/data/value.h"
#include "path_call.h"
#include "wrapped.h"

#include <confd_cdb.h>
#include <confd_lib.h>
#include <confd_maapi.h>
#include <velconfd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
namespace
{

using bench::PathCall;
using bench::Recorder;
using bench::Session;

constexpr std::size_t kTextSize = 8192; ///< The largest buffer of the rules.

/** A request that is being made: recorded or slowed down where that is asked for. */
class Request
{
public:
    Request() { Recorder::instance().wait(); }

    template <typename Replay>
    void record(Replay replay) const
    {
        if (Recorder::instance().is_recording()) {
            Recorder::instance().record(std::move(replay));
        }
    }

private:
    Recorder::Outside m_outside;
};

/** Reads the path of a call with a variable number of arguments into `path`. */
#define READ_PATH(fmt)                                                                             \
    va_list args;                                                                                  \
    va_start(args, fmt);                                                                           \
    const PathCall path(fmt, args);                                                                \
    va_end(args)

/** Reads one leaf into a variable of its type. */
template <typename Value>
int read_leaf(int (*real)(int, int, Value *, const char *, ...), int sock, int th, Value *value,
              const char *fmt, va_list args)
{
    const Request request;
    const auto read = [real, sock, th, path = PathCall(fmt, args)](Value *into) {
        return path.make([&](auto... parts) { return real(sock, th, into, parts...); });
    };
    request.record([read](Session &) {
        Value into{};
        read(&into);
    });
    return read(value);
}

bool owns_memory(const confd_value_t &value)
{
    return value.type == C_BUF || value.type == C_LIST;
}

} // namespace

// ---- Reads of single nodes ----------------------------------------------------------------------

REAL(int, maapi_exists, int sock, int th, const char *fmt, ...)
{
    const Request request;
    READ_PATH(fmt);
    const auto read = [sock, th, path] {
        return path.make([&](auto... parts) { return __real_maapi_exists(sock, th, parts...); });
    };
    request.record([read](Session &) { read(); });
    return read();
}

REAL(int, maapi_num_instances, int sock, int th, const char *fmt, ...)
{
    const Request request;
    READ_PATH(fmt);
    const auto read = [sock, th, path] {
        return path.make(
            [&](auto... parts) { return __real_maapi_num_instances(sock, th, parts...); });
    };
    request.record([read](Session &) { read(); });
    return read();
}

REAL(int, maapi_get_u_int32_elem, int sock, int th, uint32_t *rval, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = read_leaf(__real_maapi_get_u_int32_elem, sock, th, rval, fmt, args);
    va_end(args);
    return result;
}

REAL(int, maapi_get_bool_elem, int sock, int th, int *rval, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = read_leaf(__real_maapi_get_bool_elem, sock, th, rval, fmt, args);
    va_end(args);
    return result;
}

REAL(int, maapi_get_ipv4_elem, int sock, int th, struct in_addr *rval, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = read_leaf(__real_maapi_get_ipv4_elem, sock, th, rval, fmt, args);
    va_end(args);
    return result;
}

REAL(int, maapi_get_ipv4_and_plen_elem, int sock, int th, struct confd_ipv4_prefix *rval,
     const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = read_leaf(__real_maapi_get_ipv4_and_plen_elem, sock, th, rval, fmt, args);
    va_end(args);
    return result;
}

REAL(int, maapi_get_enum_value_elem, int sock, int th, int32_t *rval, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = read_leaf(__real_maapi_get_enum_value_elem, sock, th, rval, fmt, args);
    va_end(args);
    return result;
}

REAL(int, maapi_get_elem, int sock, int th, confd_value_t *v, const char *fmt, ...)
{
    const Request request;
    READ_PATH(fmt);
    const auto read = [sock, th, path](confd_value_t *into) {
        return path.make(
            [&](auto... parts) { return __real_maapi_get_elem(sock, th, into, parts...); });
    };
    request.record([read](Session &) {
        confd_value_t into;
        if (read(&into) == CONFD_OK && owns_memory(into)) {
            confd_free_value(&into);
        }
    });
    return read(v);
}

REAL(int, maapi_get_str_elem, int sock, int th, char *buf, int n, const char *fmt, ...)
{
    const Request request;
    READ_PATH(fmt);
    const auto read = [sock, th, n, path](char *into) {
        return path.make(
            [&](auto... parts) { return __real_maapi_get_str_elem(sock, th, into, n, parts...); });
    };
    request.record([read](Session &) {
        char into[kTextSize];
        read(into);
    });
    return read(buf);
}

REAL(int, maapi_get_list_elem, int sock, int th, confd_value_t **values, int *n, const char *fmt,
     ...)
{
    const Request request;
    READ_PATH(fmt);
    const auto read = [sock, th, path](confd_value_t **into, int *count) {
        return path.make([&](auto... parts) {
            return __real_maapi_get_list_elem(sock, th, into, count, parts...);
        });
    };
    request.record([read](Session &) {
        confd_value_t *into = nullptr;
        int count = 0;
        read(&into, &count);
        std::for_each(into, into + count, [](confd_value_t &value) { confd_free_value(&value); });
        std::free(into);
    });
    return read(values, n);
}

REAL(int, maapi_get_values, int sock, int th, confd_tag_value_t *values, int n, const char *fmt,
     ...)
{
    const Request request;
    READ_PATH(fmt);
    const auto read = [sock, th, n, path](confd_tag_value_t *into) {
        return path.make(
            [&](auto... parts) { return __real_maapi_get_values(sock, th, into, n, parts...); });
    };
    request.record([read, wanted = std::vector<confd_tag_value_t>(values, values + n)](Session &) {
        auto into = wanted;
        read(into.data());
        for (confd_tag_value_t &tagged : into) {
            if (owns_memory(tagged.v)) {
                confd_free_value(&tagged.v);
            }
        }
    });
    return read(values);
}

// ---- Lists --------------------------------------------------------------------------------------

REAL(int, maapi_init_cursor, int sock, int th, struct maapi_cursor *mc, const char *fmt, ...)
{
    const Request request;
    READ_PATH(fmt);
    const auto open = [sock, th, path](maapi_cursor *cursor) {
        return path.make(
            [&](auto... parts) { return __real_maapi_init_cursor(sock, th, cursor, parts...); });
    };
    const auto place = Recorder::instance().open_cursor(mc);
    request.record([open, place](Session &session) { open(&session.cursors[place]); });
    return open(mc);
}

REAL(int, maapi_get_next, struct maapi_cursor *mc)
{
    const Request request;
    const auto place = Recorder::instance().cursor(mc);
    request.record([place](Session &session) { __real_maapi_get_next(&session.cursors[place]); });
    return __real_maapi_get_next(mc);
}

REAL(void, maapi_destroy_cursor, struct maapi_cursor *mc)
{
    const Request request;
    const auto place = Recorder::instance().cursor(mc);
    request.record(
        [place](Session &session) { __real_maapi_destroy_cursor(&session.cursors[place]); });
    __real_maapi_destroy_cursor(mc);
}

REAL(int, maapi_get_objects, struct maapi_cursor *mc, confd_value_t *values, int n, int *nobj)
{
    const Request request;
    auto &recorder = Recorder::instance();
    const int wanted = *nobj;
    const int result = __real_maapi_get_objects(mc, values, n, nobj);
    std::vector<std::size_t> owned; // What a client must free, by place.
    for (int i = 0; i < n * *nobj && result >= 0; ++i) {
        if (owns_memory(values[i])) {
            owned.push_back(static_cast<std::size_t>(i));
        }
    }
    recorder.need_values(static_cast<std::size_t>(n) * static_cast<std::size_t>(wanted));
    request.record([place = recorder.cursor(mc), n, wanted, owned](Session &session) {
        int count = wanted;
        __real_maapi_get_objects(&session.cursors[place], session.values.data(), n, &count);
        for (const std::size_t i : owned) {
            confd_free_value(&session.values[i]);
        }
    });
    return result;
}

// ---- XPath and queries --------------------------------------------------------------------------

REAL(int, maapi_query_start, int sock, int th, const char *expr, const char *context_node,
     int chunk_size, int initial_offset, enum confd_query_result_type result_as, int nselect,
     const char *select[], int nsort, const char *sort[])
{
    const Request request;
    const int handle =
        __real_maapi_query_start(sock, th, expr, context_node, chunk_size, initial_offset,
                                 result_as, nselect, select, nsort, sort);
    const auto place = Recorder::instance().open_query(handle);
    // The rules select one thing, from the root, in no order of their own.
    request.record(
        [=, expression = std::string(expr), selected = std::string(select[0])](Session &session) {
            const char *what = selected.c_str();
            session.queries[place] =
                __real_maapi_query_start(sock, th, expression.c_str(), nullptr, chunk_size,
                                         initial_offset, result_as, 1, &what, 0, nullptr);
        });
    return handle;
}

REAL(int, maapi_query_result, int sock, int qh, struct confd_query_result **qrs)
{
    const Request request;
    auto &recorder = Recorder::instance();
    const int result = __real_maapi_query_result(sock, qh, qrs);
    const auto chunk = recorder.open_chunk(*qrs);
    request.record([sock, place = recorder.query(qh), chunk](Session &session) {
        __real_maapi_query_result(sock, session.queries[place], &session.chunks[chunk]);
    });
    return result;
}

REAL(int, maapi_query_free_result, struct confd_query_result *qrs)
{
    const Recorder::Outside outside; // Answered by the client library itself.
    auto &recorder = Recorder::instance();
    if (recorder.is_recording()) {
        recorder.record([chunk = recorder.chunk(qrs)](Session &session) {
            __real_maapi_query_free_result(session.chunks[chunk]);
        });
    }
    return __real_maapi_query_free_result(qrs);
}

REAL(int, maapi_query_stop, int sock, int qh)
{
    const Request request;
    request.record([sock, place = Recorder::instance().query(qh)](Session &session) {
        __real_maapi_query_stop(sock, session.queries[place]);
    });
    return __real_maapi_query_stop(sock, qh);
}

REAL(int, maapi_xpath_eval_expr, int sock, int th, const char *expr, char **res,
     void (*trace)(char *), const char *fmtpath, ...)
{
    const Request request;
    // The rules evaluate from the root: there is no path.
    request.record([sock, th, expression = std::string(expr)](Session &) {
        char *text = nullptr;
        __real_maapi_xpath_eval_expr(sock, th, expression.c_str(), &text, nullptr, nullptr);
        std::free(text);
    });
    return __real_maapi_xpath_eval_expr(sock, th, expr, res, trace, fmtpath);
}

// ---- Changes ------------------------------------------------------------------------------------

namespace
{

using Answers = std::vector<maapi_iter_ret>;

/** A walk whose callback's answers are written down. */
struct ObservedWalk {
    maapi_diff_iter_t *iter;
    void *state;
    Answers answers;
};

maapi_iter_ret observe(confd_hkeypath_t *kp, confd_iter_op op, confd_value_t *oldv,
                       confd_value_t *newv, void *state)
{
    auto &walk = *static_cast<ObservedWalk *>(state);
    walk.answers.push_back(walk.iter(kp, op, oldv, newv, walk.state));
    return walk.answers.back();
}

maapi_iter_ret answer_again(confd_hkeypath_t * /*kp*/, confd_iter_op /*op*/,
                            confd_value_t * /*oldv*/, confd_value_t * /*newv*/, void *state)
{
    auto &next = *static_cast<const maapi_iter_ret **>(state);
    return *next++;
}

} // namespace

REAL(int, maapi_keypath_diff_iterate, int sock, int th, maapi_diff_iter_t *iter, int flags,
     void *initstate, const char *fmtpath, ...)
{
    const Request request;
    READ_PATH(fmtpath);
    const auto iterate = [sock, th, flags, path](maapi_diff_iter_t *function, void *state) {
        return path.make([&](auto... parts) {
            return __real_maapi_keypath_diff_iterate(sock, th, function, flags, state, parts...);
        });
    };
    ObservedWalk walk{iter, initstate, {}};
    const int result = iterate(observe, &walk);
    request.record([iterate, answers = std::move(walk.answers)](Session &) {
        const maapi_iter_ret *next = answers.data();
        iterate(answer_again, &next);
    });
    return result;
}

// ---- The committed configuration ----------------------------------------------------------------

REAL(int, velconfd_config_session_start, void *context)
{
    const Request request;
    request.record([context](Session &session) {
        session.cdb_sock = __real_velconfd_config_session_start(context);
    });
    return __real_velconfd_config_session_start(context);
}

REAL(void, velconfd_config_session_end, void *context)
{
    const Request request;
    request.record([context](Session &) { __real_velconfd_config_session_end(context); });
    __real_velconfd_config_session_end(context);
}

REAL(int, cdb_exists, int sock, const char *fmt, ...)
{
    const Request request;
    READ_PATH(fmt);
    const auto read = [path](int cdb_sock) {
        return path.make([&](auto... parts) { return __real_cdb_exists(cdb_sock, parts...); });
    };
    request.record([read](Session &session) { read(session.cdb_sock); });
    return read(sock);
}

REAL(int, cdb_get_bool, int sock, int *rval, const char *fmt, ...)
{
    const Request request;
    READ_PATH(fmt);
    const auto read = [path](int cdb_sock, int *into) {
        return path.make(
            [&](auto... parts) { return __real_cdb_get_bool(cdb_sock, into, parts...); });
    };
    request.record([read](Session &session) {
        int into = 0;
        read(session.cdb_sock, &into);
    });
    return read(sock, rval);
}

REAL(int, cdb_num_instances, int sock, const char *fmt, ...)
{
    const Request request;
    READ_PATH(fmt);
    const auto read = [path](int cdb_sock) {
        return path.make(
            [&](auto... parts) { return __real_cdb_num_instances(cdb_sock, parts...); });
    };
    request.record([read](Session &session) { read(session.cdb_sock); });
    return read(sock);
}

// ---- Encrypted values ---------------------------------------------------------------------------

REAL(int, maapi_install_crypto_keys, int sock)
{
    const Request request;
    request.record([sock](Session &) { __real_maapi_install_crypto_keys(sock); });
    return __real_maapi_install_crypto_keys(sock);
}
// NOLINTEND(bugprone-reserved-identifier)
