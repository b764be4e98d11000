#include "tags.h"

#include <algorithm>
#include <array>
#include <utility>

namespace model
{
namespace
{

using FixedTag = std::pair<std::string_view, std::uint32_t>;

constexpr std::array<FixedTag, 10> kFixedTags{{
    {"service-port", 2078118842},
    {"gpon", 1802393476},
    {"id", 1279252765},
    {"onu", 1099044037},
    {"gem", 54084138},
    {"gem-id", 730022296},
    {"rg-one-shot-prov", 1306573365},
    {"downstream-fec", 1983019248},
    {"upstream-fec", 2142939407},
    {"rg-profile", 833143253},
}};

std::uint32_t fnv1a(std::string_view text)
{
    std::uint32_t hash = 2166136261U;
    for (const char c : text) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 16777619U;
    }
    return hash;
}

} // namespace

std::uint32_t tag_of(std::string_view name)
{
    const auto fixed = std::find_if(kFixedTags.begin(), kFixedTags.end(),
                                    [name](const FixedTag &tag) { return tag.first == name; });
    if (fixed != kFixedTags.end()) {
        return fixed->second;
    }
    return fnv1a(name) & 0x7fffffffU;
}

} // namespace model
