#include "engine/session/framework.h"
#include "support/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using engine::Error;
using engine::Framework;
using engine::Hooks;
using engine::SocketKind;
using ::testing::ElementsAre;
using ::testing::Pair;

namespace
{

/** Code of the Error that a call throws; 0 when it throws none. */
int error_code(const std::function<void()> &call)
{
    try {
        call();
    } catch (const Error &error) {
        return error.code();
    }
    return 0;
}

/** Tells when it is released. */
class Marker : public engine::TransactionResource
{
public:
    Marker(std::vector<int> &released, int number) : m_released(released), m_number(number) {}
    ~Marker() override { m_released.push_back(m_number); }
    Marker(const Marker &) = delete;
    Marker &operator=(const Marker &) = delete;

private:
    std::vector<int> &m_released;
    int m_number;
};

} // namespace

TEST(Framework, IsFoundWhileItRuns)
{
    EXPECT_FALSE(Framework::exists());
    EXPECT_EQ(error_code([] { Framework::current(); }), CONFD_ERR_BADSTATE);
    {
        Framework framework(test_support::parse_config(""));
        EXPECT_EQ(&Framework::current(), &framework);
        EXPECT_EQ(error_code([] { Framework second(test_support::parse_config("")); }),
                  CONFD_ERR_BADSTATE);
        EXPECT_EQ(&Framework::current(), &framework);
    }
    EXPECT_FALSE(Framework::exists());
}

TEST(Framework, TellsSocketsApart)
{
    Framework framework(test_support::parse_config(""));
    const int maapi = framework.open_socket(SocketKind::kMaapi);
    const int cdb = framework.open_socket(SocketKind::kCdb);
    EXPECT_GT(maapi, 0);
    EXPECT_NE(maapi, cdb);
    framework.require_socket(maapi, SocketKind::kMaapi);
    EXPECT_EQ(framework.open_sockets(SocketKind::kCdb), 1);
    framework.close_socket(cdb);
    EXPECT_EQ(framework.open_sockets(SocketKind::kCdb), 0);
    EXPECT_EQ(framework.open_sockets(SocketKind::kMaapi), 1);
    EXPECT_NE(framework.open_socket(SocketKind::kCdb), cdb); // A stale number stays invalid.

    const auto require = [&](int sock, SocketKind kind) {
        return error_code([&] { framework.require_socket(sock, kind); });
    };
    EXPECT_EQ(require(cdb, SocketKind::kCdb), CONFD_ERR_BADSTATE);
    EXPECT_EQ(require(maapi, SocketKind::kCdb), CONFD_ERR_BADSTATE);
    EXPECT_EQ(require(-1, SocketKind::kMaapi), CONFD_ERR_BADSTATE);
}

TEST(Framework, ReleasesWhatATransactionStillHolds)
{
    std::vector<int> released;
    Framework framework(test_support::parse_config(""));
    auto &transaction = framework.begin(test_support::parse_config(""));
    const int handle = transaction.handle();
    const int first = transaction.add_resource(std::make_unique<Marker>(released, 1));
    transaction.add_resource(std::make_unique<Marker>(released, 2));
    EXPECT_NE(transaction.find_resource(first), nullptr);
    EXPECT_TRUE(transaction.drop_resource(first));
    EXPECT_FALSE(transaction.drop_resource(first));
    EXPECT_EQ(transaction.find_resource(first), nullptr);
    EXPECT_THAT(released, ElementsAre(1));

    EXPECT_EQ(&framework.transaction(handle), &transaction);
    framework.end(handle);
    EXPECT_THAT(released, ElementsAre(1, 2));
    EXPECT_EQ(error_code([&] { framework.transaction(handle); }), CONFD_ERR_NOSESSION);
    EXPECT_NE(framework.begin(test_support::parse_config("")).handle(), handle);
}

TEST(Hooks, LetTheChosenCallsFail)
{
    auto &hooks = Hooks::instance();
    /** Which of five calls fail. */
    const auto failures = [&hooks] {
        std::string which;
        for (int i = 0; i < 5; ++i) {
            which += error_code([&] { hooks.on_call("call"); }) == CONFD_ERR_OS ? 'x' : '.';
        }
        return which;
    };
    EXPECT_EQ(failures(), ".....");
    hooks.fail_call(2, CONFD_ERR_OS);
    EXPECT_FALSE(hooks.has_failed());
    EXPECT_EQ(failures(), ".x...");
    EXPECT_TRUE(hooks.has_failed());
    hooks.fail_call(3, CONFD_ERR_OS, true);
    EXPECT_FALSE(hooks.has_failed());
    EXPECT_EQ(failures(), "..xxx");
    hooks.fail_no_more();
    EXPECT_EQ(failures(), ".....");
}

TEST(Hooks, CountCallsThatFailToo)
{
    auto &hooks = Hooks::instance();
    hooks.reset_counts();
    hooks.fail_call(1, CONFD_ERR_OS);
    EXPECT_THROW(hooks.on_call("a"), Error);
    hooks.on_call("a");
    hooks.on_call("b");
    EXPECT_THAT(hooks.counts(), ElementsAre(Pair("a", 2), Pair("b", 1)));
    hooks.reset_counts();
    EXPECT_TRUE(hooks.counts().empty());
}
