#include "session.h"

#include "engine/data/crypto.h"
#include "engine/data/value.h"

#include <arpa/inet.h>

#include <cstdlib>
#include <cstring>

using test_support::expect_error;

/** In headers_in_c.c. */
extern "C" int c_client_works(void);

namespace
{

std::string printed(const confd_value_t &value)
{
    std::array<char, 64> text{};
    const int length = confd_pp_value(text.data(), static_cast<int>(text.size()), &value);
    EXPECT_EQ(length, static_cast<int>(std::strlen(text.data())));
    return text.data();
}

class Values : public test_support::Session
{
protected:
    void SetUp() override { start("<gpon><card>1/1</card></gpon>"); }

    /** Text, or the error. */
    static std::string by_type(const char *path, const confd_value_t &value)
    {
        std::array<char, 64> text{};
        const auto *node = confd_cs_node_cd(nullptr, "%s", path);
        const int length =
            confd_val2str(node->info.type, &value, text.data(), static_cast<int>(text.size()));
        return length >= 0 ? text.data() : "error " + std::to_string(confd_errno);
    }
};

TEST(Headers, ServeCClients)
{
    EXPECT_EQ(c_client_works(), 1);
}

TEST_F(Values, Print)
{
    confd_value_t value{};
    const auto expect = [&value](const std::string &text) { EXPECT_EQ(printed(value), text); };
    CONFD_SET_INT8(&value, -8), expect("-8");
    CONFD_SET_UINT8(&value, 255), expect("255");
    CONFD_SET_INT16(&value, -300), expect("-300");
    CONFD_SET_UINT32(&value, 4294967295U), expect("4294967295");
    CONFD_SET_INT64(&value, INT64_MIN), expect("-9223372036854775808");
    CONFD_SET_UINT64(&value, UINT64_MAX), expect("18446744073709551615");
    CONFD_SET_BOOL(&value, 1), expect("true");
    CONFD_SET_ENUM_VALUE(&value, 3), expect("enum<3>");
    const confd_ipv4_prefix prefix{{htonl(0xc0000201U)}, 31};
    CONFD_SET_IPV4(&value, prefix.ip), expect("192.0.2.1");
    CONFD_SET_IPV4_AND_PLEN(&value, prefix), expect("192.0.2.1/31");
    CONFD_SET_XMLTAG(&value, model::tag_of("service-port"), model::kNamespaceTag);
    expect("service-port");
    CONFD_SET_NOEXISTS(&value), expect("");
    std::array<confd_value_t, 2> elements{};
    CONFD_SET_UINT8(&elements[0], 1);
    CONFD_SET_UINT8(&elements[1], 24);
    CONFD_SET_LIST(&value, elements.data(), 2), expect("1 24");
}

TEST_F(Values, PrintIsCutAsSnprintfDoes)
{
    confd_value_t value = engine::make_text_value("0123456789");
    std::array<char, 8> text{"xxxxxxx"};
    EXPECT_EQ(confd_pp_value(text.data(), 5, &value), 10);
    EXPECT_EQ(confd_pp_value(nullptr, 0, &value), 10);
    EXPECT_EQ(confd_pp_value(text.data(), -1, &value), 10);
    EXPECT_STREQ(text.data(), "0123");
    engine::free_value(value);
}

TEST_F(Values, TextByType)
{
    const std::string vlan = "/config/service-port/match/outer/vlan-id";
    const std::string method = "/config/gpon/onu-auth-method";
    confd_value_t value{};
    const auto expect = [&value](const std::string &path, const std::string &text) {
        EXPECT_EQ(by_type(path.c_str(), value), text) << path;
    };
    CONFD_SET_INT32(&value, 100), expect(vlan, "100"), expect(method, "error 5");
    CONFD_SET_ENUM_VALUE(&value, 0), expect(vlan, "any"), expect(method, "serial-number");
    expect("/config/service-port/id", "error 5");
    expect("/config/service-port", "error 5"); // A list has no type.
    CONFD_SET_ENUM_VALUE(&value, 9), expect(method, "error 5");
    CONFD_SET_UINT32(&value, 9), expect(vlan, "error 5");
    value.type = C_STR;
    value.val.s = "text";
    expect("/config/service-port/description", "text");
    expect(method, "error 5");
}

TEST_F(Values, FreeingLeavesNothingToFreeAgain)
{
    confd_value_t text{};
    ASSERT_EQ(maapi_get_elem(maapi, th, &text, "/config/gpon{1/1}/card"), CONFD_OK);
    EXPECT_EQ(held().values, 1);
    confd_value_t copy = engine::copy_value(text);
    confd_free_value(&text);
    EXPECT_EQ(text.type, C_NOEXISTS);
    confd_free_value(&text);
    confd_free_value(nullptr);
    EXPECT_EQ(held().values, 0);
    EXPECT_EQ(printed(copy), "1/1");
    engine::free_value(copy);
}

TEST_F(Values, ErrorTextsForTheOperator)
{
    confd_trans_ctx context{};
    confd_trans_seterr(&context, "%s %u", "port", 3U);
    confd_trans_seterr(&context, "again: %s", context.error.str);
    EXPECT_STREQ(context.error.str, "again: port 3");
    std::free(context.error.str);
}

TEST_F(Values, Decryption)
{
    std::array<char, 128> clear{};
    const auto decrypt = [&](const std::string &text) {
        return confd_decrypt(text.data(), static_cast<int>(text.size()), clear.data());
    };
    const std::string stored = engine::encrypt("secret");
    EXPECT_EQ(decrypt(stored), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"keys are not installed"});
    EXPECT_EQ(maapi_install_crypto_keys(cdb), CONFD_ERR);
    expect_error(CONFD_ERR_BADSTATE, {"CDB socket"});
    ASSERT_EQ(maapi_install_crypto_keys(maapi), CONFD_OK);
    for (const char *text : {"secret", ""}) {
        EXPECT_EQ(decrypt(engine::encrypt(text)), CONFD_OK);
        EXPECT_STREQ(clear.data(), text);
    }
    EXPECT_EQ(decrypt("$0$secret"), CONFD_ERR);
    expect_error(CONFD_ERR_BADTYPE, {"not encrypted"});
    EXPECT_EQ(confd_decrypt(stored.data(), -1, clear.data()), CONFD_ERR);
}

} // namespace
