/** A framework with a committed configuration, a transaction and sockets, for tests of the C calls.
 */
#pragma once

#include "confd_cdb.h"
#include "confd_maapi.h"
#include "engine/session/framework.h"
#include "support/card_xml.h"
#include "support/model.h"

#include <array>
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace test_support
{

/** Text of a value with its type, such as C_UINT32 7: for comparisons and for reading failures. */
inline std::string described(const confd_value_t &value)
{
    static const std::map<confd_vtype, std::string> names{
        {C_XMLTAG, "C_XMLTAG "}, {C_BUF, "C_BUF "},
        {C_LIST, "C_LIST "},     {C_INT32, "C_INT32 "},
        {C_UINT8, "C_UINT8 "},   {C_UINT32, "C_UINT32 "},
        {C_BOOL, "C_BOOL "},     {C_ENUM_VALUE, "C_ENUM_VALUE "},
        {C_IPV4, "C_IPV4 "},     {C_IPV4_AND_PLEN, "C_IPV4_AND_PLEN "}};
    if (value.type == C_NOEXISTS) {
        return "C_NOEXISTS";
    }
    std::array<char, 256> text{};
    confd_pp_value(text.data(), static_cast<int>(text.size()), &value);
    const auto name = names.find(value.type);
    return (name != names.end() ? name->second : "type " + std::to_string(value.type) + " ") +
           text.data();
}

inline std::string kpath_text(const confd_hkeypath_t &keypath)
{
    std::array<char, 1024> text{};
    confd_pp_kpath(text.data(), static_cast<int>(text.size()), &keypath);
    return text.data();
}

/** Fixture: `start` makes the configurations; what a test leaves held shows up at its end. */
class Session : public ::testing::Test
{
protected:
    /** Both are what stands inside <config>. */
    void start(const std::string &running, const std::string &candidate)
    {
        m_framework.emplace(checked_config(running));
        maapi = framework().open_socket(engine::SocketKind::kMaapi);
        cdb = framework().open_socket(engine::SocketKind::kCdb);
        th = framework().begin(checked_config(candidate)).handle();
    }
    void start(const std::string &both) { start(both, both); }

    void TearDown() override
    {
        engine::Hooks::instance().clear_failure();
        EXPECT_EQ(held().values, 0);
        EXPECT_EQ(held().query_results, 0);
        m_framework.reset();
        EXPECT_TRUE(held().none()) << "the end of the transaction releases cursors and queries";
    }

    engine::Framework &framework() { return *m_framework; }
    static engine::Hooks::Held &held() { return engine::Hooks::instance().held; }

    int maapi = 0;
    int cdb = 0;
    int th = 0;

private:
    std::optional<engine::Framework> m_framework;
};

/** Checks code and text of the call that failed last; the text must hold each of the pieces. */
inline void expect_error(int code, const std::vector<std::string> &pieces)
{
    EXPECT_EQ(confd_errno, code) << confd_lasterr();
    for (const auto &piece : pieces) {
        EXPECT_NE(std::string(confd_lasterr()).find(piece), std::string::npos)
            << '"' << confd_lasterr() << "\" does not say \"" << piece << '"';
    }
}

} // namespace test_support
