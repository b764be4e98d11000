#include "confd_get_objects_itf.h"

#include "trace.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace
{

// The fault records of cards in the field carry this line; it stays whatever the source becomes.
constexpr int kFaultLine = 37;

std::unique_ptr<confd_value_t[]> make_values(std::uint32_t object_size,
                                             std::uint32_t objects_per_call)
{
    const std::uint64_t count = std::uint64_t{object_size} * objects_per_call;
    if (count > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(confd_value_t)) {
        throw std::bad_array_new_length();
    }
    return std::make_unique<confd_value_t[]>(static_cast<std::size_t>(count));
}

void free_value(confd_value_t &value)
{
    switch (value.type) {
    case C_NOEXISTS:
    case C_XMLTAG:
    case C_INT32:
    case C_UINT32:
        break; // Most values of thousands of entries own nothing: calls worth saving.
    default:
        confd_free_value(&value);
        CONFD_SET_NOEXISTS(&value);
    }
}

} // namespace

ConfdGetObjsItf::ConfdGetObjsItf(std::uint32_t object_size_, std::uint32_t objects_per_call_,
                                 std::string keypath_, int maapi_sock_, confd_trans_ctx *tctx_,
                                 bool check_size)
    : object_size(object_size_), objects_per_call(objects_per_call_), keypath(std::move(keypath_)),
      maapi_sock(maapi_sock_), tctx(tctx_), cursor()
{
    // A list that cannot be opened leaves the cursor without keys: getObjects() sees the end.
    maapi_init_cursor(maapi_sock, tctx->thandle, &cursor, keypath.c_str());
    try {
        values = make_values(object_size, objects_per_call);
    } catch (...) {
        maapi_destroy_cursor(&cursor);
        throw;
    }
    if (check_size) {
        check_object_size();
    }
}

ConfdGetObjsItf::~ConfdGetObjsItf()
{
    maapi_destroy_cursor(&cursor);
}

int ConfdGetObjsItf::getObjects()
{
    if (cursor.n == 0) {
        return 0;
    }
    int nobj = static_cast<int>(objects_per_call);
    const int size = maapi_get_objects(&cursor, values.get(), static_cast<int>(object_size), &nobj);
    if (size < 0) {
        return -1;
    }
    if (nobj <= 0) {
        return nobj;
    }
    const auto entries = static_cast<std::uint32_t>(nobj);
    const auto values_per_entry = static_cast<std::uint32_t>(size);
    if (entries > objects_per_call || values_per_entry != object_size) {
        // The array has room for what was asked for: no more of it was handed out.
        free_values(static_cast<int>(std::min(entries, objects_per_call)),
                    std::min(values_per_entry, object_size));
        return -1;
    }
    return nobj;
}

void ConfdGetObjsItf::free_values(int entries, std::uint32_t values_per_entry) const
{
    for (int i = 0; i < entries; ++i) {
        for (std::uint32_t v = 0; v < values_per_entry; ++v) {
            free_value(entry(i)[v]);
        }
    }
}

void ConfdGetObjsItf::check_object_size() const
{
    const int schema_size = confd_max_object_size(confd_cs_node_cd(nullptr, keypath.c_str()));
    if (static_cast<std::uint32_t>(schema_size) != object_size) {
        report_fault_and_exit("ConfdGetObjsItf", __FILE__, kFaultLine,
                              "[%s] object size (%d) differs from expected (%d).", keypath.c_str(),
                              schema_size, static_cast<int>(object_size));
    }
}
