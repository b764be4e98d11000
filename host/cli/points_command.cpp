#include "cli/points_command.h"

#include "checker/model_schema.h"
#include "checker/outcome.h"
#include "cli/usage_error.h"
#include "report/report_json.h"
#include "rules/rules.h"

#include <algorithm>
#include <ostream>
#include <sstream>
#include <vector>

namespace host
{
namespace
{

using Json = nlohmann::ordered_json;

/** A key with its places in the model. */
struct KeyPoints {
    std::string key;
    std::vector<const engine::ValidationPoint *> points;
};

/** The plug-in's keys in its order, then what else the model has. */
std::vector<KeyPoints> group_by_key(const engine::Schema &schema)
{
    std::vector<KeyPoints> groups;
    groups.reserve(rules().size());
    for (const auto &rule : rules()) {
        groups.push_back({rule.key, {}});
    }
    for (const auto &point : schema.points()) {
        auto group = std::find_if(groups.begin(), groups.end(), [&](const KeyPoints &known) {
            return known.key == point.opaque;
        });
        if (group == groups.end()) {
            group = groups.insert(group, {point.opaque, {}});
        }
        group->points.push_back(&point);
    }
    return groups;
}

const char *asked(const engine::ValidationPoint &point)
{
    return point.once ? "once" : "each";
}

std::string reach_of(const engine::ValidationPoint &point, const engine::Dependency &dependency)
{
    const auto *shared = engine::shared_by(point, dependency);
    if (shared == nullptr) {
        return "reaches all instances";
    }
    if (shared == point.node) {
        return "reaches that instance";
    }
    return "reaches the instances in the same " + shared->path();
}

void print_point(std::ostream &out, const engine::ValidationPoint &point)
{
    out << "    " << point.node->path() << "  (" << asked(point) << ", priority " << point.priority
        << ")\n";
}

void print_point_in_detail(std::ostream &out, const engine::ValidationPoint &point)
{
    out << '\n' << point.node->path() << '\n';
    if (!point.description.empty()) {
        out << "  " << point.description << '\n';
    }
    out << "  asked     "
        << (point.once ? "once for the whole list" : "for each instance that a change reaches")
        << "\n  priority  " << point.priority << '\n';
    if (point.dependencies.empty()) {
        out << "  at every commit\n";
        return;
    }
    out << "  when one of these changes:\n";
    for (const auto &dependency : point.dependencies) {
        out << "    " << dependency.target->path() << "  (" << reach_of(point, dependency) << ")\n";
    }
}

Json json_of(const engine::ValidationPoint &point)
{
    Json dependencies = Json::array();
    for (const auto &dependency : point.dependencies) {
        Json json{{"path", dependency.target->path()}};
        const auto *shared = engine::shared_by(point, dependency);
        json["within"] = shared != nullptr ? Json(shared->path()) : Json();
        dependencies.push_back(json);
    }
    return {{"path", point.node->path()},
            {"asked", asked(point)},
            {"priority", point.priority},
            {"dependencies", dependencies}};
}

Json json_of(const KeyPoints &group)
{
    Json points = Json::array();
    for (const auto *point : group.points) {
        points.push_back(json_of(*point));
    }
    const Rule *rule = find_rule(group.key);
    Json texts = Json::array();
    for (const auto &text : rule != nullptr ? rule->texts : std::vector<RuleText>()) {
        texts.push_back({{"text", text.text}, {"resolve", text.resolve}});
    }
    return {{"key", group.key},
            {"guards", rule != nullptr ? rule->guards : ""},
            {"points", points},
            {"texts", texts}};
}

void print_all(std::ostream &out, const std::vector<KeyPoints> &groups)
{
    for (const auto &group : groups) {
        const Rule *rule = find_rule(group.key);
        out << group.key << "\n  " << (rule != nullptr ? rule->guards : "") << '\n';
        for (const auto *point : group.points) {
            print_point(out, *point);
        }
    }
}

/** Each text that the operator may read, and what he can do then. */
void print_texts(std::ostream &out, const Rule &rule)
{
    out << "\nTexts:\n";
    for (const auto &text : rule.texts) {
        std::istringstream lines(text.text);
        for (std::string line; std::getline(lines, line);) {
            out << "  " << line << '\n';
        }
        out << "    " << text.resolve << '\n';
    }
}

void print_one(std::ostream &out, const KeyPoints &group)
{
    const Rule *rule = find_rule(group.key);
    out << group.key << ": " << (rule != nullptr ? rule->guards : "") << '\n';
    if (rule != nullptr) {
        out << rule->why << "\nReads: " << rule->reads << '\n';
    }
    for (const auto *point : group.points) {
        print_point_in_detail(out, *point);
    }
    if (rule != nullptr) {
        print_texts(out, *rule);
    }
}

int points_of_key(const std::vector<KeyPoints> &groups, const PointsOptions &options,
                  const Console &console)
{
    const auto group = std::find_if(groups.begin(), groups.end(), [&](const KeyPoints &known) {
        return known.key == options.key;
    });
    if (group == groups.end()) {
        return report_usage_error(unknown_rule(options.key), options.json, console);
    }
    if (options.json) {
        console.out << print_json(json_of(*group), console.out_is_terminal);
    } else {
        print_one(console.out, *group);
    }
    flush_or_throw(console.out);
    return 0;
}

} // namespace

int run_points(const PointsOptions &options, const Console &console)
{
    const auto schema = model_schema();
    const auto groups = group_by_key(*schema);
    if (!options.key.empty()) {
        return points_of_key(groups, options, console);
    }
    if (options.json) {
        Json json = Json::array();
        for (const auto &group : groups) {
            json.push_back(json_of(group));
        }
        console.out << print_json(json, console.out_is_terminal);
    } else {
        print_all(console.out, groups);
    }
    flush_or_throw(console.out);
    return 0;
}

} // namespace host
