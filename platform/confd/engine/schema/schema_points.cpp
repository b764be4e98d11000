#include "engine/schema/schema_points.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace engine
{
namespace
{

constexpr std::string_view kFrameworkModule = "tailf-common";

/** Name of a statement without its prefix, if the prefix means the framework's module; else empty.
 */
std::string_view framework_name(std::string_view statement, LY_VALUE_FORMAT format,
                                const void *prefix_data)
{
    const auto colon = statement.find(':');
    if (colon == std::string_view::npos || format != LY_VALUE_SCHEMA) {
        return {};
    }
    const auto *module = static_cast<const lysp_module *>(prefix_data);
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(module->imports, i)
    {
        if (module->imports[i].prefix == statement.substr(0, colon) &&
            module->imports[i].name == kFrameworkModule) {
            return statement.substr(colon + 1);
        }
    }
    return {};
}

[[noreturn]] void fail(const SchemaNode &node, const std::string &what)
{
    throw std::runtime_error(node.path() + ": tailf:validate: " + what);
}

bool is_same_or_above(const SchemaNode *above, const SchemaNode *node)
{
    while (node != nullptr && node != above) {
        node = node->up();
    }
    return node != nullptr;
}

const SchemaNode *common_node(const SchemaNode *a, const SchemaNode *b)
{
    while (a != nullptr && !is_same_or_above(a, b)) {
        a = a->up();
    }
    return a;
}

/** Reads the statements of one node. */
class PointReader
{
public:
    PointReader(const Schema &schema, const SchemaNode &node) : m_schema(schema), m_node(node) {}

    ValidationPoint read(const lysp_ext_instance &statement) const
    {
        ValidationPoint point;
        point.name = statement.argument != nullptr ? statement.argument : "";
        point.node = &m_node;
        point.description = m_node.yang->dsc != nullptr ? m_node.yang->dsc : "";
        for (const auto *sub = statement.child; sub != nullptr; sub = sub->next) {
            read_substatement(point, *sub);
        }
        add_own_leaf(point);
        return point;
    }

private:
    void read_substatement(ValidationPoint &point, const lysp_stmt &sub) const
    {
        const auto name = framework_name(sub.stmt, sub.format, sub.prefix_data);
        const std::string argument = sub.arg != nullptr ? sub.arg : "";
        if (name == "opaque") {
            point.opaque = argument;
        } else if (name == "dependency") {
            point.dependencies.push_back(dependency(argument));
        } else if (name == "call-once") {
            point.once = call_once(argument);
        } else if (name == "priority") {
            point.priority = priority(argument);
        } else {
            fail(m_node, std::string("unknown statement ") + sub.stmt);
        }
    }

    bool call_once(const std::string &argument) const
    {
        if (argument != "true" && argument != "false") {
            fail(m_node, "tailf:call-once is true or false, not \"" + argument + "\"");
        }
        if (!m_node.is_list()) {
            fail(m_node, "tailf:call-once is for lists");
        }
        return argument == "true";
    }

    int priority(const std::string &argument) const
    {
        int value = 0;
        const auto *end = argument.data() + argument.size();
        const auto [rest, error] = std::from_chars(argument.data(), end, value);
        if (error != std::errc() || rest != end) {
            fail(m_node, "tailf:priority is a number, not \"" + argument + "\"");
        }
        return value;
    }

    Dependency dependency(const std::string &path) const
    {
        const bool absolute = !path.empty() && path.front() == '/';
        const SchemaNode *place = absolute ? nullptr : &m_node;
        std::size_t begin = absolute ? 1 : 0;
        while (begin <= path.size()) {
            const auto end = std::min(path.find('/', begin), path.size());
            const auto next = step(place, path.substr(begin, end - begin));
            if (next == nullptr) {
                fail(m_node, "the dependency \"" + path + "\" leads to no node");
            }
            place = next;
            begin = end + 1;
        }
        return {place, absolute ? nullptr : common_node(place, &m_node)};
    }

    /** One step of a path; `place` is null at the root. */
    const SchemaNode *step(const SchemaNode *place, std::string name) const
    {
        if (name == ".") {
            return place;
        }
        if (name == "..") {
            return place != nullptr ? place->up() : nullptr;
        }
        const auto prefix = std::string(m_schema.module()->prefix) + ":";
        if (name.compare(0, prefix.size(), prefix) == 0) {
            name.erase(0, prefix.size());
        }
        return place != nullptr ? place->child(name) : m_schema.top(name);
    }

    /** A leaf's point that depends on something is also asked when the leaf itself changes. */
    void add_own_leaf(ValidationPoint &point) const
    {
        auto &all = point.dependencies;
        if (all.empty()) {
            return; // Asked at every commit.
        }
        const bool is_in = std::any_of(all.begin(), all.end(), [this](const Dependency &one) {
            return one.target == &m_node;
        });
        if (!is_in && (m_node.is_leaf() || m_node.is_leaf_list())) {
            all.push_back({&m_node, &m_node});
        }
    }

    const Schema &m_schema;
    const SchemaNode &m_node;
};

} // namespace

bool is_framework_statement(const lysp_ext_instance &statement, std::string_view name)
{
    return framework_name(statement.name, statement.format, statement.prefix_data) == name;
}

std::vector<ValidationPoint> read_points(const Schema &schema, const SchemaNode &node,
                                         const lysp_node &parsed)
{
    const PointReader reader(schema, node);
    std::vector<ValidationPoint> points;
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(parsed.exts, i)
    {
        if (is_framework_statement(parsed.exts[i], "validate")) {
            points.push_back(reader.read(parsed.exts[i]));
        }
    }
    return points;
}

} // namespace engine
