#include "session.h"

using test_support::described;
using test_support::expect_error;
using test_support::link;
using test_support::onu;
using test_support::xml;

namespace
{

using Keys = std::vector<std::string>;

class Cursors : public test_support::Session
{
protected:
    void SetUp() override
    {
        start(
            R"(<profile><gpon>
            <line-profile><name>b</name></line-profile><line-profile><name>a10</name></line-profile>
            <line-profile><name>a2</name></line-profile><line-profile><name>B</name></line-profile>
            <rg-profile><name>home</name><wan-ip-connection><name>w</name><itf-grouping>
            <ports><port>wl0</port></ports><ports><port>eth2</port></ports>
            <ports><port>wl0-vap1</port></ports></itf-grouping></wan-ip-connection></rg-profile>
            </gpon></profile>)" +
            xml("interface",
                link(10) + link(2) + link(9) +
                    link(1, onu(1, R"(<rg-override-parameters><parameter><name>z</name></parameter>
                          <parameter><name>a</name></parameter></rg-override-parameters>)"))));
    }

    /** All keys of a list, an entry's separated by commas. */
    Keys keys(const char *path)
    {
        maapi_cursor cursor;
        Keys result;
        EXPECT_EQ(maapi_init_cursor(maapi, th, &cursor, "%s", path), CONFD_OK) << confd_lasterr();
        EXPECT_NE(cursor.n, 0);
        while (maapi_get_next(&cursor) == CONFD_OK && cursor.n != 0) {
            std::string entry;
            for (int i = 0; i < cursor.n; ++i) {
                entry += (i == 0 ? "" : ", ") + described(cursor.keys[i]);
            }
            result.push_back(entry);
        }
        maapi_destroy_cursor(&cursor);
        return result;
    }
};

TEST_F(Cursors, FollowTheKeysOrTheUsersOrder)
{
    EXPECT_EQ(keys("/config/interface/gpon/"),
              (Keys{"C_UINT32 1, C_UINT32 1, C_UINT32 1", "C_UINT32 1, C_UINT32 1, C_UINT32 2",
                    "C_UINT32 1, C_UINT32 1, C_UINT32 9", "C_UINT32 1, C_UINT32 1, C_UINT32 10"}));
    EXPECT_EQ(keys("/config/profile/gpon/line-profile"),
              (Keys{"C_BUF B", "C_BUF a10", "C_BUF a2", "C_BUF b"}));
    EXPECT_EQ(keys("/config/profile/gpon/rg-profile{home}/wan-ip-connection{w}/itf-grouping/ports"),
              (Keys{"C_ENUM_VALUE enum<1>", "C_ENUM_VALUE enum<4>", "C_ENUM_VALUE enum<5>"}));
    EXPECT_EQ(keys("/config/interface/gpon{1 1 1}/onu{1}/rg-override-parameters/parameter"),
              (Keys{"C_BUF z", "C_BUF a"}));
    EXPECT_EQ(keys("/config/service-port"), Keys{});
    EXPECT_EQ(keys("/config/interface/gpon{1 1 2}/onu"), Keys{});
}

TEST_F(Cursors, FailedInitLeavesAHarmlessCursor)
{
    const std::pair<const char *, int> cases[] = {
        {"/config/interface", CONFD_ERR_BADPATH},
        {"/config/interface/gpon{1 1 1}", CONFD_ERR_BADPATH},
        {"/config/interface/gpon{1 1 7}/onu", CONFD_ERR_NOEXISTS},
    };
    for (const auto &[path, code] : cases) {
        maapi_cursor cursor;
        cursor.n = 99;
        EXPECT_EQ(maapi_init_cursor(maapi, th, &cursor, path), CONFD_ERR);
        expect_error(code, {path});
        EXPECT_EQ(cursor.n, 0);
        EXPECT_EQ(maapi_get_next(&cursor), CONFD_ERR);
        expect_error(CONFD_ERR_PROTOUSAGE, {"not initialised"});
        maapi_destroy_cursor(&cursor);
    }
}

TEST_F(Cursors, UseAfterTheEndOrAfterDestruction)
{
    maapi_cursor cursor;
    ASSERT_EQ(maapi_init_cursor(maapi, th, &cursor, "/config/service-port"), CONFD_OK);
    EXPECT_EQ(maapi_get_next(&cursor), CONFD_OK);
    EXPECT_EQ(cursor.n, 0);
    EXPECT_EQ(maapi_get_next(&cursor), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"at the end of /config/service-port"});

    const maapi_cursor copy = cursor;
    maapi_destroy_cursor(&cursor);
    maapi_destroy_cursor(&cursor);
    maapi_destroy_cursor(nullptr);
    for (maapi_cursor stale : {cursor, copy}) {
        EXPECT_EQ(maapi_get_next(&stale), CONFD_ERR);
        expect_error(CONFD_ERR_PROTOUSAGE, {"destroyed"});
        EXPECT_EQ(stale.n, 0);
    }
}

} // namespace
