/** What is released, and what leaves the library, when memory runs out or an answer is strange. */
#include "fixture.h"

#include "card_xml.h"
#include "client_answers.h"
#include "gpon_itf_grp_validation.h"
#include "gpon_vlan_limit.h"
#include "support/base_card.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <new>
#include <stdexcept>

namespace
{

/** Trace lines until memory runs out in one; 0: never. */
int until_failure = 0;

/** Reads of leaf-lists fail, and leave behind what is nobody's. */
bool leaf_lists_fail = false;

} // namespace

// The program's own functions come before those of the libraries.
extern "C" void zlog(zlog_category_t *category, const char *file, size_t filelen, const char *func,
                     size_t funclen, long line, int level, const char *format, ...)
{
    if (until_failure != 0 && --until_failure == 0) {
        throw std::bad_alloc();
    }
    char text[1000];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    static const auto write = reinterpret_cast<decltype(&zlog)>(dlsym(RTLD_NEXT, "zlog"));
    write(category, file, filelen, func, funclen, line, level, "%s", text);
}

extern "C" int maapi_get_list_elem(int sock, int th, confd_value_t **values, int *n,
                                   const char *fmt, ...)
{
    static confd_value_t nobodys[2];
    if (leaf_lists_fail) {
        *values = nobodys;
        *n = 2;
        return CONFD_ERR;
    }
    va_list arguments;
    va_start(arguments, fmt);
    const char *profile = va_arg(arguments, const char *);
    const confd_value_t *mapping = va_arg(arguments, const confd_value_t *);
    va_end(arguments);
    static const auto read =
        reinterpret_cast<decltype(&maapi_get_list_elem)>(dlsym(RTLD_NEXT, "maapi_get_list_elem"));
    return read(sock, th, values, n, fmt, profile, mapping);
}

namespace
{

using namespace card_xml;
using testing::ElementsAre;

class ExactRelease : public CardTest
{
protected:
    ~ExactRelease() override { until_failure = 0; }

    /** Calls the entry point for a rule. */
    Outcome ask_rule(std::string key, const std::string &path)
    {
        return ask(
            [&key](int /*sock*/, confd_trans_ctx *tctx, confd_hkeypath_t *kp,
                   confd_value_t *newval) {
                tctx->validate_opaque = key.data();
                return validate(tctx, kp, newval);
            },
            path);
    }
};

TEST_F(ExactRelease, nothing_of_a_leaf_list_that_could_not_be_read)
{
    given("", profiles(named("service-profile", "home",
                             named("vlan-mapping", "m", "<uni><ethernet>1</ethernet></uni>"))));
    leaf_lists_fail = true;
    EXPECT_EQ(
        ask(validate_vlan_limit, "/config/profile/gpon/service-profile{home}/vlan-mapping{m}"),
        rejected("Failed accessing transaction data."));
    leaf_lists_fail = false;
    expect_nothing_held();
}

TEST_F(ExactRelease, all_that_is_held_when_memory_runs_out)
{
    given("", test_support::parse(test_support::kBaseCard));
    const std::string profiles = "/config/profile/gpon/";
    for (const auto &[key, path] : std::vector<std::pair<std::string, std::string>>{
             {"onu_bw_check", "/config/gpon{1/1}/pon-link{1}/port"},
             {"ponlink_bw_check", profiles + "line-profile"},
             {"rg_profile_ssid_unique_check", profiles + "rg-profile{a}/wlan"},
             {"sp_gem_check", "/config/service-port{1}/gpon"},
             {"service_port_global_validation", "/config/service-port"},
             {"service_port_delete_all_warning_check", "/config/service-port"},
             {"onu_snmp_rt_warn", "/config/interface/gpon"},
             {"line_confirmation_warning", profiles + "line-profile{a}"},
             {"itf_grp_validation", profiles + "rg-profile{a}"}}) {
        const Outcome sound = ask_rule(key, path);
        for (int line = 1;; ++line) {
            forget_trace();
            until_failure = line;
            const Outcome outcome = ask_rule(key, path);
            EXPECT_EQ(open_sessions(), 0) << key << ", line " << line;
            expect_nothing_held();
            if (until_failure != 0) {
                EXPECT_GT(line, 1) << key;
                EXPECT_EQ(outcome, sound);
                break;
            }
            EXPECT_EQ(outcome.result, CONFD_ERR) << key << ", line " << line;
            EXPECT_EQ(trace_lines().back().function, "validate");
            EXPECT_EQ(trace_lines().back().text,
                      "Validator of " + key + " failed (std::bad_alloc).");
        }
        until_failure = 0;
    }
}

TEST_F(ExactRelease, a_port_without_a_name_ends_inside)
{
    given("",
          profiles(named("rg-profile", "home",
                         named("wan-ip-connection", "a",
                               "<itf-grouping><ports><port>eth1</port></ports></itf-grouping>"))));
    for (const int value : {6, -1}) {
        const EnumerationKeys answer(value);
        PortUses uses = {{value, 0}};
        engine::Hooks::instance().fail_call(6, CONFD_ERR_NOEXISTS); // The VLAN of the port.
        EXPECT_EQ(take_outcome(check_port_vlan(sock(), tctx(), uses,
                                               "/config/profile/gpon/rg-profile{home}/"
                                               "wan-ip-connection")),
                  rejected(""));
        EXPECT_THAT(trace(12),
                    ElementsAre("Port value " + std::to_string(value) + " has no name."));
        forget_trace();
    }
}

TEST_F(ExactRelease, one_exception_leaves_the_library)
{
    given("", test_support::parse(test_support::kBaseCard));
    const XPathAnswer answer("2147483648");
    EXPECT_THROW(ask_rule("onu_snmp_rt_warn", "/config/interface/gpon"), std::out_of_range);
}

} // namespace
