#include "checker/event_line.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <iostream>
#include <random>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace host
{
namespace
{

using Json = nlohmann::json;

/** A plug-in's text may be no UTF-8: what JSON cannot hold is replaced. */
std::string to_text(const Json &json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/** Of a text without measure the beginning is told: whoever listens keeps all that is told. */
std::string bounded(const std::string &text)
{
    constexpr std::size_t kMaxText = 16384;
    return text.size() <= kMaxText
               ? text
               : text.substr(0, kMaxText) + "... (" + std::to_string(text.size()) + " bytes)";
}

void write_all(int fd, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(fd, text.data(), text.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            throw std::runtime_error(std::string("cannot report to the parent process: ") +
                                     std::strerror(errno));
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

Json to_json(const engine::Problem &problem)
{
    return {{"fault", static_cast<int>(problem.fault)},
            {"source", problem.source},
            {"line", problem.line},
            {"path", problem.path},
            {"message", problem.message},
            {"hint", problem.hint}};
}

engine::Problem to_problem(const Json &json)
{
    return {static_cast<engine::Fault>(json.at("fault").get<int>()),
            json.at("source"),
            json.at("line"),
            json.at("path"),
            json.at("message"),
            json.at("hint")};
}

std::vector<engine::Problem> to_problems(const Json &json)
{
    std::vector<engine::Problem> problems;
    for (const auto &problem : json) {
        problems.push_back(to_problem(problem));
    }
    return problems;
}

void replay(const Json &event, AskingListener &listener)
{
    const std::string kind = event.at("event");
    if (kind == "step") {
        listener.step(static_cast<Step>(event.at("step").get<int>()));
    } else if (kind == "unusable") {
        listener.unusable(to_problems(event.at("problems")));
    } else if (kind == "threw") {
        listener.threw(event.at("exception"));
    } else if (kind == "answered") {
        listener.answered();
    } else if (kind == "ended") {
        listener.ended();
    } else {
        throw std::runtime_error("unknown event " + kind);
    }
}

// The two events that come thousands of times have no JSON, but for a text.

constexpr char kBefore = 'b';
constexpr char kAfter = 'a';

/** Takes words off a line. */
class Words
{
public:
    explicit Words(std::string_view line) : m_line(line) {}

    std::string_view next()
    {
        const auto end = std::min(m_line.find(' '), m_line.size());
        const auto word = m_line.substr(0, end);
        m_line.remove_prefix(std::min(end + 1, m_line.size()));
        return word;
    }

    template <typename Number>
    Number number()
    {
        const auto word = next();
        Number value{};
        const auto [end, fault] = std::from_chars(word.data(), word.data() + word.size(), value);
        if (fault != std::errc() || end != word.data() + word.size()) {
            throw std::runtime_error(
                "the child process sent a malformed event: " + std::string(word) + " is no number");
        }
        return value;
    }

    std::string_view rest() const { return m_line; }

private:
    std::string_view m_line;
};

std::string line_of(std::size_t request, const engine::Answer &answer)
{
    std::string line(1, kAfter);
    const auto add = [&line](auto number) { line.append(std::to_string(number)).append(" "); };
    add(request);
    add(static_cast<int>(answer.verdict));
    add(answer.result);
    add(static_cast<std::int64_t>(answer.time.count()));
    add(answer.calls.size());
    for (const auto &[name, count] : answer.calls) {
        line.append(name).append(" ");
        add(count);
    }
    return line + (answer.text.empty() ? "" : to_text(bounded(answer.text))) + "\n";
}

void replay_after(Words words, AskingListener &listener)
{
    const auto request = words.number<std::size_t>();
    engine::Answer answer;
    answer.verdict = static_cast<engine::Verdict>(words.number<int>());
    answer.result = words.number<int>();
    answer.time = std::chrono::nanoseconds(words.number<std::int64_t>());
    for (auto left = words.number<std::size_t>(); left > 0; --left) {
        const std::string name(words.next());
        answer.calls[name] = words.number<std::uint64_t>();
    }
    if (!words.rest().empty()) {
        answer.text = Json::parse(words.rest());
    }
    listener.after(request, answer);
}

} // namespace

std::string make_event_key()
{
    std::random_device random;
    return std::to_string(random()) + "." + std::to_string(random()) + " ";
}

EventWriter::EventWriter(int fd, std::string key)
    : m_fd(fd), m_key(std::move(key)), m_owner(getpid())
{
}

EventWriter::~EventWriter()
{
    try {
        flush();
    } catch (const std::runtime_error &failure) {
        std::cerr << failure.what() << '\n';
    }
}

void EventWriter::step(Step step)
{
    tell(to_text({{"event", "step"}, {"step", static_cast<int>(step)}}) + "\n");
}

void EventWriter::before(std::size_t request)
{
    tell(kBefore + std::to_string(request) + "\n");
}

void EventWriter::after(std::size_t request, const engine::Answer &answer)
{
    m_pending += m_key + line_of(request, answer);
}

void EventWriter::unusable(const std::vector<engine::Problem> &problems)
{
    Json array = Json::array();
    for (const auto &problem : problems) {
        array.push_back(to_json(problem));
    }
    tell(to_text({{"event", "unusable"}, {"problems", array}}) + "\n");
}

void EventWriter::threw(const std::string &exception)
{
    tell(to_text({{"event", "threw"}, {"exception", bounded(exception)}}) + "\n");
}

void EventWriter::answered()
{
    tell(to_text({{"event", "answered"}}) + "\n");
}

void EventWriter::ended()
{
    tell(to_text({{"event", "ended"}}) + "\n");
}

void EventWriter::tell(const std::string &line)
{
    m_pending += m_key + line;
    flush();
}

void EventWriter::flush()
{
    const std::string lines = std::exchange(m_pending, {});
    if (getpid() == m_owner) {
        write_all(m_fd, lines);
    }
}

void replay_event(std::string_view line, std::string_view key, AskingListener &listener)
{
    if (!line.starts_with(key)) {
        throw std::runtime_error("the child process sent an event that is not of our making");
    }
    line.remove_prefix(key.size());
    if (!line.empty() && line.front() == kBefore) {
        listener.before(Words(line.substr(1)).number<std::size_t>());
        return;
    }
    try {
        if (!line.empty() && line.front() == kAfter) {
            replay_after(Words(line.substr(1)), listener);
        } else {
            replay(Json::parse(line), listener);
        }
    } catch (const Json::exception &failure) {
        throw std::runtime_error(std::string("the child process sent a malformed event: ") +
                                 failure.what());
    }
}

} // namespace host
