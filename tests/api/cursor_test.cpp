#include "session.h"

#include <vector>

namespace
{

using test_support::described;
using test_support::expect_error;

std::string gpon(int port, const std::string &inside = "")
{
    return "<gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>" + std::to_string(port) +
           "</port-id>" + inside + "</gpon>";
}

class Cursors : public test_support::Session
{
protected:
    void SetUp() override
    {
        const auto profile = [](const std::string &name) {
            return "<line-profile><name>" + name + "</name></line-profile>";
        };
        start("<profile><gpon>" + profile("b") + profile("a10") + profile("a2") + profile("B") +
              "<rg-profile><name>home</name><wan-ip-connection><name>w</name><itf-grouping>"
              "<ports><port>wl0</port></ports><ports><port>eth2</port></ports>"
              "<ports><port>wl0-vap1</port></ports></itf-grouping></wan-ip-connection></rg-profile>"
              "</gpon></profile><interface>" +
              gpon(10) + gpon(2) + gpon(9) +
              gpon(1, "<onu><onu-id>1</onu-id><rg-override-parameters>"
                      "<parameter><name>z</name></parameter><parameter><name>a</name></parameter>"
                      "</rg-override-parameters></onu>") +
              "</interface>");
    }

    /** All keys of a list, an entry's separated by blanks. */
    std::vector<std::string> keys(const char *path)
    {
        maapi_cursor cursor;
        std::vector<std::string> result;
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

using Keys = std::vector<std::string>;

TEST_F(Cursors, SystemOrderIsTheOrderOfTheKeys)
{
    EXPECT_EQ(keys("/config/interface/gpon/"),
              (Keys{"C_UINT32 1, C_UINT32 1, C_UINT32 1", "C_UINT32 1, C_UINT32 1, C_UINT32 2",
                    "C_UINT32 1, C_UINT32 1, C_UINT32 9", "C_UINT32 1, C_UINT32 1, C_UINT32 10"}));
    EXPECT_EQ(keys("/config/profile/gpon/line-profile"),
              (Keys{"C_BUF B", "C_BUF a10", "C_BUF a2", "C_BUF b"}));
    EXPECT_EQ(keys("/config/profile/gpon/rg-profile{home}/wan-ip-connection{w}/itf-grouping/ports"),
              (Keys{"C_ENUM_VALUE enum<1>", "C_ENUM_VALUE enum<4>", "C_ENUM_VALUE enum<5>"}));
}

TEST_F(Cursors, UserOrderIsKept)
{
    EXPECT_EQ(keys("/config/interface/gpon{1 1 1}/onu{1}/rg-override-parameters/parameter"),
              (Keys{"C_BUF z", "C_BUF a"}));
}

TEST_F(Cursors, EmptyLists)
{
    EXPECT_EQ(keys("/config/service-port"), Keys{});
    EXPECT_EQ(keys("/config/interface/gpon{1 1 2}/onu"), Keys{});
}

TEST_F(Cursors, FailedInitLeavesAHarmlessCursor)
{
    const std::vector<std::pair<const char *, int>> cases{
        {"/config/interface", CONFD_ERR_BADPATH},
        {"/config/interface/gpon{1 1 1}", CONFD_ERR_BADPATH},
        {"/config/interface/nothing", CONFD_ERR_BADPATH},
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

TEST_F(Cursors, ForgottenOnesEndWithTheirTransaction)
{
    maapi_cursor cursor;
    ASSERT_EQ(maapi_init_cursor(maapi, th, &cursor, "/config/profile/gpon/line-profile"), CONFD_OK);
    ASSERT_EQ(maapi_get_next(&cursor), CONFD_OK);
    EXPECT_EQ(engine::Hooks::instance().held.cursors, 1);
    framework().end(th);
    EXPECT_EQ(engine::Hooks::instance().held.cursors, 0);
    EXPECT_EQ(maapi_get_next(&cursor), CONFD_ERR);
    expect_error(CONFD_ERR_NOSESSION, {"transaction"});
    maapi_destroy_cursor(&cursor);
}

} // namespace
