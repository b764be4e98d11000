#include "api/selector.h"

#include "engine/data/error.h"
#include "engine/data/path.h"
#include "engine/data/xpath.h"

#include <algorithm>
#include <string_view>

namespace api
{

using engine::Datastore;
using engine::Error;
using engine::Schema;
using engine::SchemaNode;

namespace
{

bool is_letter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool is_name(std::string_view text)
{
    return !text.empty() && is_letter(text.front()) &&
           std::all_of(text.begin(), text.end(), [](char c) {
               return is_letter(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
           });
}

/** The names between slashes; empty when there is anything but unprefixed names. */
std::vector<std::string> plain_names(std::string_view expression)
{
    std::vector<std::string> names;
    std::size_t begin = 0;
    while (begin <= expression.size()) {
        const std::size_t end = std::min(expression.find('/', begin), expression.size());
        const std::string_view name = expression.substr(begin, end - begin);
        if (!is_name(name)) {
            return {};
        }
        names.emplace_back(name);
        begin = end + 1;
    }
    return names;
}

/** Schema nodes of names below a node; empty when there are none. */
std::vector<const SchemaNode *> steps_below(const SchemaNode &start,
                                            const std::vector<std::string> &names)
{
    std::vector<const SchemaNode *> steps;
    const SchemaNode *node = &start;
    for (const std::string &name : names) {
        node = node->child(name);
        if (node == nullptr) {
            return {};
        }
        steps.push_back(node);
    }
    return steps;
}

} // namespace

Selector::Selector(const char *expression)
    : m_expression(expression != nullptr ? expression : ""), m_names(plain_names(m_expression))
{
}

void Selector::prepare(const std::vector<const lyd_node *> &results)
{
    if (m_names.empty() || results.empty()) {
        return;
    }
    const auto has_path = [this](const lyd_node *result) {
        return !steps_below(*Schema::of(result), m_names).empty();
    };
    const auto result = std::find_if(results.begin(), results.end(), has_path);
    if (result == results.end()) {
        throw Error(CONFD_ERR_XPATH, "there is no " + m_expression + " below " +
                                         Schema::of(results.front())->path());
    }
    auto steps = steps_below(*Schema::of(*result), m_names);
    // Behind a list there can be several nodes: that is for XPath.
    if (std::none_of(steps.begin(), steps.end() - 1,
                     [](const SchemaNode *s) { return s->is_list(); })) {
        m_start = Schema::of(*result);
        m_steps = std::move(steps);
    }
}

const lyd_node *Selector::first(const Datastore &tree, const lyd_node *result) const
{
    if (Schema::of(result) != m_start) {
        const auto nodes = engine::select_nodes(tree, result, m_expression);
        return nodes.empty() ? nullptr : nodes.front();
    }
    const lyd_node *node = result;
    for (const SchemaNode *step : m_steps) {
        node = node != nullptr ? engine::first_instance(nullptr, node, *step) : nullptr;
    }
    return node;
}

xml_tag Selector::tag() const
{
    return m_steps.empty() ? xml_tag{0, 0} : xml_tag{m_steps.back()->tag, m_steps.back()->ns};
}

} // namespace api
