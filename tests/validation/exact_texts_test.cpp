/** What no outcome shows: when and how texts are set, where they are cut, what they do not obey. */
#include "fixture.h"

#include "card_xml.h"
#include "gpon_bw_limit.h"
#include "gpon_itf_grp_validation.h"
#include "gpon_line_profile_confirm.h"
#include "gpon_ponlink_fec_confirm.h"
#include "gpon_rg_profile_validation.h"
#include "gpon_vlan_limit.h"
#include "valid_service_port.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <locale>
#include <set>
#include <tuple>
#include <utility>

namespace
{

using namespace card_xml;
using testing::ElementsAre;
using testing::Pair;
using testing::SizeIs;

/** The calls of confd_trans_seterr: the format, and how many cursors were open. */
std::vector<std::pair<std::string, int>> settings;
/** Sizes of the buffers that paths and values were printed into. */
std::vector<int> sizes;
/** If set, what every path and value is printed as. */
std::string printed;

template <typename Value>
int print(const char *name, char *buf, int bufsiz, const Value *value)
{
    sizes.push_back(bufsiz);
    if (!printed.empty()) {
        return std::snprintf(buf, static_cast<std::size_t>(bufsiz), "%s", printed.c_str());
    }
    using Printer = int(char *, int, const Value *);
    return reinterpret_cast<Printer *>(dlsym(RTLD_NEXT, name))(buf, bufsiz, value);
}

} // namespace

// The program's own functions come before the client library's.
extern "C" {

int confd_pp_value(char *buf, int bufsiz, const confd_value_t *v)
{
    return print("confd_pp_value", buf, bufsiz, v);
}

int confd_pp_kpath(char *buf, int bufsiz, const confd_hkeypath_t *kp)
{
    return print("confd_pp_kpath", buf, bufsiz, kp);
}

void confd_trans_seterr(confd_trans_ctx *tctx, const char *fmt, ...)
{
    settings.emplace_back(fmt, engine::Hooks::instance().held.cursors);
    std::free(tctx->error.str);
    va_list arguments;
    va_start(arguments, fmt);
    EXPECT_GE(vasprintf(&tctx->error.str, fmt, arguments), 0);
    va_end(arguments);
}

} // extern "C"

namespace
{

class ExactTexts : public CardTest
{
protected:
    ExactTexts()
    {
        settings.clear();
        sizes.clear();
        printed.clear();
    }
    ~ExactTexts() override { printed.clear(); }
};

std::string mappings(int count)
{
    std::string xml;
    for (int i = 0; i < count; ++i) {
        xml += named("vlan-mapping", std::to_string(i), "<uni><ethernet>1</ethernet></uni>");
    }
    return profiles(named("service-profile", "home", xml));
}

std::string service_port(int id)
{
    return element("service-port", element("id", std::to_string(id)) +
                                       "<gpon><id>1/1/1</id><onu><id>1</id>"
                                       "<gem><gem-id>1</gem-id></gem></onu></gpon>");
}

std::string gateway(const std::string &name, const std::string &inside)
{
    return profiles(named("rg-profile", name, inside));
}
std::string gateway_path(const std::string &name, const std::string &below = "")
{
    return "/config/profile/gpon/rg-profile{" + name + "}" + below;
}
const std::string kTwoEqualWlans = "<wlan><id>1</id><ssid><custom>a</custom></ssid></wlan>"
                                   "<wlan><id>2</id><ssid><custom>a</custom></ssid></wlan>";
const std::string kOnePortTwice =
    "<wan-ip-connection><name>a</name><itf-grouping><ports><port>wl0</port></ports></itf-grouping>"
    "</wan-ip-connection><wan-ip-connection><name>b</name><itf-grouping><ports><port>wl0</port>"
    "</ports></itf-grouping></wan-ip-connection>";

TEST_F(ExactTexts, are_set_after_the_cursor_is_destroyed)
{
    auto &hooks = engine::Hooks::instance();
    const std::string mapping = "/config/profile/gpon/service-profile{home}/vlan-mapping{0}";
    given("", mappings(21));
    ask(validate_vlan_limit, mapping);
    hooks.fail_call(4, CONFD_ERR_OS); // The first mapping's ports.
    ask(validate_vlan_limit, mapping);

    int cursors_at_log = -1;
    zlog_host::write_to([&](const zlog_host::Line &) { cursors_at_log = hooks.held.cursors; });
    given("", gateway("home", "<wlan><id>1</id><ssid><custom></custom></ssid></wlan>"));
    ask(rg_profile_ssid_unique_check_func, gateway_path("home", "/wlan"));
    EXPECT_THAT(settings, ElementsAre(Pair("%s", 0), Pair("%s", 0), Pair("%s", 0)));
    EXPECT_EQ(cursors_at_log, 0);
}

TEST_F(ExactTexts, numbers_do_not_obey_the_locale_of_the_host)
{
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\1"; }
    };
    given("", profiles(named("bandwidth-profile", "b",
                             "<traffic><type-1><fixed>1200000</fixed></type-1></traffic>") +
                       named("line-profile", "a",
                             "<tcont><id>1</id><bandwidth-profile>b</bandwidth-profile></tcont>")) +
                  link(1, onu(1, "<profile-references><line-profile>a</line-profile>"
                                 "</profile-references>")));
    platform_settings.max_tconts_bw_type_1 = 3000;
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    const auto ask_all = [&] {
        return ask(validate_max_bandwidth_global, "/config/profile/gpon/line-profile").text;
    };
    const std::string capacities = ask_all();
    platform_settings.max_tconts_bw_type_1 = 0;
    platform_settings.max_tconts_bw_type_2_to_5 = 0;
    std::string tconts = ask_all();
    std::locale::global(before);
    EXPECT_EQ(capacities, "Total bandwidth exceeds GPON interface 1/1/1 capacity (1107504 kbits/s)"
                          "\nFixed bandwidth exceeds GPON interface 1/1/1 capacity (442752 "
                          "kbits/s)\n");
    EXPECT_EQ(tconts, "Line Profile a cannot have more than 0 TCONTs with bandwidth traffic type "
                      "1.");
}

TEST_F(ExactTexts, printed_paths_and_names_are_no_formats)
{
    given("", gateway("home", kTwoEqualWlans + kOnePortTwice));
    printed = gateway_path("50%s%n", "/wlan");
    EXPECT_EQ(ask(rg_profile_ssid_unique_check_func, gateway_path("home", "/wlan")), accepted());
    EXPECT_EQ(ask(validate_itf_grp, gateway_path("home")), accepted());

    given("", service_port(1) + profiles(named("line-profile", "a")) +
                  link(1, onu(1, "<profile-references><line-profile>a</line-profile>"
                                 "</profile-references>")));
    printed = "50%s%n"; // The name of the line profile.
    EXPECT_EQ(ask(validate_sp_gem_check, "/config/service-port{1}/gpon"),
              rejected("Service-port [1] gem [1] was not configured to onu [1]"));
}

TEST_F(ExactTexts, paths_and_keys_are_printed_into_buffers_of_their_sizes)
{
    given("", gateway("home", kTwoEqualWlans + kOnePortTwice));
    ask(rg_profile_ssid_unique_check_func, gateway_path("home", "/wlan"));
    EXPECT_THAT(sizes, ElementsAre(8192, 8192)); // The profile, its WLANs.
    sizes.clear();
    ask(validate_itf_grp, gateway_path("home"));
    EXPECT_THAT(sizes, ElementsAre(256, 49, 49)); // The profile, two connections.
}

TEST_F(ExactTexts, published_warnings_are_cut_where_their_buffer_ends)
{
    given(link(1, onu(1)) + service_port(1) + service_port(2), link(1, onu(1)));
    confd_value_t on;
    CONFD_SET_BOOL(&on, 1);
    const std::string long_text(9000, 't');
    const Outcome cut = warned(long_text.substr(0, 8191));
    const char *const fec_before = std::exchange(FEC_WARN_MSG, long_text.c_str());
    EXPECT_EQ(ask(ponlink_fec_confirmation, "/config/interface/gpon{1 1 1}/upstream-fec", &on),
              cut);
    FEC_WARN_MSG = fec_before;
    const char *const delete_all_before = std::exchange(SP_DEL_ALL_WARN_MSG, long_text.c_str());
    EXPECT_EQ(ask(service_port_delete_all_warning, "/config/service-port"), cut);
    SP_DEL_ALL_WARN_MSG = delete_all_before;
}

TEST_F(ExactTexts, lines_of_shared_code_carry_the_place_of_the_check)
{
    given(profiles(named("line-profile", "p")));
    ask(line_profile_confirmation, "/config/profile/gpon/line-profile{p}");
    EXPECT_THAT(trace_lines(), SizeIs(3));
    std::set<std::tuple<std::string, long>> places;
    for (const zlog_host::Line &line : trace_lines()) {
        places.emplace(line.file, line.line);
    }
    EXPECT_THAT(places, SizeIs(1));
}

} // namespace
