#include "match_overlap_validation.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <string_view>

namespace
{

constexpr std::size_t kLongestPart = std::string_view(" -2147483648").size();

} // namespace

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
    std::array<char, 3 * kLongestPart> numbers;
    char *end = numbers.data();
    for (const std::int64_t part : {std::int64_t{onu}, std::int64_t{gem}, std::int64_t{vlan}}) {
        *end++ = ' ';
        end = std::to_chars(end, numbers.data() + numbers.size(), part).ptr;
    }
    interface.append(numbers.data(), end);
    return interface;
}

// NOLINTEND(performance-unnecessary-value-param)
