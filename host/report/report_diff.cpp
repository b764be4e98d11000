#include "report/report_diff.h"

#include "engine/data/path.h"
#include "report/printable.h"

#include <ostream>
#include <utility>

namespace host
{
namespace
{

using Json = nlohmann::ordered_json;
using Kind = Difference::Kind;
using Differences = std::vector<Difference>;

char mark_of(Kind kind)
{
    switch (kind) {
    case Kind::kCreated:
        return '+';
    case Kind::kDeleted:
        return '-';
    case Kind::kChanged:
    case Kind::kMoved:
        return '~';
    case Kind::kInside:
        break;
    }
    return ' ';
}

std::string painted(Kind kind, const std::string &line, const Style &style)
{
    switch (kind) {
    case Kind::kCreated:
        return style.good(line);
    case Kind::kDeleted:
        return style.bad(line);
    case Kind::kChanged:
    case Kind::kMoved:
        return style.warning(line);
    case Kind::kInside:
        break;
    }
    return line;
}

std::string joined(const std::vector<std::string> &values)
{
    std::string text;
    for (const auto &value : values) {
        text += (text.empty() ? "" : ", ") + engine::quote_key(value);
    }
    return text;
}

std::string value_text(const Difference &difference)
{
    std::string text;
    if (difference.kind == Kind::kMoved) {
        text = difference.behind.empty() ? " moved to the front"
                                         : " moved behind " + difference.behind;
    }
    if (!difference.before.empty()) {
        text += ": " + joined(difference.before);
    }
    if (!difference.after.empty()) {
        text += (difference.before.empty() ? ": " : " \u2192 ") + joined(difference.after);
    }
    return text + (difference.is_default ? " (default)" : "");
}

/** Whether nothing is to be said of the node but what is below it, in one place. An entry that came
 *  or went is worth a line. */
bool is_way(const Difference &difference)
{
    const bool may_be = difference.kind == Kind::kInside || difference.step.back() != '}';
    return may_be && difference.below.size() == 1 &&
           difference.below.front().kind == difference.kind &&
           !difference.below.front().below.empty();
}

void print(std::ostream &out, const Differences &differences, std::size_t depth, const Style &style)
{
    for (const auto &first : differences) {
        const Difference *last = &first;
        std::string steps = (depth == 0 ? "/" : "") + first.step;
        for (; is_way(*last); last = &last->below.front()) {
            steps += "/" + last->below.front().step;
        }
        const std::string line = mark_of(last->kind) + std::string(1 + 2 * depth, ' ') +
                                 printable(steps + value_text(*last));
        out << painted(last->kind, line, style) << '\n';
        print(out, last->below, depth + 1, style);
    }
}

const char *word_for(Kind kind)
{
    switch (kind) {
    case Kind::kCreated:
        return "created";
    case Kind::kDeleted:
        return "deleted";
    case Kind::kMoved:
        return "moved";
    case Kind::kChanged:
    case Kind::kInside:
        break;
    }
    return "changed";
}

void add(const Differences &differences, const std::string &above, Json &array)
{
    for (const auto &difference : differences) {
        const auto path = above + "/" + difference.step;
        if (difference.kind != Kind::kInside) {
            Json json{{"path", path}, {"operation", word_for(difference.kind)}};
            for (const auto &[name, values] :
                 {std::pair{"before", &difference.before}, std::pair{"after", &difference.after}}) {
                if (!values->empty()) {
                    json[name] = difference.is_leaf_list ? Json(*values) : Json(values->front());
                }
            }
            if (difference.kind == Kind::kMoved) {
                json["behind"] =
                    difference.behind.empty() ? Json() : Json(above + "/" + difference.behind);
            }
            json["secret"] = difference.is_secret;
            json["default"] = difference.is_default;
            array.push_back(std::move(json));
        }
        add(difference.below, path, array);
    }
}

} // namespace

void print_differences(std::ostream &out, const Differences &differences, const Style &style)
{
    if (differences.empty()) {
        out << "The configurations are equal.\n";
        return;
    }
    print(out, differences, 0, style);
    const auto counts = count(differences);
    const char *separator = "";
    for (const auto &[number, word] :
         {std::pair{counts.created, "created"}, std::pair{counts.deleted, "deleted"},
          std::pair{counts.changed, "changed"}, std::pair{counts.moved, "moved"}}) {
        if (number != 0) {
            out << separator << number << ' ' << word;
            separator = ", ";
        }
    }
    out << ".\n";
}

void print_contents(std::ostream &out, const Differences &contents, const Style &style)
{
    print(out, contents, 0, style);
}

Json json_differences(const Differences &differences)
{
    Json array = Json::array();
    add(differences, "", array);
    return array;
}

} // namespace host
