#include <zlog.h>
#include <zlog_host.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;

class Trace : public testing::Test
{
protected:
    ~Trace() override
    {
        zlog_host::set_level(zlog_host::kOff);
        zlog_host::write_to_stderr();
    }

    /** Traces as the library does, at a level. */
    void trace(int level, const std::string &text)
    {
        zlog(m_category, "src/file", 8, "func", 4, 7, level, "%s", text.c_str());
    }

    zlog_category_t *m_category = zlog_host::category("gpon-valid");
};

TEST_F(Trace, KeepsTheLevelsFromTheOneThatIsSet)
{
    std::vector<std::string> texts;
    zlog_host::write_to([&texts](const zlog_host::Line &line) { texts.push_back(line.text); });

    trace(12, "off at start");
    EXPECT_EQ(zlog_level_enabled(m_category, 12), 0);
    EXPECT_EQ(zlog_level_enabled(m_category, zlog_host::kOff), 0);

    EXPECT_EQ(zlog_host::category("gpon-valid"), m_category);
    EXPECT_NE(zlog_host::category("another"), m_category);
    zlog_host::set_level(11);
    trace(10, "fine");
    trace(11, "progress");
    trace(12, "decision");
    zlog(nullptr, "src/file", 8, "func", 4, 7, 12, "no category");
    EXPECT_EQ(zlog_level_enabled(m_category, 10), 0);
    EXPECT_NE(zlog_level_enabled(m_category, 11), 0);
    EXPECT_NE(zlog_level_enabled(m_category, 12), 0);
    EXPECT_EQ(zlog_level_enabled(nullptr, 12), 0);

    EXPECT_THAT(texts, ElementsAre("progress", "decision"));
}

TEST_F(Trace, HandsOverEachPartOfALine)
{
    std::string parts;
    zlog_host::write_to([&parts](const zlog_host::Line &line) {
        parts += line.category + " " + line.file + " " + line.function + " " +
                 std::to_string(line.line) + " " + std::to_string(line.level) + " " + line.text;
    });
    zlog_host::set_level(10);
    // Neither name ends in a NUL where its length says that it ends.
    const std::string long_text(100000, 'x');
    zlog(m_category, "src/fXX", 5, "fnX", 2, 123, 11, "%d %s", 42, long_text.c_str());
    EXPECT_EQ(parts, "gpon-valid src/f fn 123 11 42 " + long_text);
}

TEST_F(Trace, HandsOverLaidOutLinesAtOnce)
{
    std::string written;
    zlog_host::write_text_to([&](std::string_view text) { written += text; });
    zlog_host::set_level(10);
    trace(12, "100 % {} of it");
    zlog_host::write({"debug", "", "", 0, 10, "a note"});

    EXPECT_THAT(written, ContainsRegex("^[0-9]{4}-[0-9]{2}-[0-9]{2} "
                                       "[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} "
                                       "12 gpon-valid src/file:7 func: 100 % \\{\\} of it\n"));
    EXPECT_THAT(written, HasSubstr(" 10 debug a note\n"));
}

TEST_F(Trace, GoesToStderrUnlessToldOtherwise)
{
    zlog_host::write_to_stderr();
    zlog_host::set_level(12);
    testing::internal::CaptureStderr();
    trace(12, "on the screen");
    // A line is lost rather than that its caller would have to do with an exception.
    zlog_host::write_to([](const zlog_host::Line &) { throw std::runtime_error("disk full"); });
    EXPECT_NO_THROW(trace(12, "lost"));
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(),
        AllOf(HasSubstr("12 gpon-valid src/file:7 func: on the screen\n"), HasSubstr("disk full")));
}

} // namespace
