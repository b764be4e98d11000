#include <logger.h>
#include <velconfd.h>
#include <velconfd_host.h>
#include <velmw.h>
#include <zlog_host.h>

#include "confd_lib.h"
#include "engine/session/framework.h"
#include "support/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace
{

using engine::Framework;
using engine::SocketKind;
using testing::ElementsAre;
using testing::HasSubstr;

/** A framework without configuration, and a context in it. */
class Middleware : public testing::Test
{
protected:
    ~Middleware() override
    {
        engine::Hooks::instance().clear_failure();
        velconfd::set_singleton_available(true);
        zlog_host::set_level(zlog_host::kOff);
        zlog_host::write_to_stderr();
    }

    void keep_trace()
    {
        zlog_host::set_level(10);
        zlog_host::write_to([this](const zlog_host::Line &line) {
            m_trace.push_back(std::to_string(line.level) + ' ' + line.category + ' ' + line.text);
        });
    }

    Framework m_framework{test_support::checked_config("")};
    std::optional<velconfd::Context> m_context{std::in_place};
    void *m_word = m_context->word();
    std::vector<std::string> m_trace;
};

TEST_F(Middleware, GivesEachContextItsMaapiSocket)
{
    velconfd::Context other;
    const int sock = velconfd_maapi_socket_get(m_word);
    EXPECT_NO_THROW(m_framework.require_socket(sock, SocketKind::kMaapi));
    EXPECT_EQ(velconfd_maapi_socket_get(m_word), sock);
    EXPECT_NE(velconfd_maapi_socket_get(other.word()), sock);
}

TEST_F(Middleware, NestsReadSessions)
{
    const int first = velconfd_config_session_start(m_word);
    const int second = velconfd_config_session_start(m_word);
    EXPECT_GT(first, 0);
    EXPECT_GT(second, 0);
    EXPECT_NE(first, second);
    EXPECT_EQ(m_context->open_sessions(), 2);

    velconfd_config_session_end(m_word);
    EXPECT_NO_THROW(m_framework.require_socket(first, SocketKind::kCdb));
    EXPECT_THROW(m_framework.require_socket(second, SocketKind::kCdb), engine::Error);

    velconfd_config_session_end(m_word);
    velconfd_config_session_end(m_word);
    EXPECT_EQ(m_context->open_sessions(), 0);
    EXPECT_EQ(m_framework.open_sockets(SocketKind::kCdb), 0);
}

TEST_F(Middleware, KnowsOnlyLiveContexts)
{
    keep_trace();
    int not_a_context = 0;
    for (void *word : {static_cast<void *>(nullptr), static_cast<void *>(&not_a_context)}) {
        EXPECT_EQ(velconfd_maapi_socket_get(word), -1);
        EXPECT_EQ(velconfd_config_session_start(word), -1);
        velconfd_config_session_end(word);
    }
    EXPECT_EQ(m_trace.size(), 6U);

    EXPECT_GT(velconfd_config_session_start(m_word), 0);
    m_context.reset();
    EXPECT_EQ(m_framework.open_sockets(SocketKind::kMaapi), 0) << "closed with their context";
    EXPECT_EQ(m_framework.open_sockets(SocketKind::kCdb), 0);
    EXPECT_EQ(velconfd_maapi_socket_get(m_word), -1);
    EXPECT_EQ(velconfd_config_session_start(m_word), -1);
}

TEST_F(Middleware, TellsWhyASessionCouldNotStart)
{
    auto &hooks = engine::Hooks::instance();
    keep_trace();
    hooks.fail_call(2, CONFD_ERR_OS);
    EXPECT_GT(velconfd_config_session_start(m_word), 0);
    EXPECT_EQ(velconfd_config_session_start(m_word), -1);
    EXPECT_EQ(m_context->open_sessions(), 1);
    EXPECT_THAT(m_trace, ElementsAre("12 velconfd no read session: forced failure"));
}

TEST_F(Middleware, MakesCategoriesForItsOwnHandleOnly)
{
    void *handle = velmw_singleton_get();
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(velmw_trace_init(handle, "gpon-valid"), zlog_host::category("gpon-valid"));
    int foreign = 0;
    EXPECT_EQ(velmw_trace_init(&foreign, "gpon-valid"), nullptr);
    EXPECT_EQ(velmw_trace_init(nullptr, "gpon-valid"), nullptr);

    velconfd::set_singleton_available(false);
    EXPECT_EQ(velmw_singleton_get(), nullptr);
    velconfd::set_singleton_available(true);
    EXPECT_EQ(velmw_singleton_get(), handle);
}

TEST_F(Middleware, WritesDebugNotesAsFineTrace)
{
    keep_trace();
    Logger::Debug("%s at %d %%", "load", 95);
    zlog_host::set_level(11);
    Logger::Debug("not kept");
    EXPECT_THAT(m_trace, ElementsAre("10 debug load at 95 %"));
}

TEST_F(Middleware, ReportsFaultsAndBacktracesOnStderr)
{
    testing::internal::CaptureStderr();
    velmw_gen_fault(1, "reader", "src/reader", 37, "object size differs");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Fault of severity 1 in reader (src/reader:37): object size differs\n");

    testing::internal::CaptureStderr();
    velmw_print_backtrace();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("velmw_print_backtrace"));
}

// The framework may go first when a host tears down after a failure.
TEST(MiddlewareOrder, AContextOutlivesItsFrameworkUnharmed)
{
    auto framework = std::make_unique<Framework>(test_support::checked_config(""));
    velconfd::Context context;
    EXPECT_GT(velconfd_config_session_start(context.word()), 0);
    framework.reset();
    EXPECT_EQ(velconfd_config_session_start(context.word()), -1);
    velconfd_config_session_end(context.word());
    EXPECT_EQ(context.open_sessions(), 0);
    EXPECT_THROW(velconfd::Context(), engine::Error) << "a new one needs a framework";
}

} // namespace
