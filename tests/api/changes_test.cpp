#include "session.h"

#include <functional>

using test_support::described;
using test_support::expect_error;
using test_support::kpath_text;
using test_support::mapping;
using test_support::onu;
using test_support::port;
using test_support::xml;

namespace
{

using Texts = std::vector<std::string>;

/** What a walk told, and what it is answered. */
struct Recorder {
    std::function<maapi_iter_ret(const std::string &)> answer = [](const std::string &) {
        return ITER_RECURSE;
    };
    Texts lines;

    static maapi_iter_ret on_change(confd_hkeypath_t *kp, confd_iter_op operation,
                                    confd_value_t *oldv, confd_value_t *newv, void *state)
    {
        static const std::array names{"?", "created", "deleted", "modified", "set", "moved", "?"};
        auto &recorder = *static_cast<Recorder *>(state);
        std::string line = std::string(names.at(operation)) + " " + kpath_text(*kp);
        if (newv != nullptr) {
            line.append(" ").append(described(*newv));
        }
        line += oldv != nullptr ? " (old value)" : "";
        recorder.lines.push_back(line);
        return recorder.answer(line);
    }
};

/** The PON link 1/1/1, alone. */
std::string link(const std::string &inside)
{
    return xml("interface", test_support::link(1, inside));
}

class Changes : public test_support::Session
{
protected:
    Texts walk(const std::string &path, Recorder recorder = {})
    {
        EXPECT_EQ(maapi_keypath_diff_iterate(maapi, th, Recorder::on_change, 0, &recorder, "%s",
                                             path.c_str()),
                  CONFD_OK)
            << confd_lasterr();
        return recorder.lines;
    }
};

TEST_F(Changes, Operations)
{
    start(link(xml("downstream-fec", "true") + onu(1, xml("description", "old")) +
               onu(2, xml("snmp/real-time")) + onu(3)) +
              mapping(xml("uni/ethernet", "1")) + xml("gpon", xml("card", "1/1")),
          link(xml("upstream-fec", "true") + onu(1, test_support::management()) + onu(2) +
               onu(4, xml("snmp/real-time"))) +
              mapping(xml("uni", xml("ethernet", "3") + xml("ethernet", "1"))) +
              xml("gpon", xml("card", "1/1") + xml("rg-one-shot-prov")));
    const std::string entry = "/config/interface/gpon{1 1 1}";
    EXPECT_EQ(walk("/config/interface"),
              (Texts{"modified " + entry, "set " + entry + "/downstream-fec C_BOOL false",
                     "set " + entry + "/upstream-fec C_BOOL true", "modified " + entry + "/onu{1}",
                     "deleted " + entry + "/onu{1}/description",
                     "created " + entry + "/onu{1}/management",
                     "set " + entry + "/onu{1}/management/address C_IPV4_AND_PLEN 10.0.0.5/24",
                     "set " + entry + "/onu{1}/management/default-gateway C_IPV4 10.0.0.1",
                     "modified " + entry + "/onu{2}", "deleted " + entry + "/onu{2}/snmp/real-time",
                     "deleted " + entry + "/onu{3}", "created " + entry + "/onu{4}",
                     "created " + entry + "/onu{4}/snmp/real-time"}));
    EXPECT_EQ(walk("/config/gpon"),
              (Texts{"modified /config/gpon{1/1}", "created /config/gpon{1/1}/rg-one-shot-prov"}));
    const std::string uni = "/config/profile/gpon/service-profile{s}/vlan-mapping{m}/uni";
    EXPECT_EQ(walk(uni), Texts{"set " + uni + "/ethernet C_LIST 1 3"});
    EXPECT_EQ(walk("/config/service-port"), Texts{});
}

TEST_F(Changes, PathsReachTheNodeAndWhatIsBelow)
{
    start(link(onu(1, xml("snmp/real-time"))),
          link(onu(1) + onu(2, xml("rg-override-parameters/parameter/name", "b"))));
    const std::string list = "/config/interface/gpon{1 1 1}/onu";
    const std::string parameter = list + "{2}/rg-override-parameters/parameter";
    const std::string real_time = "deleted " + list + "{1}/snmp/real-time";
    const std::string created = "created " + parameter + "{b}";
    const std::pair<std::string, Texts> cases[] = {
        {list, {"modified " + list + "{1}", real_time, "created " + list + "{2}", created}},
        {list + "{1}", {"modified " + list + "{1}", real_time}},
        {list + "{1}/snmp", {real_time}},
        {list + "{1}/snmp/real-time", {real_time}},
        // Inside a created entry.
        {list + "{2}/rg-override-parameters", {created}},
        {parameter, {created}},
        {parameter + "{b}", {created}},
        {parameter + "{c}", {}},
        {list + "{9}", {}},
    };
    for (const auto &[path, expected] : cases) {
        EXPECT_EQ(walk(path), expected) << path;
    }
}

TEST_F(Changes, DeletedEntriesCanBeLookedInto)
{
    const std::string uni = xml("ethernet", "1") + xml("ethernet", "2");
    start(port(1) + mapping(xml("uni", uni)), mapping(""));
    EXPECT_EQ(walk("/config/service-port"),
              (Texts{"deleted /config/service-port{1}", "deleted /config/service-port{1}/gpon/id",
                     "deleted /config/service-port{1}/gpon/onu/id",
                     "deleted /config/service-port{1}/gpon/onu/gem/gem-id"}));
    EXPECT_EQ(
        walk("/config/profile/gpon/service-profile{s}/vlan-mapping{m}/uni"),
        Texts{"deleted /config/profile/gpon/service-profile{s}/vlan-mapping{m}/uni/ethernet"});
    TearDown();
    start("", mapping(xml("uni", uni)));
    EXPECT_EQ(walk("/config/profile/gpon/service-profile{s}/vlan-mapping{m}/uni"),
              Texts{"set /config/profile/gpon/service-profile{s}/vlan-mapping{m}/uni/ethernet "
                    "C_LIST 1 2"});
}

TEST_F(Changes, AnswersSteerTheWalk)
{
    start(link(onu(1) + onu(2)),
          link(onu(1, xml("description", "x")) + onu(2, xml("description", "y"))));
    const std::string list = "/config/interface/gpon{1 1 1}/onu";
    const auto always = [](maapi_iter_ret value) {
        return Recorder{[value](const std::string &) { return value; }, {}};
    };
    EXPECT_EQ(walk(list, always(ITER_CONTINUE)),
              (Texts{"modified " + list + "{1}", "modified " + list + "{2}"}));
    EXPECT_EQ(walk(list, always(ITER_STOP)), Texts{"modified " + list + "{1}"});
    const Recorder inside{
        [](const std::string &line) { return line.find("set ") == 0 ? ITER_STOP : ITER_RECURSE; },
        {}};
    EXPECT_EQ(walk(list, inside),
              (Texts{"modified " + list + "{1}", "set " + list + "{1}/description C_BUF x"}));
}

TEST_F(Changes, MovedEntriesAreToldBeforeTheirChanges)
{
    const auto onu_with = [](const std::string &parameters) {
        return link(onu(1, xml("rg-override-parameters", parameters)));
    };
    const auto a = xml("parameter/name", "a");
    start(onu_with(a + xml("parameter/name", "b")),
          onu_with(xml("parameter", xml("name", "b") + xml("value", "1")) + a));
    const std::string entry =
        "/config/interface/gpon{1 1 1}/onu{1}/rg-override-parameters/parameter{b}";
    EXPECT_EQ(walk("/config/interface/gpon{1 1 1}/onu{1}/rg-override-parameters"),
              (Texts{"moved " + entry, "modified " + entry, "set " + entry + "/value C_BUF 1"}));
}

TEST_F(Changes, MisuseIsAnError)
{
    start("");
    Recorder recorder;
    const auto iterate = [&](const char *path, int flags) {
        return maapi_keypath_diff_iterate(maapi, th, Recorder::on_change, flags, &recorder, path);
    };
    EXPECT_EQ(iterate("/config/interface/gpon/onu", 0), CONFD_ERR);
    expect_error(CONFD_ERR_BADPATH, {"keys of gpon"});
    EXPECT_EQ(iterate("/config", 1), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"flags"});
    EXPECT_TRUE(recorder.lines.empty());
}

} // namespace
