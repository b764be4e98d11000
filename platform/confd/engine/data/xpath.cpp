#include "engine/data/xpath.h"

#include "engine/data/error.h"
#include "engine/schema/yang_log.h"

#include <memory>
#include <optional>
#include <string_view>

namespace engine
{
namespace
{

/** libyang's answer to an expression that is in order but gives no node set. */
constexpr LY_ERR kNoNodeSet = LY_EINVAL;

[[noreturn]] void fail(const std::string &expression, const std::string &reason)
{
    throw Error(CONFD_ERR_XPATH, "XPath " + expression + ": " + reason);
}

/** What libyang said last, which it then forgets. */
std::string take_message(ly_ctx *context)
{
    const char *text = ly_errmsg(context);
    std::string message = text != nullptr ? text : "cannot be evaluated";
    ly_err_clean(context, nullptr);
    return message;
}

/** Nodes of an expression; nothing when it gives something else. */
std::optional<std::vector<const lyd_node *>>
try_select(const Datastore &tree, const lyd_node *context, const std::string &expression)
{
    if (tree.root() == nullptr) {
        return std::vector<const lyd_node *>{};
    }
    ly_set *raw = nullptr;
    const LY_ERR result = lyd_find_xpath4(context, tree.root(), expression.c_str(), LY_VALUE_JSON,
                                          nullptr, nullptr, &raw);
    const auto free_set = [](ly_set *each) { ly_set_free(each, nullptr); };
    const std::unique_ptr<ly_set, decltype(free_set)> set(raw, free_set);
    require_memory(result);
    if (result == LY_SUCCESS) {
        return std::vector<const lyd_node *>(set->dnodes, set->dnodes + set->count);
    }
    const std::string message = take_message(tree.schema().context());
    if (result != kNoNodeSet) {
        fail(expression, message);
    }
    return std::nullopt;
}

/** Whether the text of an expression that gives no node set is this one. */
bool has_text(const Datastore &tree, const lyd_node *context, const std::string &expression,
              const std::string &text)
{
    const std::string question = "string(" + expression + ") = '" + text + "'";
    ly_bool answer = 0;
    const LY_ERR result =
        lyd_eval_xpath3(context != nullptr ? context : tree.root(), tree.schema().module(),
                        question.c_str(), LY_VALUE_JSON, nullptr, nullptr, &answer);
    require_memory(result);
    if (result != LY_SUCCESS) {
        fail(expression, take_message(tree.schema().context()));
    }
    return answer != 0;
}

std::string_view trimmed(std::string_view text)
{
    constexpr const char *kBlanks = " \t\r\n";
    const auto begin = text.find_first_not_of(kBlanks);
    return begin == std::string_view::npos
               ? std::string_view()
               : text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

/** Where the bracket that opens at `open` is closed; npos when it is not. */
std::size_t closing_bracket(std::string_view text, std::size_t open)
{
    char quote = '\0';
    int depth = 0;
    for (std::size_t i = open; i < text.size(); ++i) {
        const char c = text[i];
        if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if (c == '\'' || c == '"') {
            quote = c;
        } else if (c == '(') {
            ++depth;
        } else if (c == ')' && --depth == 0) {
            return i;
        }
    }
    return std::string_view::npos;
}

std::string first_value(const std::vector<const lyd_node *> &nodes)
{
    const char *value = nodes.empty() ? nullptr : lyd_get_value(nodes.front());
    return value != nullptr ? value : "";
}

} // namespace

std::optional<std::string> argument_of(std::string_view function, std::string_view expression)
{
    const std::string_view call = trimmed(expression);
    if (call.substr(0, function.size()) != function) {
        return std::nullopt;
    }
    const auto open = call.find_first_not_of(" \t\r\n", function.size());
    if (open == std::string_view::npos || call[open] != '(' ||
        closing_bracket(call, open) != call.size() - 1) {
        return std::nullopt;
    }
    return std::string(call.substr(open + 1, call.size() - open - 2));
}

std::vector<const lyd_node *> select_nodes(const Datastore &tree, const lyd_node *context,
                                           const std::string &expression)
{
    auto nodes = try_select(tree, context, expression);
    if (!nodes) {
        fail(expression, "it does not select nodes");
    }
    return std::move(*nodes);
}

std::string evaluate(const Datastore &tree, const lyd_node *context, const std::string &expression)
{
    if (const auto counted = argument_of("count", expression)) {
        return std::to_string(select_nodes(tree, context, *counted).size());
    }
    if (const auto argument = argument_of("string", expression)) {
        return evaluate(tree, context, *argument);
    }
    if (const auto nodes = try_select(tree, context, expression)) {
        return first_value(*nodes);
    }
    for (const char *text : {"true", "false"}) {
        if (has_text(tree, context, expression, text)) {
            return text;
        }
    }
    fail(expression, "only node sets, counts, their texts and booleans can be had");
}

} // namespace engine
