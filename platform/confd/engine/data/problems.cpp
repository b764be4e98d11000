#include "engine/data/problems.h"

#include "engine/data/allowed_values.h"
#include "engine/data/closest_name.h"
#include "engine/data/path.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <unordered_map>

namespace engine
{
namespace
{

/** Text between a marker and the closing quote, which one of `endings` follows. */
std::string quoted_after(const std::string &text, const std::string &marker)
{
    const auto found = text.find(marker);
    if (found == std::string::npos) {
        return {};
    }
    const auto begin = found + marker.size();
    // A key may hold quotes: only a quote before the next part or the end is the closing one.
    auto end = text.find("\", ", begin);
    if (end == std::string::npos) {
        end = text.rfind('"');
    }
    return text.substr(begin, end - begin);
}

/** The first name that libyang puts into quotes; empty when there is none. */
std::string quoted_name(const std::string &text)
{
    const auto begin = text.find('"') + 1;
    const auto end = begin != 0 ? text.find('"', begin) : std::string::npos;
    return end != std::string::npos ? text.substr(begin, end - begin) : "";
}

/** The schema node of a data path, whose keys do not matter; null at the root or when unknown. */
const SchemaNode *schema_of(const Schema &schema, const std::string &data_path)
{
    const auto path = brace_path(data_path);
    const SchemaNode *node = nullptr;
    std::size_t place = 0;
    while (place < path.size()) {
        const auto begin = place + 1;
        const auto end = std::min(path.find_first_of("/{", begin), path.size());
        const auto name = path.substr(begin, end - begin);
        node = node != nullptr ? node->child(name) : schema.top(name);
        if (node == nullptr) {
            return nullptr;
        }
        place = end;
        if (place < path.size() && path[place] == '{') {
            const auto close = path.find("}/", place);
            place = close != std::string::npos ? close + 1 : path.size();
        }
    }
    return node;
}

/** Only what was read from a file has a line; then a fault of a leaf is one of its value. */
std::string hint_for(const Schema &schema, const FaultLocation &location, Fault fault,
                     const std::string &message)
{
    if (location.line == 0) {
        return {};
    }
    if (location.data.empty()) {
        return root_hint(schema);
    }
    const auto *node = schema_of(schema, location.data);
    if (node == nullptr) {
        return {};
    }
    if (node->is_leaf() || node->is_leaf_list()) {
        return hint_of_values(*node);
    }
    if (fault == Fault::kUnknownNode) {
        return hint_of_names(*node, quoted_name(message));
    }
    // A node that holds no value has none of its own that could be wrong: it is an attribute's.
    return fault == Fault::kInvalidValue
               ? "nc:operation is one of merge, replace, create, delete, remove; "
                 "yang:insert one of first, last, before, after; yang:key is such as "
                 "[name='b']"
               : "";
}

} // namespace

FaultLocation read_location(const char *text)
{
    FaultLocation location;
    if (text == nullptr) {
        return location;
    }
    const std::string whole = text;
    location.data = quoted_after(whole, "ata location \"");
    location.schema = quoted_after(whole, "chema location \"");
    const std::string marker = "ine number ";
    const auto line = whole.rfind(marker);
    if (line != std::string::npos) {
        location.line =
            static_cast<unsigned>(std::strtoul(whole.c_str() + line + marker.size(), nullptr, 10));
    }
    return location;
}

std::string brace_path(const std::string &data_path)
{
    std::string path;
    std::size_t place = 0;
    while (place < data_path.size()) {
        if (data_path[place] == '[') {
            // [key='value'], with the other quote where the value has this one.
            const auto equals = data_path.find('=', place);
            if (equals == std::string::npos || equals + 1 >= data_path.size()) {
                return path + data_path.substr(place);
            }
            const auto close = data_path.find(std::string{data_path[equals + 1], ']'}, equals + 2);
            const auto value = data_path.substr(equals + 2, close - equals - 2);
            const bool more = !path.empty() && path.back() == '}';
            if (more) {
                path.back() = ' ';
            }
            path += (more ? "" : "{") + quote_key(value) + "}";
            place = close != std::string::npos ? close + 2 : data_path.size();
            continue;
        }
        const auto end = std::min(data_path.find_first_of("/[", place + 1), data_path.size());
        const auto step = data_path.substr(place, end - place);
        const auto colon = step.find(':');
        path += colon != std::string::npos ? "/" + step.substr(colon + 1) : step;
        place = end;
    }
    return path;
}

Fault fault_of(const ly_err_item &item)
{
    static const std::unordered_map<std::string_view, Fault> kByTag{
        {"instance-required", Fault::kDanglingReference}, {"data-not-unique", Fault::kNotUnique},
        {"must-violation", Fault::kConstraint},           {"missing-choice", Fault::kIncomplete},
        {"too-few-elements", Fault::kIncomplete},         {"too-many-elements", Fault::kTooMany}};
    const auto tagged = item.apptag != nullptr ? kByTag.find(item.apptag) : kByTag.end();
    if (tagged != kByTag.end()) {
        return tagged->second;
    }
    if (item.msg != nullptr && std::string_view(item.msg).rfind("Duplicate instance", 0) == 0) {
        return Fault::kDuplicate; // Only the text tells.
    }
    switch (item.vecode) {
    case LYVE_SYNTAX:
    case LYVE_SYNTAX_XML:
    case LYVE_SYNTAX_JSON:
        return Fault::kMalformed;
    case LYVE_REFERENCE:
        return Fault::kUnknownNode;
    case LYVE_DATA:
        // Only what is read from a text has a line; the data model's own rules come later.
        return read_location(item.path).line != 0 ? Fault::kInvalidValue : Fault::kInvalidData;
    default:
        return item.no == LY_EVALID ? Fault::kInvalidData : Fault::kInternal;
    }
}

Problem problem_of(const Schema &schema, const ly_err_item &item, const std::string &source_name)
{
    const auto location = read_location(item.path);
    Problem problem;
    problem.fault = fault_of(item);
    problem.source = source_name;
    problem.line = location.line;
    problem.path = brace_path(location.data.empty() ? location.schema : location.data);
    problem.message = item.msg != nullptr ? item.msg : "Invalid data";
    problem.hint = hint_for(schema, location, problem.fault, problem.message);
    problem.culprit = problem.fault == Fault::kIncomplete ? quoted_name(problem.message) : "";
    return problem;
}

std::vector<Problem> take_problems(const Schema &schema, const std::string &source_name)
{
    std::vector<Problem> problems;
    for (const auto *item = ly_err_first(schema.context()); item != nullptr; item = item->next) {
        if (item->level == LY_LLERR) {
            problems.push_back(problem_of(schema, *item, source_name));
        }
    }
    ly_err_clean(schema.context(), nullptr);
    if (problems.empty()) {
        problems.push_back(
            {Fault::kInternal, source_name, 0, "", "invalid data; libyang gave no reason", ""});
    }
    return problems;
}

std::string hint_of_values(const SchemaNode &leaf)
{
    const auto allowed = allowed_values(leaf.type_storage);
    return allowed.empty() ? "" : "allowed: " + allowed;
}

std::string hint_of_names(const SchemaNode &above, const std::string &written)
{
    std::vector<std::string> names;
    std::string list;
    for (const auto *child = above.first_child(); child != nullptr; child = child->next_sibling()) {
        names.push_back(child->name);
        list += (list.empty() ? "known here: " : ", ") + child->name;
    }
    const auto meant = did_you_mean(written, names);
    return meant + (meant.empty() || list.empty() ? "" : " ") + list;
}

std::string root_hint(const Schema &schema)
{
    const auto &name = schema.tops().front()->name;
    return "a configuration is <" + name + " xmlns=\"" + schema.module()->ns + "\">...</" + name +
           ">, or in JSON {\"" + schema.module()->name + ":" + name + "\": {...}}";
}

} // namespace engine
