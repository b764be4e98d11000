/** Calls about the loaded schema. */
#include "api/guard.h"
#include "engine/data/error.h"
#include "engine/data/path_reader.h"
#include "engine/session/framework.h"

using engine::Framework;
using engine::SchemaNode;

extern "C" {

char *confd_hash2str(uint32_t hash)
{
    if (!Framework::exists()) {
        return nullptr;
    }
    return const_cast<char *>(Framework::current().schema().name_of(hash));
}

struct confd_cs_node *confd_cs_node_cd(const struct confd_cs_node *start, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const confd_cs_node *none = nullptr;
    const confd_cs_node *node = api::guarded("confd_cs_node_cd", none, [&]() -> decltype(none) {
        return &engine::read_schema_path(Framework::current().schema(),
                                         static_cast<const SchemaNode *>(start), fmt, args);
    });
    va_end(args);
    return const_cast<confd_cs_node *>(node);
}

int confd_max_object_size(struct confd_cs_node *object)
{
    return api::guarded("confd_max_object_size", CONFD_ERR, [&] {
        if (object == nullptr) {
            throw engine::Error(CONFD_ERR_PROTOUSAGE, "confd_max_object_size: there is no node");
        }
        return static_cast<const SchemaNode *>(object)->object_size;
    });
}

} // extern "C"
