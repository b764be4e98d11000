#include "match_overlap_validation.h"

#include <charconv>
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
    constexpr std::size_t kNumbers = 64; // Room for three.
    char numbers[kNumbers];
    char *at = numbers;
    const auto add = [&](auto number) {
        *at++ = ' ';
        at = std::to_chars(at, numbers + kNumbers, number).ptr;
    };
    add(onu);
    add(gem);
    add(vlan);
    return std::move(interface.append(numbers, at));
}

// NOLINTEND(performance-unnecessary-value-param)
