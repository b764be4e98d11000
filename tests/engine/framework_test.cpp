#include "engine/session/framework.h"
#include "support/card_xml.h"
#include "support/model.h"

#include <gtest/gtest.h>

using engine::Framework;
using engine::SocketKind;

namespace
{

TEST(Framework, IsTheOnlyOneWhileItRuns)
{
    EXPECT_FALSE(Framework::exists());
    {
        const Framework framework(test_support::parse_config(""));
        EXPECT_THROW(Framework second(test_support::parse_config("")), engine::Error);
        EXPECT_EQ(&Framework::current(), &framework);
    }
    EXPECT_FALSE(Framework::exists());
    EXPECT_THROW(Framework::current(), engine::Error);
}

TEST(Framework, GivesNoNumberASecondTime)
{
    Framework framework(test_support::parse_config(""));
    framework.open_socket(SocketKind::kMaapi);
    const int cdb = framework.open_socket(SocketKind::kCdb);
    EXPECT_EQ(framework.open_sockets(SocketKind::kCdb), 1);
    framework.close_socket(cdb);
    EXPECT_EQ(framework.open_sockets(SocketKind::kCdb), 0);
    EXPECT_EQ(framework.open_sockets(SocketKind::kMaapi), 1);
    EXPECT_NE(framework.open_socket(SocketKind::kCdb), cdb);
    const int handle = framework.begin(test_support::parse_config("")).handle();
    framework.end(handle);
    EXPECT_NE(framework.begin(test_support::parse_config("")).handle(), handle);
}

} // namespace
