/**
 * Writes docs/rules: a page for each rule, from its facts, the data model and the golden cases.
 *
 * Usage: rule_pages EXAMPLES OUTPUT
 *
 * A text that no golden case shows is an error: nobody has seen it then.
 */
#include "checker/model_schema.h"
#include "rules/rules.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace
{

namespace fs = std::filesystem;

/** A golden case of a rule. */
struct Case {
    std::string name;
    std::string why;
    std::string expected;
};

std::string read_file(const fs::path &path)
{
    std::ifstream in(path);
    if (!in) {
        throw std::runtime_error(path.filename().string() + " cannot be read in " +
                                 path.parent_path().filename().string());
    }
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<Case> cases_of(const fs::path &examples, const std::string &key)
{
    std::vector<Case> cases;
    for (const auto &entry : fs::directory_iterator(examples / key)) {
        if (entry.is_directory()) {
            cases.push_back({entry.path().filename().string(), read_file(entry.path() / "README"),
                             read_file(entry.path() / "expected.txt")});
        }
    }
    std::sort(cases.begin(), cases.end(),
              [](const Case &a, const Case &b) { return a.name < b.name; });
    return cases;
}

std::string outcome_of(const Case &golden)
{
    static const std::regex exit_line("exit ([0-9])\n$");
    std::smatch match;
    if (!std::regex_search(golden.expected, match, exit_line)) {
        throw std::runtime_error("expected.txt of " + golden.name + " has no exit line");
    }
    switch (match.str(1).front()) {
    case '0':
        return golden.expected.find(": warning: ") == std::string::npos ? "accepted" : "confirmed";
    case '1':
        return "rejected";
    case '2':
        return "asks";
    case '3':
        return "the data model refuses it";
    default:
        return "the plug-in dies";
    }
}

/** What an operator sees of a text: each line indented, and something in place of the braces. */
std::regex pattern_of(const std::string &text)
{
    static const std::regex special(R"([.^$|()\[\]*+?\\])");
    static const std::regex placeholder(R"(\{[a-z_]+\})");
    std::string pattern = std::regex_replace(text, special, "\\$&");
    pattern = std::regex_replace(pattern, placeholder, "[^\\n]*");
    return std::regex(std::regex_replace(pattern, std::regex("\n"), "\\n *"));
}

/** A line for each text of the rule that no case shows. */
std::string unseen_texts(const host::Rule &rule, const std::vector<Case> &cases)
{
    std::string lines;
    for (const auto &text : rule.texts) {
        const std::regex pattern = pattern_of(text.text);
        if (std::none_of(cases.begin(), cases.end(), [&](const Case &golden) {
                return std::regex_search(golden.expected, pattern);
            })) {
            lines += "\nno golden case of " + rule.key + " shows \"" + text.text + "\"";
        }
    }
    return lines;
}

void write_points(std::ostream &out, const engine::Schema &schema, const std::string &key)
{
    for (const auto &point : schema.points()) {
        if (point.opaque != key) {
            continue;
        }
        out << "- At `" << point.node->path() << "`, "
            << (point.once ? "once for the list" : "for each instance") << " (priority "
            << point.priority << "), when one of these changes:\n";
        for (const auto &dependency : point.dependencies) {
            out << "  - `" << dependency.target->path() << "`"
                << (dependency.common == nullptr ? ", whichever entry it belongs to" : "") << '\n';
        }
    }
}

void write_texts(std::ostream &out, const host::Rule &rule)
{
    for (const auto &text : rule.texts) {
        out << "```text\n" << text.text << "\n```\n\n" << text.resolve << "\n\n";
    }
}

std::string page_of(const host::Rule &rule, const engine::Schema &schema,
                    const std::vector<Case> &cases)
{
    std::ostringstream out;
    out << "<!-- Generated from host/rules/rules.json, the data model and examples/: do not edit. "
           "-->\n"
        << "# " << rule.key << "\n\n"
        << rule.guards << "\n\n"
        << rule.why << "\n\n## When it runs\n\n";
    write_points(out, schema, rule.key);
    out << "\n## What it reads\n\n" << rule.reads << "\n\n## Its texts\n\n";
    write_texts(out, rule);
    out << "## Cases\n\nIn `examples/" << rule.key
        << "`:\n\n| case | outcome | why |\n|---|---|---|\n";
    for (const auto &golden : cases) {
        std::string why = golden.why;
        why.erase(why.find_last_not_of('\n') + 1);
        std::replace(why.begin(), why.end(), '\n', ' ');
        out << "| " << golden.name << " | " << outcome_of(golden) << " | " << why << " |\n";
    }
    return out.str();
}

void write_file(const fs::path &path, const std::string &text)
{
    std::ofstream out(path);
    out << text;
    if (!out.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

void write_pages(const fs::path &examples, const fs::path &output)
{
    const auto schema = host::model_schema();
    fs::create_directories(output);
    std::ostringstream index;
    index << "<!-- Generated from host/rules/rules.json: do not edit. -->\n# The rules\n\n"
             "| key | what it guards |\n|---|---|\n";
    std::string unseen;
    for (const auto &rule : host::rules()) {
        const auto cases = cases_of(examples, rule.key);
        unseen += unseen_texts(rule, cases);
        write_file(output / (rule.key + ".md"), page_of(rule, *schema, cases));
        index << "| [" << rule.key << "](" << rule.key << ".md) | " << rule.guards << " |\n";
    }
    write_file(output / "README.md", index.str());
    if (!unseen.empty()) {
        throw std::runtime_error(unseen.substr(1));
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fputs("usage: rule_pages EXAMPLES OUTPUT\n", stderr);
        return 2;
    }
    try {
        write_pages(argv[1], argv[2]);
        return 0;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "rule_pages: %s\n", failure.what());
        return 1;
    }
}
