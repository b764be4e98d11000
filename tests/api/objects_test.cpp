#include "session.h"

using test_support::described;
using test_support::expect_error;
using test_support::port;
using test_support::xml;

namespace
{

class Objects : public test_support::Session
{
protected:
    /** Fetches up to `wanted` entries of `size` values; a line for each entry goes to `entries`. */
    int fetch(int size, int wanted)
    {
        std::vector<confd_value_t> array(static_cast<std::size_t>(size * wanted));
        delivered = wanted;
        const int result = maapi_get_objects(&cursor, array.data(), size, &delivered);
        entries.clear();
        for (int i = 0; result != CONFD_ERR && i < size * wanted; ++i) {
            auto &value = array[static_cast<std::size_t>(i)];
            entries += (i == 0 ? "" : i % size == 0 ? "\n" : ", ") + described(value);
            confd_free_value(&value);
        }
        return result;
    }
    void open(const char *path)
    {
        ASSERT_EQ(maapi_init_cursor(maapi, th, &cursor, path), CONFD_OK) << confd_lasterr();
    }
    void TearDown() override
    {
        maapi_destroy_cursor(&cursor);
        Session::TearDown();
    }

    maapi_cursor cursor{};
    int delivered = 0;
    std::string entries;
};

TEST_F(Objects, PositionsOfABandwidthProfile)
{
    start(R"(<profile><gpon><bandwidth-profile><name>b3</name><traffic><type-3>
        <assured>10</assured><maximum>20</maximum></type-3></traffic></bandwidth-profile>
        <bandwidth-profile><name>a1</name><traffic><type-1><fixed>0</fixed></type-1></traffic>
        </bandwidth-profile></gpon></profile>)");
    open("/config/profile/gpon/bandwidth-profile");
    EXPECT_EQ(fetch(15, 2), 15);
    EXPECT_EQ(delivered, 2);
    EXPECT_EQ(entries,
              "C_BUF a1, C_XMLTAG traffic, C_XMLTAG type-1, C_UINT32 0, C_XMLTAG type-2, "
              "C_NOEXISTS, C_XMLTAG type-3, C_NOEXISTS, C_NOEXISTS, C_XMLTAG type-4, C_NOEXISTS, "
              "C_XMLTAG type-5, C_NOEXISTS, C_NOEXISTS, C_NOEXISTS\n"
              "C_BUF b3, C_XMLTAG traffic, C_XMLTAG type-1, C_NOEXISTS, C_XMLTAG type-2, "
              "C_NOEXISTS, C_XMLTAG type-3, C_UINT32 10, C_UINT32 20, C_XMLTAG type-4, C_NOEXISTS, "
              "C_XMLTAG type-5, C_NOEXISTS, C_NOEXISTS, C_NOEXISTS");
    EXPECT_EQ(confd_max_object_size(confd_cs_node_cd(nullptr, "/config/profile/gpon/"
                                                              "bandwidth-profile")),
              15);
}

TEST_F(Objects, PositionsOfAServicePort)
{
    start(port(7,
               "<match><outer><vlan-id>any</vlan-id><cos>3</cos></outer></match><action>"
               "<operation>translate</operation><outer><vlan-id>400</vlan-id></outer></action>"));
    open("/config/service-port");
    EXPECT_EQ(fetch(20, 1), 20);
    EXPECT_EQ(entries, "C_UINT32 7, C_XMLTAG gpon, C_BUF 1/1/1, C_XMLTAG onu, C_UINT32 1, "
                       "C_XMLTAG gem, C_UINT32 1, C_ENUM_VALUE enum<1>, C_XMLTAG match, "
                       "C_XMLTAG outer, C_ENUM_VALUE enum<0>, C_UINT8 3, C_XMLTAG action, "
                       "C_ENUM_VALUE enum<2>, C_XMLTAG outer, C_INT32 400, C_NOEXISTS, "
                       "C_BOOL false, C_NOEXISTS, C_NOEXISTS");
}

TEST_F(Objects, SubListsLeafListsAndPresenceContainersAreOneValue)
{
    start(R"(<profile><gpon><service-profile><name>s</name><vlan-mapping><name>m</name>
        <uni><ethernet>1</ethernet><ethernet>2</ethernet></uni></vlan-mapping></service-profile>
        <rg-profile><name>r</name><wan-bridge-connection><name>w1</name><itf-grouping/></wan-bridge-connection>
        <wan-bridge-connection><name>w2</name></wan-bridge-connection></rg-profile>
        </gpon></profile>)");
    open("/config/profile/gpon/service-profile{s}/vlan-mapping");
    EXPECT_EQ(fetch(5, 1), 13) << "what the schema has, not what found room";
    EXPECT_EQ(entries, "C_BUF m, C_XMLTAG uni, C_LIST 1 2, C_XMLTAG veip, C_NOEXISTS");
    maapi_destroy_cursor(&cursor);

    open("/config/profile/gpon/rg-profile{r}/wan-bridge-connection");
    // Name and VLAN; the grouping, its ports, address, switch, pool and two addresses.
    EXPECT_EQ(fetch(9, 2), 9) << "the highest number counts";
    EXPECT_EQ(entries, "C_BUF w1, C_NOEXISTS, C_XMLTAG itf-grouping, C_NOEXISTS, C_NOEXISTS, "
                       "C_BOOL false, C_XMLTAG dhcp-server-address-pool, C_NOEXISTS, C_NOEXISTS\n"
                       "C_BUF w2, C_NOEXISTS, C_NOEXISTS, C_NOEXISTS, C_NOEXISTS, C_NOEXISTS, "
                       "C_NOEXISTS, C_NOEXISTS, C_NOEXISTS");
}

TEST_F(Objects, GoOnAfterTheCursorsEntry)
{
    start(port(1) + port(2) + port(3));
    open("/config/service-port");
    ASSERT_EQ(maapi_get_next(&cursor), CONFD_OK);
    EXPECT_EQ(fetch(22, 1), 20);
    EXPECT_EQ(entries.find("C_UINT32 2, "), 0U);
    EXPECT_EQ(described(cursor.keys[0]), "C_UINT32 2");
    ASSERT_EQ(maapi_get_next(&cursor), CONFD_OK);
    EXPECT_EQ(described(cursor.keys[0]), "C_UINT32 3");
    EXPECT_EQ(fetch(20, 0), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"room"});
    EXPECT_EQ(fetch(20, 1), 0) << "nothing is left";
    EXPECT_EQ(delivered, 0);
    EXPECT_EQ(cursor.n, 0);
    EXPECT_EQ(fetch(20, 1), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"end"});
    maapi_destroy_cursor(&cursor);
    EXPECT_EQ(fetch(1, 1), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"destroyed"});
}

/** Elements of a request, by name: "<gpon" begins a container, ">gpon" ends it, "id" is requested.
 */
std::vector<confd_tag_value_t> elements(const std::vector<std::string> &names)
{
    std::vector<confd_tag_value_t> result;
    for (const auto &name : names) {
        auto &element = result.emplace_back();
        const auto tag = model::tag_of(name.substr(name.find_first_not_of("<>")));
        if (name.front() == '<') {
            CONFD_SET_TAG_XMLBEGIN(&element, tag, model::kNamespaceTag);
        } else if (name.front() == '>') {
            CONFD_SET_TAG_XMLEND(&element, tag, model::kNamespaceTag);
        } else {
            CONFD_SET_TAG_NOEXISTS(&element, tag);
        }
    }
    return result;
}

class TaggedValues : public test_support::Session
{
protected:
    void SetUp() override { start(port(1)); }

    int get(std::vector<confd_tag_value_t> &values, const char *path)
    {
        return maapi_get_values(maapi, th, values.data(), static_cast<int>(values.size()), path);
    }
};

TEST_F(TaggedValues, PositionsStay)
{
    auto values = elements({"<gpon", "id", "<onu", "id", "<gem", "gem-id", ">gem", ">onu", ">gpon",
                            "description", "statistics"});
    ASSERT_EQ(get(values, "/base:config/service-port{1}"), CONFD_OK) << confd_lasterr();
    EXPECT_EQ(described(values[1].v), "C_BUF 1/1/1");
    EXPECT_EQ(described(values[3].v), "C_UINT32 1");
    EXPECT_EQ(described(values[5].v), "C_UINT32 1");
    EXPECT_EQ(values[4].v.type, C_XMLBEGIN);
    EXPECT_EQ(values[6].v.type, C_XMLEND);
    EXPECT_EQ(described(values[9].v), "C_NOEXISTS");
    EXPECT_EQ(described(values[10].v), "C_BOOL false");
    EXPECT_EQ(held().values, 1);
    confd_free_value(&values[1].v);
}

TEST_F(TaggedValues, MisuseLeavesTheArrayAlone)
{
    const struct {
        std::vector<std::string> names;
        int code;
        const char *says;
        const char *path = "/config/service-port{1}";
    } cases[] = {
        {{"id"}, CONFD_ERR_NOEXISTS, "service-port{2}", "/config/service-port{2}"},
        {{"id"}, CONFD_ERR_BADPATH, "keys", "/config/service-port"},
        {{"id"}, CONFD_ERR_BADTYPE, "service-port{1}/id", "/config/service-port{1}/id"},
        {{"onu"}, CONFD_ERR_BADPATH, "/config/service-port nothing"},
        {{"gpon"}, CONFD_ERR_BADTYPE, "gpon holds no value"},
        {{"<id"}, CONFD_ERR_BADTYPE, "not a container"},
        {{"<gpon", "id"}, CONFD_ERR_PROTOUSAGE, "no end"},
        {{"<gpon", ">onu"}, CONFD_ERR_PROTOUSAGE, "does not end"},
        {{">service-port"}, CONFD_ERR_PROTOUSAGE, "does not end"},
    };
    for (const auto &[names, code, says, path] : cases) {
        auto values = elements(names);
        const auto type = values.back().v.type;
        EXPECT_EQ(get(values, path), CONFD_ERR) << says;
        expect_error(code, {says});
        EXPECT_EQ(values.back().v.type, type);
    }
    auto values = elements({"id"});
    CONFD_SET_UINT32(&values[0].v, 1);
    EXPECT_EQ(get(values, "/config/service-port{1}"), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"neither"});
}

} // namespace
