#include "checker/event_line.h"

#include <gmock/gmock.h>

#include <array>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace
{

using testing::ElementsAre;

constexpr const char *kKey = "17 ";

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
        std::array<char, 65536> buffer{};
        const auto size = read(m_ends[0], buffer.data(), buffer.size());
        std::string_view text(buffer.data(), static_cast<std::size_t>(size));
        Heard heard;
        for (auto end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
            host::replay_event(text.substr(0, end), kKey, heard);
            text.remove_prefix(end + 1);
        }
        return heard;
    }

private:
    std::array<int, 2> m_ends{};
};

TEST_F(EventLine, an_answer_comes_back_whole_and_before_the_next_request)
{
    for (const char *text : {"", "plain", "two\nlines and \"quotes\"", "a 7 0 0 0 0"}) {
        SCOPED_TRACE(text);
        engine::Answer answer;
        answer.verdict = engine::Verdict::kWarning;
        answer.result = -3;
        answer.text = text;
        answer.calls = {{"cdb_exists", 1}, {"maapi_exists", 70000}};
        answer.time = std::chrono::nanoseconds(5000000000);
        host::EventWriter writer(writing_end(), kKey);
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

TEST_F(EventLine, the_last_answer_is_told_even_when_nothing_follows)
{
    {
        host::EventWriter writer(writing_end(), kKey);
        writer.after(3, engine::Answer());
    }
    EXPECT_EQ(hear().afters.size(), 1U);
}

TEST_F(EventLine, of_a_text_without_measure_the_beginning_is_told)
{
    host::EventWriter writer(writing_end(), kKey);
    engine::Answer answer;
    answer.text = std::string(std::size_t{64} << 20U, 'x');
    writer.after(0, answer);
    writer.before(1);
    const Heard heard = hear();
    ASSERT_EQ(heard.afters.size(), 1U);
    EXPECT_THAT(heard.afters[0].second.text,
                testing::AllOf(testing::StartsWith("xxx"),
                               testing::EndsWith("... (67108864 bytes)"),
                               testing::SizeIs(testing::Lt(20000U))));
}

TEST_F(EventLine, nonsense_is_no_event)
{
    Heard heard;
    for (const char *line : {"", "b", "bx", "b1x", "a", "a1 2", "a1 0 0 0 1 name", "a1 0 0 0 0 {",
                             "a-1 0 0 0 0 ", "{}", "{\"event\":\"unheard\"}", "c1"}) {
        SCOPED_TRACE(line);
        EXPECT_THROW(host::replay_event(kKey + std::string(line), kKey, heard), std::runtime_error);
    }
    for (const char *line : {"b1", "18 b1", "17b1"}) {
        EXPECT_THROW(host::replay_event(line, kKey, heard), std::runtime_error) << line;
    }
    EXPECT_TRUE(heard.befores.empty());
    EXPECT_TRUE(heard.afters.empty());
}

} // namespace
