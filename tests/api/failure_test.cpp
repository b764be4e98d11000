#include "session.h"

using engine::Hooks;
using test_support::expect_error;

namespace
{

class Failures : public test_support::Session
{
protected:
    void SetUp() override { start(test_support::port(1)); }
};

TEST_F(Failures, SocketsAndTransactions)
{
    const int closed = framework().open_socket(engine::SocketKind::kCdb);
    EXPECT_EQ(maapi_exists(cdb, th, "/config"), CONFD_ERR);
    expect_error(CONFD_ERR_BADSTATE, {"CDB socket, not a MAAPI socket"});
    EXPECT_EQ(cdb_exists(maapi, "/config"), CONFD_ERR);
    expect_error(CONFD_ERR_BADSTATE, {"MAAPI socket, not a CDB socket"});
    EXPECT_EQ(maapi_exists(maapi, th + 1000, "/config"), CONFD_ERR);
    expect_error(CONFD_ERR_NOSESSION, {std::to_string(th + 1000)});
    framework().close_socket(closed);
    EXPECT_EQ(cdb_exists(closed, "/config"), CONFD_ERR);
    expect_error(CONFD_ERR_BADSTATE, {"not open"});
}

TEST_F(Failures, CursorsSurviveAFailedStep)
{
    maapi_cursor cursor;
    ASSERT_EQ(maapi_init_cursor(maapi, th, &cursor, "/config/service-port"), CONFD_OK);
    Hooks::instance().fail_call(1, CONFD_ERR_OS);
    EXPECT_EQ(maapi_get_next(&cursor), CONFD_ERR);
    expect_error(CONFD_ERR_OS, {"forced failure"});
    EXPECT_EQ(cursor.n, 0);
    EXPECT_EQ(maapi_get_next(&cursor), CONFD_OK);
    EXPECT_EQ(CONFD_GET_UINT32(&cursor.keys[0]), 1U);
    framework().close_socket(maapi);
    EXPECT_EQ(maapi_get_next(&cursor), CONFD_ERR);
    maapi_destroy_cursor(&cursor);
    EXPECT_EQ(held().cursors, 0) << "a closed socket holds nothing back";
}

TEST(WithoutFramework, CallsFailAndPrintingWorks)
{
    EXPECT_EQ(cdb_exists(1, "/config"), CONFD_ERR);
    expect_error(CONFD_ERR_BADSTATE, {"does not run"});
    EXPECT_EQ(confd_cs_node_cd(nullptr, "/config"), nullptr);
    EXPECT_EQ(confd_hash2str(model::tag_of("gpon")), nullptr);
    maapi_cursor cursor{};
    maapi_destroy_cursor(&cursor);
    confd_value_t tag{};
    CONFD_SET_XMLTAG(&tag, 7, 0);
    EXPECT_EQ(test_support::described(tag), "C_XMLTAG tag<7>");
}

} // namespace
