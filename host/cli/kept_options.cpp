#include "cli/bundle_check.h"

#include <utility>

namespace host
{
namespace
{

using Json = nlohmann::ordered_json;

constexpr std::pair<const char *, bool CheckOptions::*> kFlags[] = {
    {"skip-foreign", &CheckOptions::skip_foreign},
    {"in-turn", &CheckOptions::in_turn},
    {"warnings-as-errors", &CheckOptions::warnings_as_errors},
    {"all", &CheckOptions::all},
    {"diff", &CheckOptions::differences},
    {"new-only", &CheckOptions::new_only},
    {"check-running", &CheckOptions::check_running},
    {"no-reuse", &CheckOptions::no_reuse}};

constexpr std::pair<const char *, std::string CheckOptions::*> kTexts[] = {
    {"running", &CheckOptions::running},
    {"edits", &CheckOptions::edits_from},
    {"candidate", &CheckOptions::candidate},
    {"default-operation", &CheckOptions::default_operation},
    {"card", &CheckOptions::card},
    {"shown", &CheckOptions::shown}};

constexpr std::pair<const char *, std::vector<std::string> CheckOptions::*> kLists[] = {
    {"edit", &CheckOptions::edits},
    {"yes-rules", &CheckOptions::confirmed_rules},
    {"rule", &CheckOptions::rule}};

} // namespace

Json json_options(const CheckOptions &options)
{
    Json json;
    for (const auto &[name, member] : kFlags) {
        json[name] = options.*member;
    }
    for (const auto &[name, member] : kTexts) {
        json[name] = options.*member;
    }
    for (const auto &[name, member] : kLists) {
        json[name] = options.*member;
    }
    json["answer"] = options.answer ? Json(*options.answer) : Json();
    json["timeout"] = options.timeout.count();
    return json;
}

CheckOptions read_options(const nlohmann::json &json)
{
    CheckOptions options;
    for (const auto &[name, member] : kFlags) {
        options.*member = json.at(name).get<bool>();
    }
    for (const auto &[name, member] : kTexts) {
        options.*member = json.at(name).get<std::string>();
    }
    for (const auto &[name, member] : kLists) {
        options.*member = json.at(name).get<std::vector<std::string>>();
    }
    if (!json.at("answer").is_null()) {
        options.answer = json.at("answer").get<bool>();
    }
    options.timeout = std::chrono::seconds(json.at("timeout").get<int>());
    return options;
}

} // namespace host
