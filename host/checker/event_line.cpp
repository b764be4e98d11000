#include "checker/event_line.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
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

// The events that come thousands of times have no JSON, but for a text.

constexpr char kBefore = 'b';
constexpr char kAfter = 'a';
/** As kAfter, with nothing to tell but the time. */
constexpr char kAccepted = 'o';

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
    Number number(int base = 10)
    {
        Number value{};
        const char *const line_end = m_line.data() + m_line.size();
        const auto [end, fault] = std::from_chars(m_line.data(), line_end, value, base);
        if (fault != std::errc() || (end != line_end && *end != ' ')) {
            throw std::runtime_error("the child process sent a malformed event: " +
                                     std::string(next()) + " is no number");
        }
        m_line.remove_prefix(static_cast<std::size_t>(end - m_line.data()) +
                             (end != line_end ? 1 : 0));
        return value;
    }

    std::string_view rest() const { return m_line; }

private:
    std::string_view m_line;
};

template <typename Number>
void add_number(std::string &line, Number number, int base)
{
    std::array<char, 24> digits; // Of a 64-bit number in any base from 10, and the blank.
    char *const end =
        std::to_chars(digits.data(), digits.data() + digits.size() - 1, number, base).ptr;
    *end = ' ';
    line.append(digits.data(), end + 1);
}

// A read is three words: its schema node, its side and extent, its place.
constexpr int kHex = 16;

void add_read(std::string &line, const engine::Read &read)
{
    add_number(line, read.node != nullptr ? read.node->number + 1U : 0, kHex);
    add_number(line,
               static_cast<unsigned int>(read.side) * engine::kReadExtents +
                   static_cast<unsigned int>(read.extent),
               kHex);
    add_number(line, read.place, kHex);
}

engine::Read take_read(Words &words)
{
    engine::Read read;
    const auto node = words.number<std::uint32_t>(kHex);
    const auto kind = words.number<unsigned int>(kHex);
    if (kind >= 2 * engine::kReadExtents) {
        throw std::runtime_error("the child process sent a malformed event: an unknown read");
    }
    read.node = node != 0 ? &engine::Framework::current().schema().node(node - 1) : nullptr;
    read.side = static_cast<engine::ReadSide>(kind / engine::kReadExtents);
    read.extent = static_cast<engine::ReadExtent>(kind % engine::kReadExtents);
    read.place = words.number<engine::PlaceId>(kHex);
    return read;
}

/** The texts of an answer: its own, and the paths of what was read, if they were asked for. */
Json texts_of(const engine::Answer &answer)
{
    Json texts = {bounded(answer.text)};
    for (const auto &read : answer.reads) {
        texts.push_back(read.path);
    }
    return texts;
}

void take_texts(const Json &texts, engine::Answer &answer)
{
    answer.text = texts.at(0);
    for (std::size_t i = 0; i < answer.reads.size(); ++i) {
        answer.reads[i].path = texts.at(i + 1);
    }
}

bool is_plain(const engine::Answer &answer)
{
    return answer.verdict == engine::Verdict::kAccepted && answer.result == CONFD_OK &&
           answer.text.empty() && answer.calls.empty() && !answer.is_logged;
}

void append_plain(std::string &line, std::size_t request, const engine::Answer &answer)
{
    line += kAccepted;
    add_number(line, request, 10);
    add_number(line, static_cast<std::int64_t>(answer.time.count()), 10);
    line.back() = '\n';
}

void append_line(std::string &line, std::size_t request, const engine::Answer &answer)
{
    line += kAfter;
    const auto add = [&line](auto number) { add_number(line, number, 10); };
    add(request);
    add(static_cast<int>(answer.verdict));
    add(answer.result);
    add(static_cast<std::int64_t>(answer.time.count()));
    add(answer.calls.size());
    for (const auto &[name, count] : answer.calls) {
        line.append(name).append(" ");
        add(count);
    }
    add(answer.is_logged ? answer.reads.size() + 1 : std::size_t{0});
    bool has_texts = !answer.text.empty();
    for (const auto &read : answer.reads) {
        add_read(line, read);
        has_texts = has_texts || !read.path.empty();
    }
    line += has_texts ? to_text(texts_of(answer)) + "\n" : "\n";
}

void replay_plain(Words words, AskingListener &listener)
{
    const auto request = words.number<std::size_t>();
    engine::Answer answer;
    answer.verdict = engine::Verdict::kAccepted;
    answer.result = CONFD_OK;
    answer.time = std::chrono::nanoseconds(words.number<std::int64_t>());
    if (!words.rest().empty()) {
        throw std::runtime_error("the child process sent a malformed event: it goes on");
    }
    listener.before(request);
    listener.after(request, answer);
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
    const auto reads = words.number<std::size_t>();
    answer.is_logged = reads > 0;
    for (auto left = reads; left > 1; --left) {
        answer.reads.push_back(take_read(words));
    }
    if (!words.rest().empty()) {
        take_texts(Json::parse(words.rest()), answer);
    }
    listener.before(request);
    listener.after(request, answer);
}

} // namespace

std::string make_event_key()
{
    return std::to_string(std::random_device()()) + " ";
}

EventWriter::EventWriter(int fd, std::string key, EventBoard &board)
    : m_fd(fd), m_key(std::move(key)), m_board(board)
{
}

void EventWriter::step(Step step)
{
    tell(to_text({{"event", "step"}, {"step", static_cast<int>(step)}}) + "\n");
}

void EventWriter::before(std::size_t request)
{
    m_request = request;
    if (!m_is_copy) {
        m_board.show_request(request);
    }
}

void EventWriter::after(std::size_t request, const engine::Answer &answer)
{
    m_request.reset();
    m_is_copy = m_mark.is_copy(); // It was made while the plug-in ran.
    if (!m_is_copy) {
        m_line = m_key;
        (is_plain(answer) ? append_plain : append_line)(m_line, request, answer);
        add(m_line);
    }
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
    const std::string where = m_request ? kBefore + std::to_string(*m_request) + "\n" + m_key : "";
    tell(where + to_text({{"event", "threw"}, {"exception", bounded(exception)}}) + "\n");
}

void EventWriter::answered()
{
    if (!m_is_copy) {
        m_board.show_no_request();
    }
    tell(to_text({{"event", "answered"}}) + "\n");
}

void EventWriter::ended()
{
    tell(to_text({{"event", "ended"}}) + "\n");
}

void EventWriter::tell(const std::string &line)
{
    if (!m_mark.is_copy()) {
        add(m_key + line);
        send();
    }
}

void EventWriter::add(const std::string &line)
{
    if (m_board.add(line)) {
        return;
    }
    send();
    if (!m_board.add(line)) {
        write_all(m_fd, line);
        m_board.note_sent(line.size());
    }
}

void EventWriter::send()
{
    write_all(m_fd, m_board.text());
    m_board.note_sent();
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
        if (!line.empty() && line.front() == kAccepted) {
            replay_plain(Words(line.substr(1)), listener);
        } else if (!line.empty() && line.front() == kAfter) {
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
