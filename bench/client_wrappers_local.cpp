/** The calls that the client library answers by itself: they wait for nobody. */
#include "call_recorder.h"
#include "path_call.h"
#include "wrapped.h"

#include <confd_lib.h>
#include <velconfd.h>

#include <string>
#include <vector>

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
namespace
{

using bench::PathCall;
using bench::Recorder;
using bench::Session;

/** A call for the tape. */
template <typename Replay>
void record(Replay replay)
{
    if (Recorder::instance().is_recording()) {
        Recorder::instance().record(std::move(replay));
    }
}

} // namespace

// ---- These count as requests --------------------------------------------------------------------

REAL(struct confd_cs_node *, confd_cs_node_cd, const struct confd_cs_node *start, const char *fmt,
     ...)
{
    const Recorder::Outside outside;
    va_list args;
    va_start(args, fmt);
    const PathCall path(fmt, args);
    va_end(args);
    confd_cs_node *node = nullptr;
    const auto find = [start, path](confd_cs_node *&found) {
        path.make([&](auto... parts) {
            found = __real_confd_cs_node_cd(start, parts...);
            return 0;
        });
    };
    record([find](Session &) {
        confd_cs_node *found = nullptr;
        find(found);
    });
    find(node);
    return node;
}

REAL(int, confd_max_object_size, struct confd_cs_node *object)
{
    const Recorder::Outside outside;
    record([object](Session &) { __real_confd_max_object_size(object); });
    return __real_confd_max_object_size(object);
}

REAL(int, confd_val2str, struct confd_type *type, const confd_value_t *v, char *buf, int bufsiz)
{
    const Recorder::Outside outside;
    // The rules print numbers and enumerations with it: a copy of the value owns nothing.
    record([type, value = *v](Session &) {
        char text[100];
        __real_confd_val2str(type, &value, text, sizeof(text));
    });
    return __real_confd_val2str(type, v, buf, bufsiz);
}

REAL(int, confd_decrypt, const char *ciphertext, int len, char *output)
{
    const Recorder::Outside outside;
    record([text = std::string(ciphertext, static_cast<std::size_t>(len)),
            room = std::vector<char>(static_cast<std::size_t>(len) + 1)](Session &) mutable {
        __real_confd_decrypt(text.data(), static_cast<int>(text.size()), room.data());
    });
    return __real_confd_decrypt(ciphertext, len, output);
}

// ---- These print: what they allocate is not the plug-in's ---------------------------------------

REAL(int, confd_pp_value, char *buf, int bufsiz, const confd_value_t *v)
{
    const Recorder::Outside outside;
    return __real_confd_pp_value(buf, bufsiz, v);
}

REAL(int, confd_pp_kpath, char *buf, int bufsiz, const confd_hkeypath_t *kp)
{
    const Recorder::Outside outside;
    return __real_confd_pp_kpath(buf, bufsiz, kp);
}

REAL(int, velconfd_maapi_socket_get, void *context)
{
    const Recorder::Outside outside;
    return __real_velconfd_maapi_socket_get(context);
}
// NOLINTEND(bugprone-reserved-identifier)
