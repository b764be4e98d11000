/**
 * @file
 * Names that a generated card gives to its profiles; references use them, too.
 */
#pragma once

#include <cstdint>
#include <string>

namespace host
{

inline constexpr std::uint32_t kServiceProfiles = 4;
inline constexpr std::uint32_t kTr069Profiles = 2;
inline constexpr std::uint32_t kVoipProfiles = 2;

/** A kind and a number from 1 up, such as line-007. */
inline std::string numbered(const char *kind, std::uint32_t index)
{
    std::string digits = std::to_string(index + 1);
    digits.insert(0, digits.size() < 3 ? 3 - digits.size() : 0, '0');
    return std::string(kind) + "-" + digits;
}

inline std::string bandwidth_name(std::uint32_t index)
{
    return numbered("bandwidth", index);
}
inline std::string line_name(std::uint32_t index)
{
    return numbered("line", index);
}
inline std::string service_name(std::uint32_t index)
{
    return numbered("service", index);
}
inline std::string rg_name(std::uint32_t index)
{
    return numbered("gateway", index);
}
inline std::string tr069_name(std::uint32_t index)
{
    return numbered("acs", index);
}
inline std::string sip_name(std::uint32_t index)
{
    return numbered("sip", index);
}
inline std::string media_name(std::uint32_t index)
{
    return numbered("media", index);
}

} // namespace host
