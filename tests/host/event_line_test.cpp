#include "checker/event_line.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

constexpr const char *kKey = "17 ";

struct Nobody : host::AskingListener {
    void step(host::Step) override { FAIL(); }
    void before(std::size_t) override { FAIL(); }
    void after(std::size_t, const engine::Answer &) override { FAIL(); }
    void unusable(const std::vector<engine::Problem> &) override { FAIL(); }
    void threw(const std::string &) override { FAIL(); }
    void answered() override { FAIL(); }
    void ended() override { FAIL(); }
};

TEST(EventLine, RefusesAMalformedEvent)
{
    Nobody nobody;
    for (const char *line :
         {"", "b", "bx", "b1x", "a", "a1 2", "a1 0 0 0 1 name", "a1 0 0 0 0 {", "a-1 0 0 0 0 ", "o",
          "o1", "o1 x", "o1 2 3", "{}", "{\"event\":\"unheard\"}", "c1"}) {
        EXPECT_THROW(host::replay_event(kKey + std::string(line), kKey, nobody), std::runtime_error)
            << line;
    }
    for (const char *line : {"b1", "18 b1", "17b1"}) {
        EXPECT_THROW(host::replay_event(line, kKey, nobody), std::runtime_error) << line;
    }
}

} // namespace
