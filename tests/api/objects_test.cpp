#include "session.h"

#include <vector>

namespace
{

using test_support::described;
using test_support::expect_error;

using Texts = std::vector<std::string>;

std::string bandwidth_profile(const std::string &name, const std::string &traffic)
{
    return "<bandwidth-profile><name>" + name + "</name><traffic>" + traffic +
           "</traffic></bandwidth-profile>";
}

std::string service_port(int id, const std::string &rest = "")
{
    return "<service-port><id>" + std::to_string(id) + "</id><gpon><id>1/1/3</id><onu><id>5</id>" +
           "<gem><gem-id>" + std::to_string(100 + id) + "</gem-id></gem></onu></gpon>" + rest +
           "</service-port>";
}

class Objects : public test_support::Session
{
protected:
    /** Fetches up to `wanted` entries of `size` values; what it got is in `values`. */
    int fetch(int size, int wanted)
    {
        std::vector<confd_value_t> array(static_cast<std::size_t>(size * wanted));
        delivered = wanted;
        const int result = maapi_get_objects(&cursor, array.data(), size, &delivered);
        values.clear();
        for (confd_value_t &value : array) {
            if (result != CONFD_ERR) {
                values.push_back(described(value));
                confd_free_value(&value);
            }
        }
        return result;
    }
    void open(const char *path)
    {
        ASSERT_EQ(maapi_init_cursor(maapi, th, &cursor, path), CONFD_OK) << confd_lasterr();
    }

    maapi_cursor cursor{};
    int delivered = 0;
    Texts values;
};

TEST_F(Objects, PositionsOfABandwidthProfile)
{
    start("<profile><gpon>" +
          bandwidth_profile("b3", "<type-3><assured>10</assured><maximum>20</maximum></type-3>") +
          bandwidth_profile("a1", "<type-1><fixed>0</fixed></type-1>") + "</gpon></profile>");
    open("/config/profile/gpon/bandwidth-profile");
    EXPECT_EQ(fetch(15, 2), 15);
    EXPECT_EQ(delivered, 2);
    const Texts expected{
        "C_BUF a1", "C_XMLTAG traffic", "C_XMLTAG type-1", "C_UINT32 0", "C_XMLTAG type-2",
        "C_NOEXISTS", "C_XMLTAG type-3", "C_NOEXISTS", "C_NOEXISTS", "C_XMLTAG type-4",
        "C_NOEXISTS", "C_XMLTAG type-5", "C_NOEXISTS", "C_NOEXISTS", "C_NOEXISTS",
        // The second entry.
        "C_BUF b3", "C_XMLTAG traffic", "C_XMLTAG type-1", "C_NOEXISTS", "C_XMLTAG type-2",
        "C_NOEXISTS", "C_XMLTAG type-3", "C_UINT32 10", "C_UINT32 20", "C_XMLTAG type-4",
        "C_NOEXISTS", "C_XMLTAG type-5", "C_NOEXISTS", "C_NOEXISTS", "C_NOEXISTS"};
    EXPECT_EQ(values, expected);
    maapi_destroy_cursor(&cursor);
}

TEST_F(Objects, PositionsOfAServicePort)
{
    start(service_port(7, "<match><outer><vlan-id>any</vlan-id><cos>3</cos></outer></match>"
                          "<action><operation>translate</operation><outer><vlan-id>400</vlan-id>"
                          "</outer></action>"));
    open("/config/service-port");
    EXPECT_EQ(fetch(20, 1), 20);
    EXPECT_EQ(values, (Texts{"C_UINT32 7",           "C_XMLTAG gpon",
                             "C_BUF 1/1/3",          "C_XMLTAG onu",
                             "C_UINT32 5",           "C_XMLTAG gem",
                             "C_UINT32 107",         "C_ENUM_VALUE enum<1>",
                             "C_XMLTAG match",       "C_XMLTAG outer",
                             "C_ENUM_VALUE enum<0>", "C_UINT8 3",
                             "C_XMLTAG action",      "C_ENUM_VALUE enum<2>",
                             "C_XMLTAG outer",       "C_INT32 400",
                             "C_NOEXISTS",           "C_BOOL false",
                             "C_NOEXISTS",           "C_NOEXISTS"}));
    maapi_destroy_cursor(&cursor);
}

TEST_F(Objects, SubListsLeafListsAndPresenceContainersAreOneValue)
{
    start(
        "<profile><gpon><service-profile><name>s</name><vlan-mapping><name>m</name>"
        "<uni><ethernet>1</ethernet><ethernet>2</ethernet></uni></vlan-mapping></service-profile>"
        "<rg-profile><name>r</name><wan-bridge-connection><name>w1</name></wan-bridge-connection>"
        "<wan-bridge-connection><name>w2</name><itf-grouping/></wan-bridge-connection></rg-profile>"
        "</gpon></profile>");
    open("/config/profile/gpon/service-profile{s}/vlan-mapping");
    EXPECT_EQ(fetch(13, 1), 13);
    EXPECT_EQ(Texts(values.begin(), values.begin() + 5),
              (Texts{"C_BUF m", "C_XMLTAG uni", "C_LIST 1 2", "C_XMLTAG veip", "C_NOEXISTS"}));
    maapi_destroy_cursor(&cursor);

    open("/config/profile/gpon/rg-profile{r}/wan-bridge-connection");
    // Name and VLAN; the grouping, its ports, address, switch, pool and two addresses.
    EXPECT_EQ(fetch(9, 2), 9) << "the highest number counts";
    EXPECT_EQ(Texts(values.begin(), values.begin() + 9),
              (Texts{"C_BUF w1", "C_NOEXISTS", "C_NOEXISTS", "C_NOEXISTS", "C_NOEXISTS",
                     "C_NOEXISTS", "C_NOEXISTS", "C_NOEXISTS", "C_NOEXISTS"}));
    EXPECT_EQ(
        Texts(values.begin() + 9, values.end()),
        (Texts{"C_BUF w2", "C_NOEXISTS", "C_XMLTAG itf-grouping", "C_NOEXISTS", "C_NOEXISTS",
               "C_BOOL false", "C_XMLTAG dhcp-server-address-pool", "C_NOEXISTS", "C_NOEXISTS"}));
    maapi_destroy_cursor(&cursor);
}

TEST_F(Objects, Chunks)
{
    struct Case {
        int entries;
        int wanted;
        std::vector<int> chunks;
    };
    // An exact multiple shows its end only in a further, empty chunk.
    const std::vector<Case> cases{
        {0, 3, {0}}, {2, 3, {2}}, {3, 3, {3, 0}}, {6, 3, {3, 3, 0}}, {7, 3, {3, 3, 1}}};
    for (const auto &[entries, wanted, chunks] : cases) {
        SCOPED_TRACE(std::to_string(entries) + " entries");
        std::string ports;
        for (int i = entries; i > 0; --i) {
            ports += service_port(i);
        }
        start(ports);
        open("/config/service-port");
        for (const int chunk : chunks) {
            EXPECT_EQ(fetch(20, wanted), chunk == 0 ? 0 : 20);
            EXPECT_EQ(delivered, chunk);
            EXPECT_EQ(cursor.n, chunk == wanted ? 1 : 0);
        }
        EXPECT_EQ(fetch(20, wanted), CONFD_ERR);
        expect_error(CONFD_ERR_PROTOUSAGE, {"end"});
        maapi_destroy_cursor(&cursor);
        TearDown();
    }
    start("");
}

TEST_F(Objects, GoOnAfterTheCursorsEntry)
{
    start(service_port(1) + service_port(2) + service_port(3));
    open("/config/service-port");
    ASSERT_EQ(maapi_get_next(&cursor), CONFD_OK);
    EXPECT_EQ(fetch(20, 1), 20);
    EXPECT_EQ(values[0], "C_UINT32 2");
    EXPECT_EQ(described(cursor.keys[0]), "C_UINT32 2");
    ASSERT_EQ(maapi_get_next(&cursor), CONFD_OK);
    EXPECT_EQ(described(cursor.keys[0]), "C_UINT32 3");
    maapi_destroy_cursor(&cursor);
}

TEST_F(Objects, ArraysOfAnotherSize)
{
    start(service_port(1) + service_port(2));
    open("/config/service-port");
    EXPECT_EQ(fetch(3, 2), 20) << "what the schema has, not what found room";
    EXPECT_EQ(values, (Texts{"C_UINT32 1", "C_XMLTAG gpon", "C_BUF 1/1/3", "C_UINT32 2",
                             "C_XMLTAG gpon", "C_BUF 1/1/3"}));
    maapi_destroy_cursor(&cursor);
    open("/config/service-port");
    EXPECT_EQ(fetch(22, 1), 20);
    EXPECT_EQ(values[20], "C_NOEXISTS");
    delivered = 0;
    EXPECT_EQ(maapi_get_objects(&cursor, nullptr, 20, &delivered), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"room"});
    maapi_destroy_cursor(&cursor);
    delivered = 1;
    confd_value_t value{};
    EXPECT_EQ(maapi_get_objects(&cursor, &value, 1, &delivered), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"not initialised"});
}

confd_tag_value_t begin(const char *name)
{
    confd_tag_value_t element{};
    CONFD_SET_TAG_XMLBEGIN(&element, model::tag_of(name), model::kNamespaceTag);
    return element;
}

confd_tag_value_t end(const char *name)
{
    confd_tag_value_t element{};
    CONFD_SET_TAG_XMLEND(&element, model::tag_of(name), model::kNamespaceTag);
    return element;
}

confd_tag_value_t wanted(const char *name)
{
    confd_tag_value_t element{};
    CONFD_SET_TAG_NOEXISTS(&element, model::tag_of(name));
    return element;
}

class TaggedValues : public test_support::Session
{
protected:
    void SetUp() override { start(service_port(1)); }

    int get(std::vector<confd_tag_value_t> &values, const char *path)
    {
        return maapi_get_values(maapi, th, values.data(), static_cast<int>(values.size()), path);
    }
};

TEST_F(TaggedValues, PositionsStay)
{
    std::vector<confd_tag_value_t> values{
        begin("gpon"), wanted("id"),          begin("onu"),        wanted("id"),
        begin("gem"),  wanted("gem-id"),      end("gem"),          end("onu"),
        end("gpon"),   wanted("description"), wanted("statistics")};
    ASSERT_EQ(get(values, "/base:config/service-port{1}"), CONFD_OK) << confd_lasterr();
    EXPECT_EQ(described(values[1].v), "C_BUF 1/1/3");
    EXPECT_EQ(described(values[3].v), "C_UINT32 5");
    EXPECT_EQ(described(values[5].v), "C_UINT32 101");
    EXPECT_EQ(values[4].v.type, C_XMLBEGIN);
    EXPECT_EQ(values[6].v.type, C_XMLEND);
    EXPECT_EQ(described(values[9].v), "C_NOEXISTS");
    EXPECT_EQ(described(values[10].v), "C_BOOL false");
    EXPECT_EQ(engine::Hooks::instance().held.values, 1);
    confd_free_value(&values[1].v);
}

TEST_F(TaggedValues, MisuseLeavesTheArrayAlone)
{
    confd_tag_value_t set = wanted("id");
    CONFD_SET_UINT32(&set.v, 1);
    struct Case {
        const char *path;
        std::vector<confd_tag_value_t> values;
        int code;
        const char *says;
    };
    std::vector<Case> cases{
        {"/config/service-port{2}", {wanted("id")}, CONFD_ERR_NOEXISTS, "service-port{2}"},
        {"/config/service-port", {wanted("id")}, CONFD_ERR_BADPATH, "keys"},
        {"/config/service-port{1}/id", {wanted("id")}, CONFD_ERR_BADTYPE, "service-port{1}/id"},
        {"/config/service-port{1}",
         {wanted("onu")},
         CONFD_ERR_BADPATH,
         "/config/service-port nothing"},
        {"/config/service-port{1}", {wanted("gpon")}, CONFD_ERR_BADTYPE, "gpon holds no value"},
        {"/config/service-port{1}", {begin("id")}, CONFD_ERR_BADTYPE, "not a container"},
        {"/config/service-port{1}", {begin("gpon"), wanted("id")}, CONFD_ERR_PROTOUSAGE, "no end"},
        {"/config/service-port{1}",
         {begin("gpon"), end("onu")},
         CONFD_ERR_PROTOUSAGE,
         "does not end"},
        {"/config/service-port{1}", {end("service-port")}, CONFD_ERR_PROTOUSAGE, "does not end"},
        {"/config/service-port{1}", {set}, CONFD_ERR_PROTOUSAGE, "neither"},
    };
    for (auto &[path, values, code, says] : cases) {
        SCOPED_TRACE(says);
        const auto type = values.back().v.type;
        EXPECT_EQ(get(values, path), CONFD_ERR);
        expect_error(code, {says});
        EXPECT_EQ(values.back().v.type, type);
    }
}

} // namespace
