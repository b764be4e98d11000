#include "platform_settings.h"

namespace
{

constexpr std::uint32_t kMaxTcontsType1 = 3;
constexpr std::uint32_t kMaxTcontsType2To5 = 3;
constexpr std::uint32_t kMaxTcontsType2To5WithoutBwCheck = 4;

} // namespace

PlatformSettings platform_settings = {
    true,               // do_bw_check
    kMaxTcontsType2To5, // max_tconts_bw_type_2_to_5
    kMaxTcontsType1,    // max_tconts_bw_type_1
    128,                // num_onus_per_ponlink
    8,                  // num_ponlinks
    8,                  // num_manageable_ponlinks
};

void set_do_bw_check(bool enabled)
{
    platform_settings.do_bw_check = enabled;
    platform_settings.max_tconts_bw_type_2_to_5 =
        enabled ? kMaxTcontsType2To5 : kMaxTcontsType2To5WithoutBwCheck;
    platform_settings.max_tconts_bw_type_1 = kMaxTcontsType1;
}

bool get_do_bw_check()
{
    return platform_settings.do_bw_check;
}

void set_num_onus_per_ponlink(std::uint32_t n)
{
    platform_settings.num_onus_per_ponlink = static_cast<std::int32_t>(n);
}

std::int32_t get_num_onus_per_ponlink()
{
    return platform_settings.num_onus_per_ponlink;
}

void set_num_ponlinks(std::uint32_t n)
{
    platform_settings.num_ponlinks = static_cast<std::int32_t>(n);
}

std::int32_t get_num_ponlinks()
{
    return platform_settings.num_ponlinks;
}

void set_num_manageable_ponlinks(std::uint32_t n)
{
    platform_settings.num_manageable_ponlinks = n;
}

std::uint32_t get_num_manageable_ponlinks()
{
    return platform_settings.num_manageable_ponlinks;
}
