#include "session.h"

#include <functional>
#include <vector>

namespace
{

using test_support::described;
using test_support::expect_error;
using test_support::kpath_text;

using Texts = std::vector<std::string>;

const char *name_of(confd_iter_op operation)
{
    switch (operation) {
    case MOP_CREATED:
        return "created";
    case MOP_DELETED:
        return "deleted";
    case MOP_MODIFIED:
        return "modified";
    case MOP_VALUE_SET:
        return "set";
    case MOP_MOVED_AFTER:
        return "moved";
    default:
        return "?";
    }
}

/** What a walk told, and what it is answered. */
struct Recorder {
    std::function<maapi_iter_ret(const std::string &)> answer = [](const std::string &) {
        return ITER_RECURSE;
    };
    Texts lines;

    static maapi_iter_ret on_change(confd_hkeypath_t *kp, confd_iter_op operation,
                                    confd_value_t *oldv, confd_value_t *newv, void *state)
    {
        auto &recorder = *static_cast<Recorder *>(state);
        std::string line = std::string(name_of(operation)) + " " + kpath_text(*kp);
        if (newv != nullptr) {
            line.append(" ").append(described(*newv));
        }
        line += oldv != nullptr ? " (old value)" : "";
        recorder.lines.push_back(line);
        return recorder.answer(line);
    }
};

std::string link(const std::string &inside)
{
    return "<interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>1</port-id>" +
           inside + "</gpon></interface>";
}

std::string parameters(const std::string &inside)
{
    return "<rg-override-parameters>" + inside + "</rg-override-parameters>";
}

constexpr const char *kA = "<parameter><name>a</name></parameter>";
constexpr const char *kB = "<parameter><name>b</name></parameter>";
constexpr const char *kChangedB = "<parameter><name>b</name><value>1</value></parameter>";

class Changes : public test_support::Session
{
protected:
    Texts walk(const char *path, Recorder recorder = {})
    {
        EXPECT_EQ(
            maapi_keypath_diff_iterate(maapi, th, Recorder::on_change, 0, &recorder, "%s", path),
            CONFD_OK)
            << confd_lasterr();
        return recorder.lines;
    }
};

TEST_F(Changes, Operations)
{
    start(link("<downstream-fec>true</downstream-fec>"
               "<onu><onu-id>1</onu-id><description>old</description></onu>"
               "<onu><onu-id>2</onu-id><snmp><real-time/></snmp></onu>"
               "<onu><onu-id>3</onu-id></onu>"
               "<onu><onu-id>4</onu-id></onu>") +
              "<gpon><card>1/1</card><rg-one-shot-prov/></gpon>",
          link("<upstream-fec>true</upstream-fec>"
               "<onu><onu-id>1</onu-id><management><address>10.0.0.1/8</address>"
               "<default-gateway>10.0.0.2</default-gateway></management></onu>"
               "<onu><onu-id>2</onu-id><description>new</description></onu>"
               "<onu><onu-id>4</onu-id></onu>"
               "<onu><onu-id>5</onu-id><snmp><real-time/></snmp></onu>") +
              "<gpon><card>1/1</card></gpon>");
    EXPECT_EQ(
        walk("/config"),
        (Texts{
            "modified /config/interface/gpon{1 1 1}",
            "set /config/interface/gpon{1 1 1}/downstream-fec C_BOOL false",
            "set /config/interface/gpon{1 1 1}/upstream-fec C_BOOL true",
            "modified /config/interface/gpon{1 1 1}/onu{1}",
            "deleted /config/interface/gpon{1 1 1}/onu{1}/description",
            "created /config/interface/gpon{1 1 1}/onu{1}/management",
            "set /config/interface/gpon{1 1 1}/onu{1}/management/address C_IPV4_AND_PLEN "
            "10.0.0.1/8",
            "set /config/interface/gpon{1 1 1}/onu{1}/management/default-gateway C_IPV4 10.0.0.2",
            "modified /config/interface/gpon{1 1 1}/onu{2}",
            "set /config/interface/gpon{1 1 1}/onu{2}/description C_BUF new",
            "deleted /config/interface/gpon{1 1 1}/onu{2}/snmp/real-time",
            "deleted /config/interface/gpon{1 1 1}/onu{3}",
            "created /config/interface/gpon{1 1 1}/onu{5}",
            "created /config/interface/gpon{1 1 1}/onu{5}/snmp/real-time",
            "modified /config/gpon{1/1}", "deleted /config/gpon{1/1}/rg-one-shot-prov"}));
    EXPECT_EQ(walk("/config/profile"), Texts{});
}

TEST_F(Changes, PathsReachTheNodeAndWhatIsBelow)
{
    start(link("<onu><onu-id>1</onu-id><snmp><real-time/></snmp></onu>"),
          link("<onu><onu-id>1</onu-id></onu>"
               "<onu><onu-id>2</onu-id>" +
               parameters(kB) + "</onu>"));
    const std::string list = "/config/interface/gpon{1 1 1}/onu";
    const std::string parameter = list + "{2}/rg-override-parameters/parameter";
    const std::vector<std::pair<std::string, Texts>> cases{
        {list,
         {"modified " + list + "{1}", "deleted " + list + "{1}/snmp/real-time",
          "created " + list + "{2}", "created " + parameter + "{b}"}},
        {list + "{1}", {"modified " + list + "{1}", "deleted " + list + "{1}/snmp/real-time"}},
        {list + "{1}/snmp", {"deleted " + list + "{1}/snmp/real-time"}},
        {list + "{1}/snmp/real-time", {"deleted " + list + "{1}/snmp/real-time"}},
        // Inside a created entry.
        {list + "{2}/rg-override-parameters", {"created " + parameter + "{b}"}},
        {parameter, {"created " + parameter + "{b}"}},
        {parameter + "{b}", {"created " + parameter + "{b}"}},
        {parameter + "{c}", {}},
        {list + "{9}", {}},
    };
    for (const auto &[path, expected] : cases) {
        EXPECT_EQ(walk(path.c_str()), expected) << path;
    }
}

TEST_F(Changes, DeletedEntriesCanBeLookedInto)
{
    start("<service-port><id>1</id><gpon><id>1/1/1</id><onu><id>2</id><gem><gem-id>3</gem-id></gem>"
          "</onu></gpon></service-port>",
          "");
    EXPECT_EQ(walk("/config/service-port"),
              (Texts{"deleted /config/service-port{1}", "deleted /config/service-port{1}/gpon/id",
                     "deleted /config/service-port{1}/gpon/onu/id",
                     "deleted /config/service-port{1}/gpon/onu/gem/gem-id"}));
}

TEST_F(Changes, Answers)
{
    start(link("<onu><onu-id>1</onu-id></onu><onu><onu-id>2</onu-id></onu>"),
          link("<onu><onu-id>1</onu-id><description>x</description></onu>"
               "<onu><onu-id>2</onu-id><description>y</description></onu>"));
    const std::string list = "/config/interface/gpon{1 1 1}/onu";
    const auto answer = [](maapi_iter_ret value) {
        Recorder recorder;
        recorder.answer = [value](const std::string &) { return value; };
        return recorder;
    };
    EXPECT_EQ(walk(list.c_str(), answer(ITER_CONTINUE)),
              (Texts{"modified " + list + "{1}", "modified " + list + "{2}"}));
    EXPECT_EQ(walk(list.c_str(), answer(ITER_STOP)), Texts{"modified " + list + "{1}"});
    Recorder inside;
    inside.answer = [](const std::string &line) {
        return line.find("set ") == 0 ? ITER_STOP : ITER_RECURSE;
    };
    EXPECT_EQ(walk("/config", inside),
              (Texts{"modified /config/interface/gpon{1 1 1}", "modified " + list + "{1}",
                     "set " + list + "{1}/description C_BUF x"}));
}

TEST_F(Changes, MovesOfUserOrderedEntries)
{
    const auto onu = [](const std::string &inside) {
        return link("<onu><onu-id>1</onu-id>" + parameters(inside) + "</onu>");
    };
    const std::string list =
        "/config/interface/gpon{1 1 1}/onu{1}/rg-override-parameters/parameter";
    start(onu(std::string(kA) + kB), onu(std::string(kChangedB) + kA));
    const Texts lines = walk(list.c_str());
    // Either of the two may count as the one that moved; only b has changed.
    Texts moved_a{"modified " + list + "{b}", "set " + list + "{b}/value C_BUF 1",
                  "moved " + list + "{a}"};
    Texts moved_b{"moved " + list + "{b}", "modified " + list + "{b}",
                  "set " + list + "{b}/value C_BUF 1"};
    EXPECT_TRUE(lines == moved_a || lines == moved_b) << ::testing::PrintToString(lines);
}

TEST_F(Changes, LeafLists)
{
    const auto mapping = [](const std::string &inside) {
        return "<profile><gpon><service-profile><name>s</name><vlan-mapping><name>m</name><uni>" +
               inside + "</uni></vlan-mapping></service-profile></gpon></profile>";
    };
    const char *path = "/config/profile/gpon/service-profile{s}/vlan-mapping{m}/uni";
    const std::string leaf = std::string(path) + "/ethernet";
    start(mapping("<ethernet>1</ethernet>"),
          mapping("<ethernet>3</ethernet><ethernet>1</ethernet>"));
    EXPECT_EQ(walk(path), Texts{"set " + leaf + " C_LIST 1 3"});
    TearDown();
    start(mapping("<ethernet>1</ethernet><ethernet>2</ethernet>"), mapping(""));
    EXPECT_EQ(walk(path), Texts{"deleted " + leaf});
    TearDown();
    start("", mapping("<ethernet>1</ethernet><ethernet>2</ethernet>"));
    EXPECT_EQ(walk(path), Texts{"set " + leaf + " C_LIST 1 2"});
}

TEST_F(Changes, Misuse)
{
    start("");
    Recorder recorder;
    const auto iterate = [&](const char *path, int flags) {
        return maapi_keypath_diff_iterate(maapi, th, Recorder::on_change, flags, &recorder, path);
    };
    EXPECT_EQ(iterate("/config/nothing", 0), CONFD_ERR);
    expect_error(CONFD_ERR_BADPATH, {"nothing"});
    EXPECT_EQ(iterate("/config/interface/gpon/onu", 0), CONFD_ERR);
    expect_error(CONFD_ERR_BADPATH, {"keys of gpon"});
    EXPECT_EQ(iterate("/config", 1), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"flags"});
    EXPECT_TRUE(recorder.lines.empty());
}

} // namespace
