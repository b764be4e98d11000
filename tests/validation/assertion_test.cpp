/** Values of a type that the data model rules out are programming errors: they end the process. */
#include "fixture.h"

#include "engine/data/value.h"
#include "gpon_bw_limit.h"
#include "gpon_itf_grp_validation.h"
#include "gpon_onu_password_valid.h"
#include "gpon_onu_rg_profile_validation.h"
#include "gpon_ponlink_fec_confirm.h"
#include "gpon_tr069_profile_validation.h"
#include "gpon_vlan_limit.h"
#include "gpon_vlan_match.h"
#include "support/card_xml.h"
#include "valid_service_port.h"

#include <utility>

namespace
{

using namespace test_support;

const std::string kValidator = "(int32_t, confd_trans_ctx*, confd_hkeypath_t*, confd_value_t*)";

class Assertions : public CardTest
{
protected:
    /** Every character of the texts stands for itself. */
    template <typename Call>
    void expect_assertion(const Call &call, const std::string &source, const std::string &function,
                          const std::string &text)
    {
        EXPECT_DEATH(call(), testing::AllOf(testing::HasSubstr("src/validation/" + source + ":"),
                                            testing::HasSubstr(function),
                                            testing::HasSubstr("`" + text + "'")));
    }

    /** Of a validator whose keypath has a wrong type in one place. */
    void expect_keypath_assertion(validator_t *validator, const std::string &path, int level,
                                  int key, const std::string &source, const std::string &function,
                                  const std::string &type)
    {
        confd_hkeypath_t keypath = keypath_of(path);
        confd_value_t &wrong = keypath.v[level][key];
        const confd_vtype right = std::exchange(wrong.type, C_NOEXISTS);
        expect_assertion([&] { validator(sock(), tctx(), &keypath, nullptr); }, source, function,
                         "(&keypath->v[" + std::to_string(level) + "][" + std::to_string(key) +
                             "])->type == " + type);
        wrong.type = right;
        engine::free_keypath(keypath);
    }
};

TEST_F(Assertions, OfKeypaths)
{
    const std::string gpon = "/config/interface/gpon{1 1 2}";
    const std::string mapping = "/config/profile/gpon/service-profile{a}/vlan-mapping{b}";
    given("", xml("interface", link(2, onu(1, xml("rg-profile", "a")))) +
                  xml("gpon", xml("card", "1/1") + xml("rg-one-shot-prov")) + port(1) +
                  named("profile/gpon/service-profile", "a", named("vlan-mapping", "b")));
    for (const int key : {0, 1}) {
        expect_keypath_assertion(validate_onu_pwd_sn_unique, gpon + "/onu", 1, key,
                                 "gpon_onu_password_valid",
                                 "int32_t getAuthMethod(int32_t, confd_trans_ctx*, "
                                 "confd_hkeypath_t*)",
                                 "C_UINT32");
    }
    expect_keypath_assertion(validate_vlan_limit, mapping, 2, 0, "gpon_vlan_limit",
                             "int32_t validate_vlan_limit" + kValidator, "C_BUF");
    expect_keypath_assertion(validate_vlan_match, mapping, 2, 0, "gpon_vlan_match",
                             "int32_t validate_vlan_match" + kValidator, "C_BUF");
    expect_keypath_assertion(validate_rg_prof_one_shot, gpon + "/onu{1}/rg-profile", 0, 0,
                             "gpon_onu_rg_profile_validation", "", "C_XMLTAG");
    expect_keypath_assertion(validate_sp_gem_check, "/config/service-port{1}/gpon", 1, 0,
                             "valid_service_port", "int sp_get_id_values(int32_t, ", "C_UINT32");
    given(xml("interface", link(2, xml("downstream-fec", "true"))));
    expect_keypath_assertion(ponlink_fec_confirmation, gpon + "/downstream-fec", 1, 2,
                             "gpon_ponlink_fec_confirm", "", "C_UINT32");
    expect_keypath_assertion(ponlink_fec_confirmation, gpon + "/downstream-fec", 0, 0,
                             "gpon_ponlink_fec_confirm", "", "C_XMLTAG");
}

TEST_F(Assertions, OfNewValues)
{
    given(xml("interface", link(2)));
    confd_value_t newval;
    CONFD_SET_INT32(&newval, 1);
    expect_assertion(
        [&] {
            ask(ponlink_fec_confirmation, "/config/interface/gpon{1 1 2}/upstream-fec", &newval);
        },
        "gpon_ponlink_fec_confirm", "", "(newval)->type == C_BOOL");
    expect_assertion(
        [&] { tr069_profile_password_length_check_func(sock(), tctx(), nullptr, &newval); },
        "gpon_tr069_profile_validation", "", "(newval)->type == C_BUF");
}

TEST_F(Assertions, OfPorts)
{
    const std::string rg_profile = named(
        "rg-profile", "a", named("wan-ip-connection", "b", xml("itf-grouping/ports/port", "eth1")));
    const std::string mapping =
        named("vlan-mapping", "b",
              xml("uni/ethernet", "1") + xml("match/outer", xml("vlan-id", "1") + xml("cos", "1")));
    given("", xml("profile/gpon", rg_profile + named("service-profile", "a", mapping)));
    client().mistyped_ports = true;
    expect_assertion([&] { ask(validate_itf_grp, "/config/profile/gpon/rg-profile{a}"); },
                     "gpon_itf_grp_validation", "", "(&port_cursor.keys[0])->type == C_ENUM_VALUE");
    for (const auto &[validator, source] : {std::pair{&validate_vlan_limit, "gpon_vlan_limit"},
                                            std::pair{&validate_vlan_match, "gpon_vlan_match"}}) {
        expect_assertion(
            [&, v = validator] {
                ask(v, "/config/profile/gpon/service-profile{a}/vlan-mapping{b}");
            },
            source, "", "(&ports[listpos])->type == C_UINT8");
    }
}

TEST_F(Assertions, OfBandwidthProfiles)
{
    struct Case {
        int position;
        const char *name;
        const char *type;
        std::vector<int> good; /**< Read before it. */
    };
    for (const Case &wrong :
         {Case{0, "NAME", "C_BUF", {}}, Case{3, "FX_T1", "C_UINT32", {}},
          Case{5, "AS_T2", "C_UINT32", {}}, Case{7, "AS_T3", "C_UINT32", {}},
          Case{8, "MX_T3", "C_UINT32", {7}}, Case{10, "MX_T4", "C_UINT32", {}},
          Case{12, "FX_T5", "C_UINT32", {}}, Case{13, "AS_T5", "C_UINT32", {12}},
          Case{14, "MX_T5", "C_UINT32", {12, 13}}}) {
        confd_value_t values[15];
        for (auto &value : values) {
            CONFD_SET_NOEXISTS(&value);
        }
        for (const int other : wrong.good) {
            CONFD_SET_UINT32(&values[other], 1);
        }
        values[BW_CONFD_VAL_OFFSET_NAME] = engine::make_text_value("b");
        confd_value_t owned = values[BW_CONFD_VAL_OFFSET_NAME];
        values[wrong.position].type = C_INT32;
        std::string name;
        std::uint32_t total = 0;
        std::uint32_t fixed = 0;
        expect_assertion([&] { loadBwProf(values, name, total, fixed); }, "gpon_bw_limit",
                         "int loadBwProf(",
                         "(&values[BW_CONFD_VAL_OFFSET_" + std::string(wrong.name) +
                             "])->type == " + wrong.type);
        engine::free_value(owned);
    }
}

TEST_F(Assertions, OfServicePorts)
{
    struct Case {
        int position;
        const char *name;
        const char *type;
    };
    for (const Case &wrong : {Case{SP_CONFD_VAL_OFFSET_SP, "SP", "C_UINT32"},
                              Case{SP_CONFD_VAL_OFFSET_GPON, "GPON", "C_BUF"},
                              Case{SP_CONFD_VAL_OFFSET_ONU, "ONU", "C_UINT32"},
                              Case{SP_CONFD_VAL_OFFSET_GEM, "GEM", "C_UINT32"}}) {
        confd_value_t values[20] = {};
        values[SP_CONFD_VAL_OFFSET_GPON] = engine::make_text_value("1/1/3");
        confd_value_t owned = values[SP_CONFD_VAL_OFFSET_GPON];
        for (const int number :
             {SP_CONFD_VAL_OFFSET_SP, SP_CONFD_VAL_OFFSET_ONU, SP_CONFD_VAL_OFFSET_GEM}) {
            CONFD_SET_UINT32(&values[number], 1);
        }
        values[wrong.position].type = C_INT32;
        std::uint32_t sp, onu, gem;
        std::string interface;
        std::int32_t match_vlan, action_vlan;
        expect_assertion(
            [&] {
                service_port_get_leafs(values, sp, interface, onu, gem, match_vlan, action_vlan);
            },
            "valid_service_port", "int service_port_get_leafs(confd_value_t*, uint32_t&, ",
            "(&values[SP_CONFD_VAL_OFFSET_" + std::string(wrong.name) +
                "])->type == " + wrong.type);
        engine::free_value(owned);
    }
}

} // namespace
