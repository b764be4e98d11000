#include "event_line.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <unistd.h>

namespace host
{
namespace
{

using Json = nlohmann::json;

/** A plug-in's text may be no UTF-8: what JSON cannot hold is replaced. */
void write_line(int fd, const Json &event)
{
    const std::string line = event.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
    std::size_t done = 0;
    while (done < line.size()) {
        const ssize_t written = write(fd, line.data() + done, line.size() - done);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            throw std::runtime_error(std::string("cannot report to the parent process: ") +
                                     std::strerror(errno));
        }
        done += static_cast<std::size_t>(written);
    }
}

Json to_json(const engine::Problem &problem)
{
    return {{"source", problem.source},
            {"line", problem.line},
            {"path", problem.path},
            {"message", problem.message},
            {"hint", problem.hint}};
}

engine::Problem to_problem(const Json &json)
{
    return {json.at("source"), json.at("line"), json.at("path"), json.at("message"),
            json.at("hint")};
}

engine::Answer to_answer(const Json &json)
{
    engine::Answer answer;
    answer.verdict = static_cast<engine::Verdict>(json.at("verdict").get<int>());
    answer.result = json.at("result");
    answer.text = json.at("text");
    answer.calls = json.at("calls").get<std::map<std::string, std::uint64_t>>();
    answer.time = std::chrono::nanoseconds(json.at("ns").get<std::int64_t>());
    return answer;
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
    } else if (kind == "before") {
        listener.before(event.at("request"));
    } else if (kind == "after") {
        listener.after(event.at("request"), to_answer(event));
    } else if (kind == "unusable") {
        listener.unusable(to_problems(event.at("problems")));
    } else if (kind == "threw") {
        listener.threw(event.at("exception"));
    } else if (kind == "ended") {
        listener.ended();
    } else {
        throw std::runtime_error("unknown event " + kind);
    }
}

} // namespace

void EventWriter::step(Step step)
{
    write_line(m_fd, {{"event", "step"}, {"step", static_cast<int>(step)}});
}

void EventWriter::before(std::size_t request)
{
    write_line(m_fd, {{"event", "before"}, {"request", request}});
}

void EventWriter::after(std::size_t request, const engine::Answer &answer)
{
    write_line(m_fd, {{"event", "after"},
                      {"request", request},
                      {"verdict", static_cast<int>(answer.verdict)},
                      {"result", answer.result},
                      {"text", answer.text},
                      {"calls", answer.calls},
                      {"ns", static_cast<std::int64_t>(answer.time.count())}});
}

void EventWriter::unusable(const std::vector<engine::Problem> &problems)
{
    Json array = Json::array();
    for (const auto &problem : problems) {
        array.push_back(to_json(problem));
    }
    write_line(m_fd, {{"event", "unusable"}, {"problems", array}});
}

void EventWriter::threw(const std::string &exception)
{
    write_line(m_fd, {{"event", "threw"}, {"exception", exception}});
}

void EventWriter::ended()
{
    write_line(m_fd, {{"event", "ended"}});
}

void replay_event(std::string_view line, AskingListener &listener)
{
    try {
        replay(Json::parse(line), listener);
    } catch (const Json::exception &failure) {
        throw std::runtime_error(std::string("the child process reported nonsense: ") +
                                 failure.what());
    }
}

} // namespace host
