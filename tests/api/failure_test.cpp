#include "session.h"

#include <functional>
#include <map>
#include <vector>

namespace
{

using engine::Hooks;
using test_support::expect_error;

constexpr const char *kConfig =
    "<profile><gpon><service-profile><name>s</name><vlan-mapping><name>m</name><uni>"
    "<ethernet>1</ethernet></uni></vlan-mapping></service-profile></gpon></profile>"
    "<gpon><card>1/1</card></gpon>"
    "<service-port><id>1</id><gpon><id>1/1/1</id><onu><id>2</id><gem><gem-id>3</gem-id></gem></onu>"
    "</gpon></service-port>";

class Failures : public test_support::Session
{
protected:
    void SetUp() override { start(kConfig); }

    /** Every call that can own something, with what a careful client does about its result. */
    void use_everything()
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
        if (maapi_get_list_elem(
                maapi, th, &ports, &count,
                "/config/profile/gpon/service-profile{s}/vlan-mapping{m}/uni/ethernet") ==
            CONFD_OK) {
            EXPECT_EQ(count, 1);
            free(ports);
        }
        char *count_text = nullptr;
        maapi_xpath_eval_expr(maapi, th, "count(/config)", &count_text, nullptr, nullptr);
        free(count_text);
        confd_tag_value_t id{};
        CONFD_SET_TAG_NOEXISTS(&id, model::tag_of("card"));
        if (maapi_get_values(maapi, th, &id, 1, "/config/gpon{1/1}") == CONFD_OK) {
            confd_free_value(&id.v);
        }
    }
};

TEST_F(Failures, EachCallCanFailAndNothingLeaks)
{
    int runs = 0;
    for (std::uint64_t n = 1;; ++n) {
        Hooks::instance().fail_call(n, CONFD_ERR_OS);
        use_everything();
        EXPECT_TRUE(Hooks::instance().held.none()) << "when call " << n << " fails";
        if (!Hooks::instance().has_failed()) {
            break;
        }
        ++runs;
    }
    EXPECT_EQ(runs, 12);
    Hooks::instance().reset_counts();
    use_everything();
    const std::map<std::string, std::uint64_t> each_once{
        {"maapi_init_cursor", 1},       {"maapi_get_next", 1},        {"maapi_get_objects", 1},
        {"maapi_destroy_cursor", 1},    {"maapi_query_start", 1},     {"maapi_query_result", 1},
        {"maapi_query_free_result", 1}, {"maapi_query_stop", 1},      {"maapi_get_elem", 1},
        {"maapi_get_list_elem", 1},     {"maapi_xpath_eval_expr", 1}, {"maapi_get_values", 1}};
    EXPECT_EQ(Hooks::instance().counts(), each_once);
    Hooks::instance().fail_call(1, CONFD_ERR_EXTERNAL, true);
    use_everything();
    EXPECT_TRUE(Hooks::instance().held.none());
}

TEST_F(Failures, EveryCountedCallFailsWithTheForcedCode)
{
    std::uint32_t number = 0;
    int truth = 0;
    std::int32_t choice = 0;
    in_addr address{};
    confd_ipv4_prefix prefix{};
    std::array<char, 8> buffer{};
    confd_value_t value{};
    const std::map<std::string, std::function<bool()>> calls{
        {"maapi_exists", [&] { return maapi_exists(maapi, th, "/config") == CONFD_ERR; }},
        {"maapi_num_instances", [&] { return maapi_num_instances(maapi, th, "/config/gpon") < 0; }},
        {"maapi_get_str_elem",
         [&] {
             return maapi_get_str_elem(maapi, th, buffer.data(), 8, "/config/gpon{1/1}/card") < 0;
         }},
        {"maapi_get_u_int32_elem",
         [&] {
             return maapi_get_u_int32_elem(maapi, th, &number, "/config/service-port{1}/id") < 0;
         }},
        {"maapi_get_bool_elem",
         [&] {
             return maapi_get_bool_elem(maapi, th, &truth, "/config/service-port{1}/statistics") <
                    0;
         }},
        {"maapi_get_ipv4_elem",
         [&] { return maapi_get_ipv4_elem(maapi, th, &address, "/config") < 0; }},
        {"maapi_get_ipv4_and_plen_elem",
         [&] { return maapi_get_ipv4_and_plen_elem(maapi, th, &prefix, "/config") < 0; }},
        {"maapi_get_enum_value_elem",
         [&] { return maapi_get_enum_value_elem(maapi, th, &choice, "/config") < 0; }},
        {"maapi_keypath_diff_iterate",
         [&] { return maapi_keypath_diff_iterate(maapi, th, nullptr, 0, nullptr, "/config") < 0; }},
        {"maapi_install_crypto_keys", [&] { return maapi_install_crypto_keys(maapi) < 0; }},
        {"confd_decrypt", [&] { return confd_decrypt("", 0, buffer.data()) < 0; }},
        {"cdb_exists", [&] { return cdb_exists(cdb, "/config") < 0; }},
        {"cdb_get_bool",
         [&] { return cdb_get_bool(cdb, &truth, "/config/service-port{1}/statistics") < 0; }},
        {"cdb_num_instances", [&] { return cdb_num_instances(cdb, "/config/gpon") < 0; }},
        {"confd_cs_node_cd", [&] { return confd_cs_node_cd(nullptr, "/config") == nullptr; }},
        {"confd_max_object_size", [&] { return confd_max_object_size(nullptr) < 0; }},
        {"confd_val2str", [&] { return confd_val2str(nullptr, &value, buffer.data(), 8) < 0; }},
    };
    for (const auto &[name, call] : calls) {
        Hooks::instance().reset_counts();
        Hooks::instance().fail_call(1, CONFD_ERR_LOCKED);
        EXPECT_TRUE(call()) << name;
        expect_error(CONFD_ERR_LOCKED, {"forced failure"});
        EXPECT_EQ(Hooks::instance().counts(), (std::map<std::string, std::uint64_t>{{name, 1}}));
    }
}

TEST_F(Failures, SocketsAndTransactions)
{
    const int bool_leaf_sock = framework().open_socket(engine::SocketKind::kCdb);
    EXPECT_EQ(maapi_exists(cdb, th, "/config"), CONFD_ERR);
    expect_error(CONFD_ERR_BADSTATE, {"CDB socket, not a MAAPI socket"});
    EXPECT_EQ(cdb_exists(maapi, "/config"), CONFD_ERR);
    expect_error(CONFD_ERR_BADSTATE, {"MAAPI socket, not a CDB socket"});
    EXPECT_EQ(maapi_exists(maapi, th + 1000, "/config"), CONFD_ERR);
    expect_error(CONFD_ERR_NOSESSION, {std::to_string(th + 1000)});
    framework().close_socket(bool_leaf_sock);
    EXPECT_EQ(cdb_exists(bool_leaf_sock, "/config"), CONFD_ERR);
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
    EXPECT_EQ(Hooks::instance().held.cursors, 0) << "a closed socket holds nothing back";
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
    std::array<char, 16> text{};
    EXPECT_EQ(confd_pp_value(text.data(), 16, &tag), 6);
    EXPECT_STREQ(text.data(), "tag<7>");
}

} // namespace
