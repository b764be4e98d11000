#include "engine/schema/schema_types.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>

namespace engine
{
namespace
{

constexpr const char *kFrameworkModule = "tailf-common";
constexpr std::string_view kAddressAndLength = "ipv4-address-and-prefix-length";
constexpr std::string_view kEncryptedString = "aes-cfb-128-encrypted-string";
constexpr std::string_view kInBytes = "in-bytes"; ///< An extension that a model may define.

/** What the framework's module compiled a typedef to; null when nothing uses it. */
const lysc_type *framework_typedef(const ly_ctx *context, std::string_view name)
{
    const auto *module = ly_ctx_get_module_latest(context, kFrameworkModule);
    if (module == nullptr) {
        return nullptr;
    }
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(module->parsed->typedefs, i)
    {
        if (module->parsed->typedefs[i].name == name) {
            return module->parsed->typedefs[i].type.compiled;
        }
    }
    return nullptr;
}

bool has_pattern(const lysc_type_str &type, const lysc_pattern *pattern)
{
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(type.patterns, i)
    {
        if (type.patterns[i] == pattern) {
            return true;
        }
    }
    return false;
}

/**
 * Compiled types have no names. Without further restrictions a leaf shares its typedef's type;
 * with some, or through another typedef, it still shares the typedef's patterns.
 */
bool derives_from(const lysc_type &type, const lysc_type *base)
{
    if (base == nullptr || &type == base) {
        return base != nullptr;
    }
    const auto &derived = reinterpret_cast<const lysc_type_str &>(type);
    const auto &original = *reinterpret_cast<const lysc_type_str *>(base);
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(original.patterns, i)
    {
        if (!has_pattern(derived, original.patterns[i])) {
            return false;
        }
    }
    return i > 0;
}

/** libyang's own kinds of text are told apart by their plug-ins. IPv6 addresses stay texts. */
confd_vtype text_vtype(const lysc_type &type)
{
    struct Kind {
        std::string_view plugin;
        confd_vtype vtype;
    };
    static constexpr std::array<Kind, 5> kKinds{{{"string", C_BUF},
                                                 {"ipv4-address", C_IPV4},
                                                 {"ipv4-address-no-zone", C_IPV4},
                                                 {"ipv6-address", C_BUF},
                                                 {"ipv6-address-no-zone", C_BUF}}};
    std::string_view plugin = type.plugin->id; // Such as "libyang 2 - string, version 1".
    plugin.remove_prefix(std::min(plugin.size(), plugin.find(" - ") + 3));
    plugin = plugin.substr(0, plugin.find(','));
    const auto *kind = std::find_if(kKinds.begin(), kKinds.end(),
                                    [plugin](const Kind &k) { return k.plugin == plugin; });
    return kind != kKinds.end() ? kind->vtype : C_NOEXISTS;
}

/** Compiled lengths have lost their extensions: only the typedef tells. */
bool counts_bytes(const lysp_tpdf &definition)
{
    if (definition.type.length == nullptr) {
        return false;
    }
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(definition.type.length->exts, i)
    {
        const std::string_view name = definition.type.length->exts[i].name;
        if (name.substr(name.find(':') + 1) == kInBytes) {
            return true;
        }
    }
    return false;
}

bool is_length_in_bytes(const lysc_type &type, const lysp_tpdf *definitions)
{
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(definitions, i)
    {
        if (counts_bytes(definitions[i]) && derives_from(type, definitions[i].type.compiled)) {
            return true;
        }
    }
    return false;
}

/** Greatest length of a text whose typedef marks it as one in bytes; 0 when there is no such. */
std::uint32_t max_bytes_of(const lysc_type &type, const lys_module &module)
{
    const auto *length = reinterpret_cast<const lysc_type_str &>(type).length;
    bool is_marked = is_length_in_bytes(type, module.parsed->typedefs);
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(module.parsed->includes, i)
    {
        is_marked |= is_length_in_bytes(type, module.parsed->includes[i].submodule->typedefs);
    }
    return is_marked && length != nullptr
               ? static_cast<std::uint32_t>(
                     length->parts[LY_ARRAY_COUNT(length->parts) - 1].max_u64)
               : 0;
}

confd_vtype vtype_of(LY_DATA_TYPE type)
{
    switch (type) {
    case LY_TYPE_INT8:
        return C_INT8;
    case LY_TYPE_INT16:
        return C_INT16;
    case LY_TYPE_INT32:
        return C_INT32;
    case LY_TYPE_INT64:
        return C_INT64;
    case LY_TYPE_UINT8:
        return C_UINT8;
    case LY_TYPE_UINT16:
        return C_UINT16;
    case LY_TYPE_UINT32:
        return C_UINT32;
    case LY_TYPE_UINT64:
        return C_UINT64;
    case LY_TYPE_BOOL:
        return C_BOOL;
    case LY_TYPE_ENUM:
        return C_ENUM_VALUE;
    case LY_TYPE_EMPTY:
        return C_XMLTAG;
    case LY_TYPE_UNION:
        return C_UNION;
    default:
        return C_NOEXISTS;
    }
}

confd_type convert(const lys_module &module, const lysc_type &yang, const std::string &path)
{
    if (yang.basetype == LY_TYPE_LEAFREF) {
        const auto &reference = reinterpret_cast<const lysc_type_leafref &>(yang);
        return convert(module, *reference.realtype, path);
    }
    confd_type type;
    type.yang = &yang;
    type.vtype = vtype_of(yang.basetype);
    if (yang.basetype == LY_TYPE_STRING) {
        type.encrypted = derives_from(yang, framework_typedef(module.ctx, kEncryptedString));
        const bool is_prefix = derives_from(yang, framework_typedef(module.ctx, kAddressAndLength));
        type.vtype = is_prefix ? C_IPV4_AND_PLEN : text_vtype(yang);
        type.max_bytes = max_bytes_of(yang, module);
    }
    if (yang.basetype == LY_TYPE_UNION) {
        const auto *members = reinterpret_cast<const lysc_type_union &>(yang).types;
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(members, i)
        {
            type.members.push_back(convert(module, *members[i], path));
        }
    }
    if (type.vtype == C_NOEXISTS) {
        throw std::runtime_error(path + ": its type is not served (" + yang.plugin->id + ")");
    }
    return type;
}

} // namespace

confd_type read_type(const lysc_node &node, const std::string &path)
{
    const auto *yang = node.nodetype == LYS_LEAF
                           ? reinterpret_cast<const lysc_node_leaf &>(node).type
                           : reinterpret_cast<const lysc_node_leaflist &>(node).type;
    auto type = convert(*node.module, *yang, path);
    const bool is_plain_leaf = node.nodetype == LYS_LEAF && (node.flags & LYS_KEY) == 0 &&
                               yang->basetype != LY_TYPE_LEAFREF;
    const bool hides_encrypted = std::any_of(type.members.begin(), type.members.end(),
                                             [](const auto &member) { return member.encrypted; });
    if (hides_encrypted || (type.encrypted && !is_plain_leaf)) {
        // The cipher text differs each time: it can be no key and nothing can refer to it.
        throw std::runtime_error(path + ": encrypted values are served in plain leaves only");
    }
    return type;
}

} // namespace engine
