#include "engine/data/allowed_values.h"

namespace engine
{
namespace
{

std::string ranges(const lysc_range &range, bool is_signed)
{
    std::string text;
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(range.parts, i)
    {
        const auto &part = range.parts[i];
        const auto low = is_signed ? std::to_string(part.min_64) : std::to_string(part.min_u64);
        const auto high = is_signed ? std::to_string(part.max_64) : std::to_string(part.max_u64);
        text += text.empty() ? "" : ", ";
        text += low;
        if (high != low) {
            text += "..";
            text += high;
        }
    }
    return text;
}

std::string number(const confd_type &type, const char *whole_range, bool is_signed)
{
    const auto *range = reinterpret_cast<const lysc_type_num *>(type.yang)->range;
    return range != nullptr ? ranges(*range, is_signed) : whole_range;
}

std::string enumeration(const confd_type &type)
{
    std::string names;
    const auto *enums = reinterpret_cast<const lysc_type_enum *>(type.yang)->enums;
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(enums, i)
    {
        names += std::string(names.empty() ? "" : ", ") + enums[i].name;
    }
    return names;
}

std::string text(const confd_type &type)
{
    if (type.encrypted) {
        return "$0$ and the clear text, or an encrypted value behind $8$";
    }
    const auto *length = reinterpret_cast<const lysc_type_str *>(type.yang)->length;
    const char *unit = type.max_bytes != 0 ? " bytes" : " characters";
    return length != nullptr ? ranges(*length, false) + unit : "";
}

std::string members(const confd_type &type)
{
    std::string all;
    for (const auto &member : type.members) {
        const auto one = allowed_values(member);
        all += (all.empty() || one.empty() ? "" : ", ") + one;
    }
    return all;
}

} // namespace

std::string allowed_values(const confd_type &type)
{
    switch (type.vtype) {
    case C_INT8:
        return number(type, "-128..127", true);
    case C_INT16:
        return number(type, "-32768..32767", true);
    case C_INT32:
        return number(type, "-2147483648..2147483647", true);
    case C_INT64:
        return number(type, "-9223372036854775808..9223372036854775807", true);
    case C_UINT8:
        return number(type, "0..255", false);
    case C_UINT16:
        return number(type, "0..65535", false);
    case C_UINT32:
        return number(type, "0..4294967295", false);
    case C_UINT64:
        return number(type, "0..18446744073709551615", false);
    case C_BOOL:
        return "true, false";
    case C_XMLTAG:
        return "no value";
    case C_ENUM_VALUE:
        return enumeration(type);
    case C_IPV4:
        return "an IPv4 address, such as 192.0.2.1";
    case C_IPV4_AND_PLEN:
        return "an IPv4 address and a prefix length, such as 192.0.2.1/24";
    case C_UNION:
        return members(type);
    default:
        return text(type);
    }
}

} // namespace engine
