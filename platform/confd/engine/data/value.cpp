#include "engine/data/value.h"

#include "engine/data/error.h"
#include "engine/data/path.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <new>

namespace engine
{
namespace
{

/** What is stored in a leaf; of a union, what its member type stores. */
const lyd_value &stored_in(const lyd_node *term)
{
    const lyd_value &value = reinterpret_cast<const lyd_node_term *>(term)->value;
    return value.realtype->basetype == LY_TYPE_UNION ? value.subvalue->value : value;
}

/** Type of what is stored; of a union, the member type that the value has. */
const confd_type &type_of(const lyd_node *term, const lyd_value &stored)
{
    const confd_type &type = Schema::of(term)->type_storage;
    if (type.vtype != C_UNION) {
        return type;
    }
    const auto member =
        std::find_if(type.members.begin(), type.members.end(), [&](const confd_type &candidate) {
            return candidate.yang == stored.realtype;
        });
    if (member == type.members.end()) {
        throw Error(CONFD_ERR_INTERNAL, "a value of " + Schema::of(term)->path() +
                                            " has none of the types of its union");
    }
    return *member;
}

bool parse_address(const char *text, in_addr &address)
{
    return inet_pton(AF_INET, text, &address) == 1;
}

bool parse_prefix(std::string_view text, confd_ipv4_prefix &prefix)
{
    const auto slash = text.find('/');
    if (slash == std::string_view::npos ||
        !parse_address(std::string(text.substr(0, slash)).c_str(), prefix.ip)) {
        return false;
    }
    const char *end = text.data() + text.size();
    const auto [rest, fault] = std::from_chars(text.data() + slash + 1, end, prefix.len);
    return fault == std::errc() && rest == end && prefix.len <= 32;
}

/** An address, or the text itself where it is more than an address (one with a zone). */
confd_value_t address_value(confd_vtype vtype, const char *text)
{
    confd_value_t value{};
    value.type = vtype;
    bool is_address = false;
    if (vtype == C_IPV4) {
        is_address = parse_address(text, value.val.ip);
    } else if (vtype == C_IPV6) {
        is_address = inet_pton(AF_INET6, text, &value.val.ip6) == 1;
    } else {
        is_address = parse_prefix(text, value.val.ipv4prefix);
    }
    return is_address ? value : make_text_value(text);
}

template <typename T>
int three_way(T a, T b)
{
    return a < b ? -1 : static_cast<int>(b < a);
}

/** Texts bytewise, addresses by their number and then by the length of the prefix. */
int compare_texts(const lyd_node *a, const lyd_node *b, confd_vtype vtype)
{
    const char *text_a = lyd_get_value(a);
    const char *text_b = lyd_get_value(b);
    confd_ipv4_prefix address_a{};
    confd_ipv4_prefix address_b{};
    bool are_addresses = false;
    if (vtype == C_IPV4) {
        are_addresses = parse_address(text_a, address_a.ip) && parse_address(text_b, address_b.ip);
    } else if (vtype == C_IPV4PREFIX || vtype == C_IPV4_AND_PLEN) {
        are_addresses = parse_prefix(text_a, address_a) && parse_prefix(text_b, address_b);
    }
    if (!are_addresses) {
        return std::strcmp(text_a, text_b);
    }
    const int order = three_way(ntohl(address_a.ip.s_addr), ntohl(address_b.ip.s_addr));
    return order != 0 ? order : three_way(address_a.len, address_b.len);
}

std::string address_text(int family, const void *address)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    return inet_ntop(family, address, text.data(), text.size());
}

std::string tag_text(const Schema *schema, std::uint32_t tag)
{
    const char *name = schema != nullptr ? schema->name_of(tag) : nullptr;
    return name != nullptr ? name : "tag<" + std::to_string(tag) + ">";
}

std::string list_text(const Schema *schema, const confd_list &list)
{
    std::string text;
    for (unsigned int i = 0; i < list.size; ++i) {
        text += (i == 0 ? "" : " ") + print_value(schema, list.ptr[i]);
    }
    return text;
}

/** Name of an enumeration's value. */
std::optional<std::string> enum_name(const lysc_type *type, std::int32_t number)
{
    const auto *items = reinterpret_cast<const lysc_type_enum *>(type)->enums;
    const auto *end = items + LY_ARRAY_COUNT(items);
    const auto *item = std::find_if(
        items, end, [number](const lysc_type_bitenum_item &each) { return each.value == number; });
    return item == end ? std::nullopt : std::make_optional<std::string>(item->name);
}

/** Text of a leaf-list's values, with blanks between them. */
std::optional<std::string> list_text_by_type(const Schema *schema, const confd_type &type,
                                             const confd_list &list)
{
    std::string text;
    for (unsigned int i = 0; i < list.size; ++i) {
        const auto element = text_by_type(schema, type, list.ptr[i]);
        if (!element) {
            return std::nullopt;
        }
        text += (i == 0 ? "" : " ") + *element;
    }
    return text;
}

template <typename T>
T *allocate(std::size_t count)
{
    void *memory = std::malloc(std::max<std::size_t>(count, 1) * sizeof(T));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return static_cast<T *>(memory);
}

} // namespace

char *duplicate_text(std::string_view text)
{
    char *copy = allocate<char>(text.size() + 1);
    std::copy(text.begin(), text.end(), copy);
    copy[text.size()] = '\0';
    return copy;
}

confd_value_t make_text_value(std::string_view text)
{
    confd_value_t value{};
    CONFD_SET_BUF(&value, reinterpret_cast<unsigned char *>(duplicate_text(text)),
                  static_cast<unsigned int>(text.size()));
    return value;
}

confd_value_t tag_value_of(const SchemaNode &node)
{
    confd_value_t value{};
    CONFD_SET_XMLTAG(&value, node.tag, node.ns);
    return value;
}

confd_value_t value_of(const lyd_node *term)
{
    const lyd_value &stored = stored_in(term);
    const confd_type &type = type_of(term, stored);
    confd_value_t value{};
    value.type = type.vtype;
    switch (type.vtype) {
    case C_INT8:
        value.val.i8 = stored.int8;
        return value;
    case C_INT16:
        value.val.i16 = stored.int16;
        return value;
    case C_INT32:
        value.val.i32 = stored.int32;
        return value;
    case C_INT64:
        value.val.i64 = stored.int64;
        return value;
    case C_UINT8:
        value.val.u8 = stored.uint8;
        return value;
    case C_UINT16:
        value.val.u16 = stored.uint16;
        return value;
    case C_UINT32:
        value.val.u32 = stored.uint32;
        return value;
    case C_UINT64:
        value.val.u64 = stored.uint64;
        return value;
    case C_BOOL:
        value.val.boolean = stored.boolean != 0 ? 1 : 0;
        return value;
    case C_ENUM_VALUE:
        value.val.enumvalue = stored.enum_item->value;
        return value;
    case C_XMLTAG:
        return tag_value_of(*Schema::of(term));
    case C_IPV4:
    case C_IPV6:
    case C_IPV4PREFIX:
    case C_IPV4_AND_PLEN:
        return address_value(type.vtype, lyd_get_value(term));
    default:
        return make_text_value(lyd_get_value(term));
    }
}

confd_value_t make_list_value(std::vector<OwnedValue> elements)
{
    confd_value_t value{};
    CONFD_SET_LIST(&value, allocate<confd_value_t>(elements.size()),
                   static_cast<unsigned int>(elements.size()));
    std::transform(elements.begin(), elements.end(), value.val.list.ptr,
                   [](OwnedValue &element) { return element.release(); });
    return value;
}

confd_value_t list_value_of(const lyd_node *first)
{
    std::vector<OwnedValue> elements;
    for (const lyd_node *entry = first; entry != nullptr; entry = next_instance(entry)) {
        elements.emplace_back(value_of(entry));
    }
    return make_list_value(std::move(elements));
}

confd_value_t copy_value(const confd_value_t &value)
{
    switch (value.type) {
    case C_BUF:
        return make_text_value(
            {reinterpret_cast<const char *>(value.val.buf.ptr), value.val.buf.size});
    case C_STR:
        return make_text_value(value.val.s);
    case C_LIST: {
        std::vector<OwnedValue> elements;
        for (unsigned int i = 0; i < value.val.list.size; ++i) {
            elements.emplace_back(copy_value(value.val.list.ptr[i]));
        }
        return make_list_value(std::move(elements));
    }
    default:
        return value;
    }
}

void free_value(confd_value_t &value)
{
    if (value.type == C_BUF) {
        std::free(value.val.buf.ptr);
    } else if (value.type == C_LIST) {
        for (unsigned int i = 0; i < value.val.list.size; ++i) {
            free_value(value.val.list.ptr[i]);
        }
        std::free(value.val.list.ptr);
    } else {
        return;
    }
    value = no_value();
}

std::string print_value(const Schema *schema, const confd_value_t &value)
{
    switch (value.type) {
    case C_INT8:
        return std::to_string(value.val.i8);
    case C_INT16:
        return std::to_string(value.val.i16);
    case C_INT32:
        return std::to_string(value.val.i32);
    case C_INT64:
        return std::to_string(value.val.i64);
    case C_UINT8:
        return std::to_string(value.val.u8);
    case C_UINT16:
        return std::to_string(value.val.u16);
    case C_UINT32:
        return std::to_string(value.val.u32);
    case C_UINT64:
        return std::to_string(value.val.u64);
    case C_BOOL:
        return value.val.boolean != 0 ? "true" : "false";
    case C_ENUM_VALUE:
        return "enum<" + std::to_string(value.val.enumvalue) + ">";
    case C_IPV4:
        return address_text(AF_INET, &value.val.ip);
    case C_IPV6:
        return address_text(AF_INET6, &value.val.ip6);
    case C_IPV4PREFIX:
    case C_IPV4_AND_PLEN:
        return address_text(AF_INET, &value.val.ipv4prefix.ip) + "/" +
               std::to_string(value.val.ipv4prefix.len);
    case C_BUF:
        return {reinterpret_cast<const char *>(value.val.buf.ptr), value.val.buf.size};
    case C_STR:
        return value.val.s;
    case C_XMLTAG:
    case C_XMLBEGIN:
    case C_XMLEND:
        return tag_text(schema, value.val.xmltag.tag);
    case C_LIST:
        return list_text(schema, value.val.list);
    default:
        return {};
    }
}

std::optional<std::string> text_by_type(const Schema *schema, const confd_type &type,
                                        const confd_value_t &value)
{
    if (value.type == C_LIST) {
        return list_text_by_type(schema, type, value.val.list);
    }
    if (type.vtype == C_UNION) {
        for (const confd_type &member : type.members) {
            if (auto text = text_by_type(schema, member, value)) {
                return text;
            }
        }
        return std::nullopt;
    }
    // An address with a zone is kept as text: see address_value.
    const bool is_text = value.type == C_BUF || value.type == C_STR;
    const bool takes_text = type.vtype == C_BUF || type.vtype == C_IPV4 || type.vtype == C_IPV6;
    if (is_text ? !takes_text : value.type != type.vtype) {
        return std::nullopt;
    }
    return value.type == C_ENUM_VALUE ? enum_name(type.yang, value.val.enumvalue)
                                      : print_value(schema, value);
}

int compare_terms(const lyd_node *a, const lyd_node *b)
{
    const lyd_value &value_a = stored_in(a);
    const lyd_value &value_b = stored_in(b);
    const LY_DATA_TYPE basetype = value_a.realtype->basetype;
    if (basetype != value_b.realtype->basetype) {
        return three_way<int>(basetype, value_b.realtype->basetype);
    }
    switch (basetype) {
    case LY_TYPE_INT8:
        return three_way(value_a.int8, value_b.int8);
    case LY_TYPE_INT16:
        return three_way(value_a.int16, value_b.int16);
    case LY_TYPE_INT32:
        return three_way(value_a.int32, value_b.int32);
    case LY_TYPE_INT64:
    case LY_TYPE_DEC64:
        return three_way(value_a.int64, value_b.int64);
    case LY_TYPE_UINT8:
        return three_way(value_a.uint8, value_b.uint8);
    case LY_TYPE_UINT16:
        return three_way(value_a.uint16, value_b.uint16);
    case LY_TYPE_UINT32:
        return three_way(value_a.uint32, value_b.uint32);
    case LY_TYPE_UINT64:
        return three_way(value_a.uint64, value_b.uint64);
    case LY_TYPE_BOOL:
        return three_way(value_a.boolean, value_b.boolean);
    case LY_TYPE_ENUM:
        return three_way(value_a.enum_item->value, value_b.enum_item->value);
    default:
        return compare_texts(a, b, type_of(a, value_a).vtype);
    }
}

} // namespace engine
