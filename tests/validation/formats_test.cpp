/** Texts from the configuration are arguments of formats, never formats. */
#include "fixture.h"

#include "gpon_itf_grp_validation.h"
#include "gpon_rg_profile_validation.h"
#include "support/card_xml.h"
#include "valid_service_port.h"

namespace
{

using namespace test_support;

class PrintedNames : public CardTest
{
};

TEST_F(PrintedNames, AreNoFormats)
{
    const std::string profile = "/config/profile/gpon/rg-profile{home}";
    given("", named("profile/gpon/rg-profile", "home", xml("wlan/id", "1")) + port(1) +
                  xml("interface", link(1, onu(1, xml("profile-references/line-profile", "a")))));
    for (const char *text : {"/config/profile/gpon/rg-profile{50%s%n}/wlan", "50%s%n"}) {
        client().printed = text;
        EXPECT_EQ(ask(rg_profile_ssid_unique_check_func, profile + "/wlan"), accepted());
        EXPECT_EQ(ask(validate_itf_grp, profile), accepted());
        EXPECT_EQ(ask(validate_sp_gem_check, "/config/service-port{1}/gpon"),
                  rejected("Service-port [1] gem [1] was not configured to onu [1]"));
    }
}

} // namespace
