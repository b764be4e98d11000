#include "checker/task_line.h"

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace host
{
namespace
{

using Json = nlohmann::json;

/** In libyang's own notation; empty for what is above the top. */
std::string path_of(const lyd_node *node)
{
    if (node == nullptr) {
        return "";
    }
    const std::unique_ptr<char, decltype(&std::free)> path(lyd_path(node, LYD_PATH_STD, nullptr, 0),
                                                           std::free);
    if (!path) {
        throw std::bad_alloc();
    }
    return path.get();
}

const lyd_node *find(const lyd_node *root, const std::string &path)
{
    lyd_node *node = nullptr;
    if (!path.empty() && lyd_find_path(root, path.c_str(), 0, &node) != LY_SUCCESS) {
        throw std::runtime_error("the candidate of the child process has no " + path);
    }
    return node;
}

} // namespace

Task task_of(const Questions &questions, const Change &change, bool commits)
{
    Task task{commits, change, questions.all, {}};
    const auto &points = questions.transaction.candidate().schema().points();
    for (const auto &request : questions.requests) {
        task.requests.emplace_back(request.point - points.data(), path_of(request.instance));
    }
    return task;
}

std::string line_of(const Task &task)
{
    const Json json{{"commits", task.commits},
                    {"form", static_cast<int>(task.change.form)},
                    {"name", task.change.source.name},
                    {"text", task.change.source.text},
                    {"skip-foreign", task.change.source.reading.skip_foreign},
                    {"default-operation", task.change.source.reading.default_operation},
                    {"all", task.all},
                    {"requests", task.requests}};
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

Task read_task(std::string_view line)
{
    try {
        const Json json = Json::parse(line);
        return {json.at("commits"),
                {static_cast<ChangeForm>(json.at("form").get<int>()),
                 {json.at("name"),
                  json.at("text"),
                  {json.at("skip-foreign"), json.at("default-operation")}}},
                json.at("all"),
                json.at("requests").get<decltype(Task::requests)>()};
    } catch (const Json::exception &failure) {
        throw std::runtime_error(std::string("malformed task: ") + failure.what());
    }
}

std::vector<engine::Request> requests_of(const Task &task, const engine::Transaction &transaction)
{
    const auto &candidate = transaction.candidate();
    std::vector<engine::Request> requests;
    for (const auto &[point, path] : task.requests) {
        requests.push_back(
            {&candidate.schema().points().at(point), find(candidate.root(), path), ""});
    }
    return requests;
}

} // namespace host
