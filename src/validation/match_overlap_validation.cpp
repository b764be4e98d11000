#include "match_overlap_validation.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

// The signatures with texts by value are the published ones.
// NOLINTBEGIN(performance-unnecessary-value-param)

int MatchOverlapValidation::ServicePortMatchOverlaps(const char *name, std::string &error,
                                                     std::string interface, unsigned int onu,
                                                     unsigned int gem, int vlan)
{
    const auto [first_user, is_new] =
        m_first_users.emplace(GetMatchString(name, interface, onu, gem, vlan), name);
    if (is_new) {
        return 0;
    }
    error = "Service-port \"" + first_user->second + "\" and \"" + name +
            "\" have conflicting matches.";
    return 1;
}

std::string MatchOverlapValidation::GetMatchString(const char * /*name*/, std::string interface,
                                                   unsigned int onu, unsigned int gem, int vlan)
{
    constexpr std::size_t kNumberSize = 12;       // Of 32 bits, with its sign.
    constexpr std::size_t kUsualNumbersSize = 16; // An ONU, a GEM port, a VLAN, with blanks.
    std::string match = std::move(interface);
    match.reserve(match.size() + kUsualNumbersSize);
    for (const std::int64_t number : {std::int64_t{onu}, std::int64_t{gem}, std::int64_t{vlan}}) {
        std::array<char, kNumberSize> digits;
        char *end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
        match.append(" ").append(digits.data(), end);
    }
    return match;
}

// NOLINTEND(performance-unnecessary-value-param)
