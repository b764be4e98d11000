#include "checker/event_line.h"
#include "engine/printers.h"

#include <gmock/gmock.h>

#include <array>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace
{

using testing::ElementsAre;

/** Keeps what it is told. */
struct Heard : host::AskingListener {
    void step(host::Step) override {}
    void before(std::size_t request) override { befores.push_back(request); }
    void after(std::size_t request, const engine::Answer &answer) override
    {
        afters.emplace_back(request, answer);
    }
    void unusable(const std::vector<engine::Problem> &) override {}
    void threw(const std::string &) override {}
    void ended() override {}

    std::vector<std::size_t> befores;
    std::vector<std::pair<std::size_t, engine::Answer>> afters;
};

class EventLine : public testing::Test
{
protected:
    EventLine() { EXPECT_EQ(pipe(m_ends.data()), 0); }
    ~EventLine() override
    {
        close(m_ends[0]);
        close(m_ends[1]);
    }

    int writing_end() const { return m_ends[1]; }
    /** What stands in the pipe now, event by event. */
    Heard hear() const
    {
        std::array<char, 4096> buffer{};
        const auto size = read(m_ends[0], buffer.data(), buffer.size());
        std::string_view text(buffer.data(), static_cast<std::size_t>(size));
        Heard heard;
        for (auto end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
            host::replay_event(text.substr(0, end), heard);
            text.remove_prefix(end + 1);
        }
        return heard;
    }

private:
    std::array<int, 2> m_ends{};
};

TEST_F(EventLine, BringsAnAnswerBackWholeAndBeforeTheNextRequest)
{
    for (const char *text : {"", "plain", "two\nlines and \"quotes\"", "a 7 0 0 0 0"}) {
        SCOPED_TRACE(text);
        engine::Answer answer;
        answer.verdict = engine::Verdict::kWarning;
        answer.result = -3;
        answer.text = text;
        answer.calls = {{"cdb_exists", 1}, {"maapi_exists", 70000}};
        answer.time = std::chrono::nanoseconds(5000000000);
        host::EventWriter writer(writing_end());
        writer.before(41);
        EXPECT_THAT(hear().befores, ElementsAre(41));
        writer.after(41, answer);
        writer.before(42);
        const Heard heard = hear();
        EXPECT_THAT(heard.befores, ElementsAre(42));
        ASSERT_EQ(heard.afters.size(), 1U);
        const auto &[request, told] = heard.afters.front();
        EXPECT_EQ(request, 41U);
        EXPECT_EQ(told.verdict, answer.verdict);
        EXPECT_EQ(told.result, answer.result);
        EXPECT_EQ(told.text, answer.text);
        EXPECT_EQ(told.calls, answer.calls);
        EXPECT_EQ(told.time, answer.time);
    }
}

TEST_F(EventLine, TellsTheLastAnswerEvenWhenNothingFollows)
{
    {
        host::EventWriter writer(writing_end());
        writer.after(3, engine::Answer());
    }
    EXPECT_EQ(hear().afters.size(), 1U);
}

TEST_F(EventLine, RefusesAMalformedEvent)
{
    Heard heard;
    for (const char *line : {"", "b", "bx", "b1x", "a", "a1 2", "a1 0 0 0 1 name", "a1 0 0 0 0 {",
                             "a-1 0 0 0 0 ", "{}", "{\"event\":\"unheard\"}", "c1"}) {
        SCOPED_TRACE(line);
        EXPECT_THROW(host::replay_event(line, heard), std::runtime_error);
    }
    EXPECT_TRUE(heard.befores.empty());
    EXPECT_TRUE(heard.afters.empty());
}

} // namespace
