#include "shell/show.h"

#include "checker/difference.h"
#include "engine/data/changes.h"
#include "engine/data/closest_name.h"
#include "engine/data/path.h"
#include "engine/data/print_tree.h"
#include "report/printable.h"
#include "report/report_diff.h"
#include "shell/commands_text.h"
#include "twin/masking.h"

#include <algorithm>
#include <memory>
#include <sstream>

namespace host::shell
{
namespace
{

using engine::Change;
using Form = ShowRequest::Form;

struct FreeTree {
    void operator()(lyd_node *tree) const { lyd_free_all(tree); }
};
using Tree = std::unique_ptr<lyd_node, FreeTree>;

void require(LY_ERR result)
{
    if (result != LY_SUCCESS) {
        throw std::runtime_error("the configuration cannot be copied");
    }
}

/** A tree of these nodes with what stands above them. */
Tree copy_of(const std::vector<const lyd_node *> &nodes)
{
    Tree tree;
    lyd_node *parent = nullptr; // Of the last copy.
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const bool has_parent = i > 0 && lyd_parent(nodes[i]) == lyd_parent(nodes[i - 1]);
        const std::uint32_t flags = LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS |
                                    (has_parent ? 0U : static_cast<unsigned>(LYD_DUP_WITH_PARENTS));
        lyd_node *top = nullptr;
        auto *into = reinterpret_cast<lyd_node_inner *>(has_parent ? parent : nullptr);
        require(lyd_dup_single(nodes[i], into, flags, &top));
        parent = lyd_parent(top);
        for (; lyd_parent(top) != nullptr; top = lyd_parent(top)) {
        }
        if (tree == nullptr) {
            tree.reset(top);
        } else if (top != tree.get()) {
            lyd_node *whole = tree.release();
            const LY_ERR merged = lyd_merge_tree(&whole, top, 0);
            tree.reset(whole);
            lyd_free_tree(top);
            require(merged);
            parent = nullptr;
        }
    }
    return tree;
}

std::string printed(const engine::Datastore &data, const std::vector<const lyd_node *> &nodes,
                    const ShowRequest &request)
{
    const Tree tree = copy_of(nodes);
    if (!request.shows_secrets) {
        twin::Masking(data.schema()).mask(tree.get());
    }
    return engine::print_tree(tree.get(), request.form == Form::kJson ? LYD_JSON : LYD_XML,
                              engine::Siblings::kLeftOut, 0);
}

std::string joined(const Words &lines)
{
    std::string text;
    for (const auto &line : lines) {
        text += line + "\n";
    }
    return text;
}

/** Differences at and below the path, and how they lie in the whole. */
std::vector<Change> below(std::vector<Change> changes, const PathSteps &steps)
{
    std::vector<Change> *level = &changes;
    for (const auto &step : steps) {
        std::vector<Change> kept;
        for (auto &change : *level) {
            const bool is_on_way =
                change.schema == step.node &&
                (step.keys.empty() || step.keys == engine::key_texts(change.node()));
            if (is_on_way) {
                kept.push_back(std::move(change));
            }
        }
        *level = std::move(kept);
        if (level->size() != 1 || level->front().children.empty()) {
            break;
        }
        level = &level->front().children;
    }
    return changes;
}

std::string compare(const Session &session, const ShowRequest &request, const Style &style)
{
    const auto changes =
        below(engine::compare(session.running(), session.candidate()), request.steps);
    if (request.form == Form::kCommands) {
        Words commands;
        add_commands(changes, request.shows_secrets ? Secrets::kShown : Secrets::kMasked, commands);
        return joined(commands);
    }
    const auto differences = differences_of(changes);
    if (request.form == Form::kJson) {
        return json_differences(differences).dump(2) + "\n";
    }
    std::ostringstream out;
    print_differences(out, differences, style);
    return out.str();
}

std::string contents(const Session &session, const std::vector<const lyd_node *> &nodes,
                     const ShowRequest &request, const Style &style)
{
    if (request.form == Form::kXml || request.form == Form::kJson) {
        return printed(session.candidate(), nodes, request);
    }
    if (request.form == Form::kCommands) {
        Words commands;
        for (const auto *node : nodes) {
            add_commands(node, request.shows_secrets ? Secrets::kShown : Secrets::kMasked,
                         commands);
        }
        return joined(commands);
    }
    std::vector<Difference> tree;
    for (const auto *node : nodes) {
        tree.push_back(contents_of(node, request.shows_secrets));
        tree.back().step = engine::path_text(node).substr(1);
        if (engine::Schema::of(node)->is_leaf_list()) {
            break; // It tells all values.
        }
    }
    std::ostringstream out;
    print_contents(out, tree, style);
    return out.str();
}

bool holds_all(const std::string &line, const Words &words)
{
    for (const auto &word : words) {
        if (line.find(word) == std::string::npos) {
            return false;
        }
    }
    return true;
}

std::string matching(const std::string &text, const Words &words)
{
    std::string out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        out += holds_all(line, words) ? line + "\n" : "";
    }
    return out;
}

void take_form(ShowRequest &request, Form form)
{
    if (request.form != Form::kTree) {
        throw CommandError("one form at a time: xml, json or commands");
    }
    request.form = form;
}

void take_filter(ShowRequest &request, const Words &filter)
{
    const std::string name = filter.empty() ? "" : filter.front();
    if (filter.size() != (name == "match" ? 2 : 1)) {
        throw CommandError(name.empty()      ? "a filter stands behind |"
                           : name == "match" ? "match needs one word"
                                             : name + " takes no words");
    }
    if (name == "compare") {
        request.compares = true;
    } else if (name == "xml") {
        take_form(request, Form::kXml);
    } else if (name == "json") {
        take_form(request, Form::kJson);
    } else if (name == "commands") {
        take_form(request, Form::kCommands);
    } else if (name == "secrets") {
        request.shows_secrets = true;
    } else if (name == "count") {
        request.counts = true;
    } else if (name == "match") {
        request.matches.push_back(filter[1]);
    } else {
        Words known;
        for (const auto &word : filter_words()) {
            known.emplace_back(word.name);
        }
        throw CommandError(name + " is no filter", engine::did_you_mean(name, known));
    }
}

} // namespace

const std::vector<FilterWord> &filter_words()
{
    static const std::vector<FilterWord> words{
        {"compare", "What is different from the running configuration"},
        {"xml", "As XML"},
        {"json", "As JSON"},
        {"commands", "As the commands that make it"},
        {"match", "Lines that hold a word"},
        {"count", "How many lines, or entries of a list"},
        {"secrets", "With passwords, which are *** otherwise"}};
    return words;
}

ShowRequest read_show(const engine::Schema &schema, const PathSteps &base, const CommandLine &line)
{
    ShowRequest request;
    request.steps = read_path(schema, base, Words(line.words.begin() + 1, line.words.end()));
    require_keys(request.steps, true);
    for (const auto &filter : line.filters) {
        take_filter(request, filter);
    }
    if (request.compares && request.form == Form::kXml) {
        throw CommandError("a difference is shown as a tree, json or commands");
    }
    return request;
}

std::string show(const Session &session, const ShowRequest &request, const Style &style)
{
    std::string text;
    std::size_t entries = 0;
    if (request.compares) {
        text = compare(session, request, style);
    } else {
        std::vector<const lyd_node *> nodes;
        for (const auto &steps : expanded(request.steps)) {
            const auto found = find_nodes(session.candidate(), steps);
            nodes.insert(nodes.end(), found.begin(), found.end());
        }
        entries = nodes.size();
        const bool is_count_of_entries = request.counts && request.matches.empty() &&
                                         request.steps.back().node->is_list() &&
                                         request.steps.back().keys.empty();
        if (is_count_of_entries) {
            return "Count: " + std::to_string(entries) + (entries == 1 ? " entry\n" : " entries\n");
        }
        text = nodes.empty() ? "" : contents(session, nodes, request, style);
        if (text.empty() && !request.counts) {
            return "There is nothing.\n";
        }
    }
    text = request.matches.empty() ? text : matching(text, request.matches);
    if (request.counts) {
        const auto lines = std::count(text.begin(), text.end(), '\n');
        return "Count: " + std::to_string(lines) + (lines == 1 ? " line\n" : " lines\n");
    }
    return request.form == Form::kTree || !request.for_terminal ? text : printable_lines(text);
}

} // namespace host::shell
