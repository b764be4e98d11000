/** The states of confirmed commits, as scripts. */
#include "twin/confirmed_commit.h"

#include <gmock/gmock.h>

#include <sstream>
#include <vector>

using namespace host::twin;

namespace
{

/** Session 1 and 2, seconds on a clock, commits counted from 10. */
class Script
{
public:
    /**
     * Words: session, then `commit`, `confirmed`, `cancel` or `end`, or `at` and the time; then
     * timeout=, persist= and persist-id=.
     * @return The event, what it goes back to, or the error's tag.
     */
    std::string run(const std::string &line)
    {
        std::istringstream stream(line);
        std::string verb;
        long number = 0;
        if (line.compare(0, 3, "at ") == 0) {
            stream >> verb >> number;
            m_now = start() + std::chrono::seconds(number);
            return told(m_commit.expire(m_now));
        }
        stream >> number >> verb;
        const auto session = static_cast<std::uint32_t>(number);
        const auto request = read(stream, verb == "confirmed");
        if (verb == "end") {
            return told(m_commit.session_ended(session));
        }
        if (verb == "cancel") {
            const auto refusal = m_commit.refuse_cancel(request.persist_id, session);
            return refusal ? refusal->error_tag : told(m_commit.cancel());
        }
        if (const auto refusal = m_commit.refuse(request, session)) {
            return refusal->error_tag;
        }
        const Author author{"eve", "operator", session, "ssh", ""};
        const auto pending = m_commit.after(request, author, m_last);
        const auto event = m_commit.committed(request, author, m_last++, m_now);
        EXPECT_EQ(pending.has_value(), m_commit.pending().has_value());
        return event ? name_of(*event) : "";
    }

private:
    static ConfirmedCommit::Clock::time_point start()
    {
        return ConfirmedCommit::Clock::time_point{} + std::chrono::hours(1);
    }

    static CommitRequest read(std::istringstream &stream, bool confirmed)
    {
        CommitRequest request;
        request.confirmed = confirmed;
        for (std::string word; stream >> word;) {
            const auto value = word.substr(word.find('=') + 1);
            if (word.rfind("timeout=", 0) == 0) {
                request.timeout = std::chrono::seconds(std::stol(value));
            } else {
                (word.rfind("persist=", 0) == 0 ? request.persist : request.persist_id) = value;
            }
        }
        return request;
    }

    static std::string told(const std::optional<Reversal> &reversal)
    {
        return reversal ? std::string(name_of(reversal->event)) + " to " +
                              std::to_string(reversal->restores)
                        : "";
    }

    ConfirmedCommit m_commit;
    CommitNumber m_last = 10;
    ConfirmedCommit::Clock::time_point m_now = start();
};

TEST(ConfirmedCommit, FollowsItsScripts)
{
    using Lines = std::vector<std::pair<const char *, const char *>>;
    const std::pair<const char *, Lines> scripts[] = {
        {"an ordinary commit", {{"1 commit", ""}, {"at 9999", ""}, {"1 end", ""}}},
        {"confirmed", {{"1 confirmed", "start"}, {"1 commit", "complete"}, {"at 9999", ""}}},
        {"timeout of ten minutes",
         {{"1 confirmed", "start"}, {"at 599", ""}, {"at 600", "timeout to 10"}, {"1 commit", ""}}},
        {"timeout of its own", {{"1 confirmed timeout=5", "start"}, {"at 5", "timeout to 10"}}},
        {"extended, and back to the first",
         {{"1 confirmed timeout=5", "start"},
          {"at 4", ""},
          {"1 confirmed timeout=60", "extend"},
          {"at 63", ""},
          {"at 64", "timeout to 10"}}},
        {"a second one begins anew",
         {{"1 confirmed", "start"},
          {"1 commit", "complete"},
          {"1 confirmed", "start"},
          {"1 cancel", "cancel to 12"}}},
        {"the session ends", {{"1 confirmed", "start"}, {"2 end", ""}, {"1 end", "cancel to 10"}}},
        {"another session",
         {{"1 confirmed", "start"},
          {"2 commit", "in-use"},
          {"2 confirmed", "in-use"},
          {"2 cancel", "in-use"},
          {"2 commit persist-id=x", "invalid-value"},
          {"2 cancel persist-id=x", "invalid-value"},
          {"1 cancel", "cancel to 10"},
          {"2 commit", ""}}},
        {"persistent",
         {{"1 confirmed persist=x", "start"},
          {"1 end", ""},
          {"2 commit", "in-use"},
          {"1 commit", "in-use"},
          {"2 commit persist-id=y", "invalid-value"},
          {"2 confirmed persist-id=x timeout=5", "extend"},
          {"2 end", ""},
          {"3 commit persist-id=x", "complete"}}},
        {"persistent, timeout", {{"1 confirmed persist=x", "start"}, {"at 600", "timeout to 10"}}},
        {"persistent, cancelled by another",
         {{"1 confirmed persist=x", "start"},
          {"2 cancel", "in-use"},
          {"2 cancel persist-id=y", "invalid-value"},
          {"2 cancel persist-id=x", "cancel to 10"}}},
        {"made persistent later",
         {{"1 confirmed", "start"}, {"1 confirmed persist=x", "extend"}, {"1 end", ""}}},
        {"given another persist-id",
         {{"1 confirmed persist=x", "start"},
          {"1 confirmed persist=y persist-id=x", "extend"},
          {"1 commit persist-id=x", "invalid-value"},
          {"1 commit persist-id=y", "complete"}}},
        {"nothing to confirm or cancel",
         {{"1 cancel", "operation-failed"},
          {"1 cancel persist-id=x", "invalid-value"},
          {"1 commit persist-id=x", "invalid-value"}}},
        {"nonsense",
         {{"1 commit persist=x", "bad-element"}, {"1 confirmed timeout=0", "invalid-value"}}}};
    for (const auto &[name, lines] : scripts) {
        Script script;
        for (const auto &[line, result] : lines) {
            EXPECT_EQ(script.run(line), result) << name << ": " << line;
        }
    }
}

} // namespace
