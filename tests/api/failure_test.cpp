#include "session.h"

using engine::Hooks;
using test_support::expect_error;
using test_support::mapping;
using test_support::port;
using test_support::xml;

namespace
{

class Failures : public test_support::Session
{
protected:
    void SetUp() override
    {
        start(mapping(xml("uni/ethernet", "1")) + xml("gpon/card", "1/1") + port(1));
    }

    /** Every call that can own something, with what a careful client does about its result. */
    void use_what_owns()
    {
        maapi_cursor cursor;
        maapi_init_cursor(maapi, th, &cursor, "/config/service-port");
        maapi_get_next(&cursor);
        std::vector<confd_value_t> values(20);
        int entries = 1;
        if (maapi_get_objects(&cursor, values.data(), 20, &entries) != CONFD_ERR) {
            for (auto &value : values) {
                confd_free_value(&value);
            }
        }
        maapi_destroy_cursor(&cursor);

        const char *select[] = {"id"};
        const int query = maapi_query_start(maapi, th, "/config/service-port", nullptr, 1, 1,
                                            CONFD_QUERY_TAG_VALUE, 1, select, 0, nullptr);
        confd_query_result *result = nullptr;
        maapi_query_result(maapi, query, &result);
        maapi_query_free_result(result);
        maapi_query_stop(maapi, query);

        confd_value_t text{};
        if (maapi_get_elem(maapi, th, &text, "/config/gpon{1/1}/card") == CONFD_OK) {
            confd_free_value(&text);
        }
        confd_value_t *ports = nullptr;
        int count = 0;
        maapi_get_list_elem(maapi, th, &ports, &count,
                            "/config/profile/gpon/service-profile{s}/vlan-mapping{m}/uni/ethernet");
        free(ports);
        char *count_text = nullptr;
        maapi_xpath_eval_expr(maapi, th, "count(/config)", &count_text, nullptr, nullptr);
        free(count_text);
        confd_tag_value_t card{};
        CONFD_SET_TAG_NOEXISTS(&card, model::tag_of("card"));
        if (maapi_get_values(maapi, th, &card, 1, "/config/gpon{1/1}") == CONFD_OK) {
            confd_free_value(&card.v);
        }
    }

    /** All other calls. */
    void use_the_rest()
    {
        std::uint32_t number = 0;
        int truth = 0;
        std::int32_t choice = 0;
        in_addr address{};
        confd_ipv4_prefix prefix{};
        std::array<char, 8> buffer{};
        const confd_value_t value{};
        maapi_exists(maapi, th, "/config");
        maapi_num_instances(maapi, th, "/config/gpon");
        maapi_get_str_elem(maapi, th, buffer.data(), 8, "/config/gpon{1/1}/card");
        maapi_get_u_int32_elem(maapi, th, &number, "/config/service-port{1}/id");
        maapi_get_bool_elem(maapi, th, &truth, "/config/service-port{1}/statistics");
        maapi_get_ipv4_elem(maapi, th, &address, "/config");
        maapi_get_ipv4_and_plen_elem(maapi, th, &prefix, "/config");
        maapi_get_enum_value_elem(maapi, th, &choice, "/config");
        maapi_keypath_diff_iterate(maapi, th, nullptr, 0, nullptr, "/config");
        maapi_install_crypto_keys(cdb); // Installs nothing: other tests go on without keys.
        confd_decrypt("", 0, buffer.data());
        cdb_exists(cdb, "/config");
        cdb_get_bool(cdb, &truth, "/config/service-port{1}/statistics");
        cdb_num_instances(cdb, "/config/gpon");
        confd_cs_node_cd(nullptr, "/config");
        confd_max_object_size(nullptr);
        confd_val2str(nullptr, &value, buffer.data(), 8);
    }
};

TEST_F(Failures, EachCallCountsAndCanFailAndNothingLeaks)
{
    Hooks::instance().reset_counts();
    use_what_owns();
    use_the_rest();
    const auto counts = Hooks::instance().counts();
    EXPECT_EQ(counts.size(), 29U);
    for (const auto &[name, times] : counts) {
        EXPECT_EQ(times, 1U) << name;
    }
    std::size_t failed = 0;
    for (;; ++failed) {
        Hooks::instance().fail_call(failed + 1, CONFD_ERR_OS);
        use_what_owns();
        EXPECT_TRUE(held().none()) << "when call " << failed + 1 << " fails";
        use_the_rest();
        if (!Hooks::instance().has_failed()) {
            break;
        }
    }
    EXPECT_EQ(failed, counts.size());
    Hooks::instance().fail_call(1, CONFD_ERR_EXTERNAL, true);
    use_what_owns();
    EXPECT_TRUE(held().none());
    EXPECT_EQ(cdb_exists(cdb, "/config"), CONFD_ERR);
    expect_error(CONFD_ERR_EXTERNAL, {"forced failure"});
}

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
