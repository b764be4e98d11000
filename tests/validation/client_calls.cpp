#include "client_calls.h"

#include "engine/session/hooks.h"

#include <confd_cdb.h>
#include <confd_lib.h>
#include <confd_maapi.h>
#include <fm_gpond.h>
#include <velconfd.h>
#include <velmw.h>
#include <zlog.h>

#include <dlfcn.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <sstream>

namespace
{

ClientDouble the_client;

} // namespace

ClientDouble &client()
{
    return the_client;
}

namespace
{

/** Sessions of the committed configuration are shown as the smallest socket that is one. */
constexpr int kSessionSocket = 1;
int real_session_socket = 0;

/** The client library's own function of that name. */
template <typename Function>
Function *original(const char *name, Function * /*type*/)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

std::uint64_t calls_that_count()
{
    std::uint64_t sum = 0;
    for (const auto &[name, count] : engine::Hooks::instance().counts()) {
        sum += count;
    }
    return sum;
}

/** Records a call, makes it, and notes whether it can be made to fail. */
template <typename Call>
auto made(const std::string &text, const Call &call)
{
    std::vector<ClientCall> *const record = client().record;
    if (record == nullptr) {
        return call();
    }
    const std::size_t place = record->size();
    record->push_back({text});
    const std::uint64_t before = calls_that_count();
    struct AtEnd {
        std::vector<ClientCall> &record;
        std::size_t place;
        std::uint64_t before;
        ~AtEnd() { record[place].failing_call = calls_that_count() > before ? before + 1 : 0; }
    } const at_end{*record, place, before};
    return call();
}

/** A path: for the record as a text, for the library as the words that came. */
struct Path {
    Path(const char *path_format, va_list args) : format(path_format)
    {
        auto *word = words.begin();
        for (const char *c = format; *c != '\0'; ++c) {
            if (*c != '%') {
                text += *c;
                continue;
            }
            *word = *++c == 'd' || *c == 'u' ? va_arg(args, int) : va_arg(args, std::intptr_t);
            text += argument(*c, *word++);
        }
    }

    static std::string argument(char directive, std::intptr_t word)
    {
        std::array<char, 8192> printed{};
        const auto *pointer = reinterpret_cast<const void *>(word);
        switch (directive) {
        case 's':
            return static_cast<const char *>(pointer);
        case 'x': {
            static const auto print = original("confd_pp_value", &confd_pp_value);
            print(printed.data(), printed.size(), static_cast<const confd_value_t *>(pointer));
            return printed.data();
        }
        case 'h': {
            static const auto print = original("confd_pp_kpath", &confd_pp_kpath);
            print(printed.data(), printed.size(), static_cast<const confd_hkeypath_t *>(pointer));
            return printed.data();
        }
        default:
            return directive == 'd' ? std::to_string(static_cast<int>(word))
                                    : std::to_string(static_cast<unsigned>(word));
        }
    }

    const char *format;
    std::string text;
    std::array<std::intptr_t, 4> words{};
};

std::string sized(int size)
{
    std::ostringstream text;
    text << "[" << size << "]";
    return text.str();
}

std::string sized(const confd_tag_value_t *values, int count)
{
    std::ostringstream text;
    for (const auto *tagged = values; tagged != values + count; ++tagged) {
        text << " " << tagged->tag.tag << ":" << tagged->tag.ns << ":" << tagged->v.type;
    }
    return text.str();
}

template <typename Print, typename Value>
int printed(Print *print, char *buf, int n, const Value *value)
{
    if (client().printing_fails) {
        return CONFD_ERR;
    }
    if (const auto &text = client().printed) {
        return std::snprintf(buf, static_cast<std::size_t>(n), "%s", text->c_str());
    }
    return print(buf, n, value);
}

void lend([[maybe_unused]] void *memory)
{
#if !defined(__SANITIZE_ADDRESS__) // A sanitizer sees by itself what is not freed.
    client().lent = memory;
#endif
}

/** The socket of the library for that which the plug-in was given. */
int session_socket(int shown)
{
    return shown == kSessionSocket && real_session_socket != 0 ? real_session_socket : shown;
}

} // namespace

// A program's own functions come before those of the libraries that it is linked with.
extern "C" {

#define NAMES(...) __VA_ARGS__

/** A call that ends with the format of a path and its arguments. */
#define PATH_CALL(name, note, declared, passed)                                                    \
    int name(NAMES declared, const char *fmt, ...)                                                 \
    {                                                                                              \
        va_list args;                                                                              \
        va_start(args, fmt);                                                                       \
        const Path path(fmt, args);                                                                \
        va_end(args);                                                                              \
        static const auto real = original(#name, &name);                                           \
        return made(std::string(#name).append(note).append(" ").append(path.text), [&] {           \
            return real(NAMES passed, fmt, path.words[0], path.words[1], path.words[2],            \
                        path.words[3]);                                                            \
        });                                                                                        \
    }

#define PLAIN_CALL(result, name, note, declared, passed)                                           \
    result name declared                                                                           \
    {                                                                                              \
        static const auto real = original(#name, &name);                                           \
        return made(std::string(#name).append(note), [&] { return real passed; });                 \
    }

PATH_CALL(maapi_exists, "", (int sock, int th), (sock, th))
PATH_CALL(maapi_num_instances, "", (int sock, int th), (sock, th))
PATH_CALL(maapi_get_elem, "", (int sock, int th, confd_value_t *v), (sock, th, v))
PATH_CALL(maapi_get_u_int32_elem, "", (int sock, int th, uint32_t *v), (sock, th, v))
PATH_CALL(maapi_get_bool_elem, "", (int sock, int th, int *v), (sock, th, v))
PATH_CALL(maapi_get_ipv4_elem, "", (int sock, int th, in_addr *v), (sock, th, v))
PATH_CALL(maapi_get_ipv4_and_plen_elem, "", (int sock, int th, confd_ipv4_prefix *v), (sock, th, v))
PATH_CALL(maapi_get_enum_value_elem, "", (int sock, int th, int32_t *v), (sock, th, v))
PATH_CALL(maapi_get_values, sized(v, n), (int sock, int th, confd_tag_value_t *v, int n),
          (sock, th, v, n))
PATH_CALL(maapi_init_cursor, "", (int sock, int th, maapi_cursor *mc), (sock, th, mc))
PATH_CALL(maapi_keypath_diff_iterate, sized(flags),
          (int sock, int th, maapi_diff_iter_t *iter, int flags, void *state),
          (sock, th, iter, flags, state))
PATH_CALL(cdb_exists, "", (int sock), (session_socket(sock)))
PATH_CALL(cdb_get_bool, "", (int sock, int *v), (session_socket(sock), v))
PATH_CALL(cdb_num_instances, "", (int sock), (session_socket(sock)))

PLAIN_CALL(void, maapi_destroy_cursor, "", (maapi_cursor * mc), (mc))
int maapi_get_objects(maapi_cursor *mc, confd_value_t *values, int n, int *nobj)
{
    static const auto real = original("maapi_get_objects", &maapi_get_objects);
    const int result = made("maapi_get_objects" + sized(n) + sized(*nobj),
                            [&] { return real(mc, values, n, nobj); });
    *nobj += client().objects_too_many;
    return result;
}
PLAIN_CALL(int, maapi_query_start,
           " " + std::string(expr) + " chunk " + std::to_string(chunk) + " from " +
               std::to_string(offset) + " as " + std::to_string(as) + " select " +
               std::to_string(nselect) + " " + *select,
           (int sock, int th, const char *expr, const char *node, int chunk, int offset,
            confd_query_result_type as, int nselect, const char *select[], int nsort,
            const char *sort[]),
           (sock, th, expr, node, chunk, offset, as, nselect, select, nsort, sort))
int maapi_query_result(int sock, int qh, confd_query_result **qrs)
{
    static const auto real = original("maapi_query_result", &maapi_query_result);
    const int result = made("maapi_query_result", [&] { return real(sock, qh, qrs); });
    if (*qrs != nullptr && (*qrs)->nresults > 0) {
        (*qrs)->nresults += client().results_too_many;
        (*qrs)->nelements += client().items_too_many;
    }
    return result;
}
PLAIN_CALL(int, maapi_query_free_result, "", (confd_query_result * qrs), (qrs))
PLAIN_CALL(int, maapi_query_stop, "", (int sock, int qh), (sock, qh))
PLAIN_CALL(int, maapi_install_crypto_keys, "", (int sock), (sock))
PLAIN_CALL(int, confd_decrypt, sized(len), (const char *in, int len, char *out), (in, len, out))
PLAIN_CALL(int, confd_max_object_size, "", (confd_cs_node * node), (node))
PLAIN_CALL(int, confd_val2str, sized(n),
           (confd_type * type, const confd_value_t *v, char *buf, int n), (type, v, buf, n))
PLAIN_CALL(int, velconfd_maapi_socket_get, "", (void *context), (context))
PLAIN_CALL(void, velconfd_config_session_end, "", (void *context), (context))
PLAIN_CALL(int, zlog_level_enabled, sized(level), (zlog_category_t * category, const int level),
           (category, level))

int confd_pp_value(char *buf, int n, const confd_value_t *v)
{
    static const auto print = original("confd_pp_value", &confd_pp_value);
    return made("confd_pp_value" + sized(n), [&] { return printed(print, buf, n, v); });
}

int confd_pp_kpath(char *buf, int n, const confd_hkeypath_t *kp)
{
    static const auto print = original("confd_pp_kpath", &confd_pp_kpath);
    return made("confd_pp_kpath" + sized(n), [&] { return printed(print, buf, n, kp); });
}

int velconfd_config_session_start(void *context)
{
    static const auto start =
        original("velconfd_config_session_start", &velconfd_config_session_start);
    return made("velconfd_config_session_start", [&] {
        const int session = client().sessions_start ? start(context) : client().no_session;
        if (session <= 0) {
            return client().no_session;
        }
        real_session_socket = session;
        return kSessionSocket;
    });
}

int maapi_get_str_elem(int sock, int th, char *buf, int n, const char *fmt, ...)
{
    if (client().leaf_text) {
        std::snprintf(buf, static_cast<std::size_t>(n), "%s", client().leaf_text->c_str());
        return CONFD_OK;
    }
    va_list args;
    va_start(args, fmt);
    const Path path(fmt, args);
    va_end(args);
    static const auto read = original("maapi_get_str_elem", &maapi_get_str_elem);
    return made("maapi_get_str_elem" + sized(n) + " " + path.text,
                [&] { return read(sock, th, buf, n, fmt, path.words[0], path.words[1]); });
}

int maapi_get_list_elem(int sock, int th, confd_value_t **values, int *n, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const Path path(fmt, args);
    va_end(args);
    static const auto read = original("maapi_get_list_elem", &maapi_get_list_elem);
    return made("maapi_get_list_elem " + path.text, [&] {
        const int result = read(sock, th, values, n, fmt, path.words[0], path.words[1]);
        if (result == CONFD_OK) {
            lend(*values);
            (*values)->val.u8 = client().ethernet_port.value_or((*values)->val.u8);
            (*values)->type = client().mistyped_ports ? C_INT32 : (*values)->type;
        } else { // What a failed read leaves is nobody's to free.
            static confd_value_t nobodys;
            *values = &nobodys;
            *n = 1;
        }
        return result;
    });
}

int maapi_xpath_eval_expr(int sock, int th, const char *expr, char **res, void (*trace)(char *),
                          const char *fmtpath, ...)
{
    if (client().xpath_text) {
        *res = strdup(client().xpath_text->c_str());
        return CONFD_ERR;
    }
    if (fmtpath != nullptr) {
        std::abort(); // Arguments of a path cannot be handed on; the validators name none.
    }
    static const auto evaluate = original("maapi_xpath_eval_expr", &maapi_xpath_eval_expr);
    return made("maapi_xpath_eval_expr " + std::string(expr), [&] {
        const int result = evaluate(sock, th, expr, res, trace, nullptr);
        lend(*res);
        return result;
    });
}

confd_cs_node *confd_cs_node_cd(const confd_cs_node *start, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const Path path(fmt, args);
    va_end(args);
    static const auto look_up = original("confd_cs_node_cd", &confd_cs_node_cd);
    return made("confd_cs_node_cd " + path.text, [&] {
        return look_up(start, fmt, path.words[0], path.words[1], path.words[2], path.words[3]);
    });
}

char *confd_hash2str(uint32_t hash)
{
    static const auto name_of = original("confd_hash2str", &confd_hash2str);
    return client().nameless_tags ? nullptr : name_of(hash);
}

int maapi_get_next(maapi_cursor *mc)
{
    static const auto get_next = original("maapi_get_next", &maapi_get_next);
    const int result = made("maapi_get_next", [&] { return get_next(mc); });
    if (client().mistyped_ports && mc->keys[0].type == C_ENUM_VALUE) {
        mc->keys[0].type = C_INT32;
    }
    if (client().port_value && mc->keys[0].type == C_ENUM_VALUE) {
        mc->keys[0].val.enumvalue = *client().port_value;
    }
    return result;
}

void confd_trans_seterr(confd_trans_ctx *tctx, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    char *text = nullptr;
    const int length = vasprintf(&text, fmt, args);
    va_end(args);
    if (length < 0) {
        std::abort();
    }
    const bool by_argument = std::strcmp(fmt, "%s") == 0;
    static const auto set = original("confd_trans_seterr", &confd_trans_seterr);
    made(std::string("confd_trans_seterr") + (by_argument ? " %s " : " ") + text,
         [&] { set(tctx, "%s", text); });
    std::free(text);
}

int (*fm_oper_card_gpond_get_max_num_onu_per_ponlink_from_board(const fm_slot_t *slot))(int)
{
    static const auto find = original("fm_oper_card_gpond_get_max_num_onu_per_ponlink_from_board",
                                      &fm_oper_card_gpond_get_max_num_onu_per_ponlink_from_board);
    static int (*number)(int) = nullptr;
    number = find(slot);
    if (number == nullptr) {
        return nullptr;
    }
    return [](int link) { return link == 0 ? number(link) : -1; }; // It is asked about any link.
}

void zlog(zlog_category_t *category, const char *file, size_t filelen, const char *func,
          size_t funclen, long line, int level, const char *format, ...)
{
    // Nothing that the client library calls may throw: such a function does not allocate.
    const bool may_throw = std::strncmp(func, "diff_iter", 9) != 0;
    if (may_throw && client().lines_until_bad_alloc != 0 && --client().lines_until_bad_alloc == 0) {
        throw std::bad_alloc();
    }
    std::array<char, 10000> text{};
    va_list args;
    va_start(args, format);
    std::vsnprintf(text.data(), text.size(), format, args);
    va_end(args);
    static const auto write = original("zlog", &zlog);
    write(category, file, filelen, func, funclen, line, level, "%s", text.data());
}

zlog_category_t *velmw_trace_init(void *handle, const char *name)
{
    static const auto create = original("velmw_trace_init", &velmw_trace_init);
    return client().no_category ? nullptr : create(handle, name);
}

void velmw_print_backtrace(void)
{
    if (client().throw_faults) {
        client().fault = "backtrace, ";
        return;
    }
    static const auto print = original("velmw_print_backtrace", &velmw_print_backtrace);
    print();
}

void velmw_gen_fault(int severity, const char *function, const char *file, int line,
                     const char *message)
{
    if (client().throw_faults) {
        client().fault += std::to_string(severity) + " " + function + " " + file + ":" +
                          std::to_string(line) + " " + message;
        throw std::runtime_error(client().fault);
    }
    static const auto report = original("velmw_gen_fault", &velmw_gen_fault);
    report(severity, function, file, line, message);
}

#if !defined(__SANITIZE_ADDRESS__)
void __libc_free(void *memory);

void free(void *memory) noexcept
{
    if (memory != nullptr && memory == client().lent) {
        client().lent = nullptr;
    }
    __libc_free(memory);
}
#endif

} // extern "C"

/** The standard library's clock, which the plug-in's stopwatches look at. */
std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept
{
    if (client().clock) {
        return time_point(*client().clock += client().clock_step);
    }
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return time_point(std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec));
}
