#include "engine/schema/schema_references.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace engine
{
namespace
{

/** A leafref's path: how many levels it goes up before it goes down, and the names on the way. */
struct PlainPath {
    std::size_t levels_up = 0; /**< 0: absolute. */
    std::vector<std::string> names;
};

/** Nothing for a path that has predicates or other expressions, or leads to another module. */
std::optional<PlainPath> read_path(std::string_view path, std::string_view own_prefix)
{
    constexpr std::string_view kUp = "../";
    PlainPath plain;
    for (; path.substr(0, kUp.size()) == kUp; path.remove_prefix(kUp.size())) {
        ++plain.levels_up;
    }
    if (plain.levels_up == 0) {
        if (path.empty() || path.front() != '/') {
            return std::nullopt;
        }
        path.remove_prefix(1);
    }
    for (bool more = true; more;) {
        const auto slash = path.find('/');
        std::string_view step = path.substr(0, slash);
        more = slash != std::string_view::npos;
        path.remove_prefix(more ? slash + 1 : 0);
        const auto colon = step.find(':');
        if (colon != std::string_view::npos && step.substr(0, colon) != own_prefix) {
            return std::nullopt;
        }
        step.remove_prefix(colon != std::string_view::npos ? colon + 1 : 0);
        plain.names.emplace_back(step);
    }
    return plain;
}

const lysc_type_leafref *leafref_of(const SchemaNode &node)
{
    if (!node.is_leaf() && !node.is_leaf_list()) {
        return nullptr;
    }
    const auto *type = node.is_leaf()
                           ? reinterpret_cast<const lysc_node_leaf *>(node.yang)->type
                           : reinterpret_cast<const lysc_node_leaflist *>(node.yang)->type;
    const auto *leafref = reinterpret_cast<const lysc_type_leafref *>(type);
    return type->basetype == LY_TYPE_LEAFREF && leafref->require_instance != 0 ? leafref : nullptr;
}

const ReferenceTarget *add_target(const SchemaNode *target, const SchemaNode *shared,
                                  std::vector<std::unique_ptr<ReferenceTarget>> &targets)
{
    const auto found = std::find_if(targets.begin(), targets.end(), [&](const auto &known) {
        return known->target == target && known->shared == shared;
    });
    if (found != targets.end()) {
        return found->get();
    }
    targets.push_back(std::make_unique<ReferenceTarget>(ReferenceTarget{target, shared}));
    return targets.back().get();
}

/** What the leafref refers to; null when that must be left to libyang. */
const ReferenceTarget *find_target(const Schema &schema, const SchemaNode &leaf,
                                   const PlainPath &path,
                                   std::vector<std::unique_ptr<ReferenceTarget>> &targets)
{
    const SchemaNode *shared = path.levels_up > 0 ? &leaf : nullptr;
    for (std::size_t level = 0; shared != nullptr && level < path.levels_up; ++level) {
        shared = shared->up();
    }
    if (path.levels_up > 0 && shared == nullptr) {
        return nullptr;
    }
    const SchemaNode *target = shared;
    for (const auto &name : path.names) {
        target = target != nullptr ? target->child(name) : schema.top(name);
        if (target == nullptr) {
            return nullptr; // A predicate, a function or a further "..".
        }
    }
    return add_target(target, shared, targets);
}

void mark_way_to(SchemaNode *node)
{
    for (; node != nullptr; node = static_cast<SchemaNode *>(node->parent)) {
        node->leads_to_reference = true;
    }
}

void end_check_by_libyang(const lysc_type_leafref &leafref, std::vector<LeafrefType> &types)
{
    // The model is ours, and nobody else uses the compiled types.
    auto *type = const_cast<lysc_type *>(reinterpret_cast<const lysc_type *>(&leafref));
    const bool is_known = std::any_of(types.begin(), types.end(), [type](const auto &known) {
        return known.type == type; // Leaves may share one.
    });
    if (!is_known) {
        auto unchecked = std::make_unique<lyplg_type>(*type->plugin);
        unchecked->validate = nullptr;
        types.push_back({type, type->plugin, std::move(unchecked)});
        type->plugin = types.back().unchecked.get();
    }
}

} // namespace

std::vector<LeafrefType> read_references(const Schema &schema,
                                         const std::vector<std::unique_ptr<SchemaNode>> &nodes,
                                         std::vector<std::unique_ptr<ReferenceTarget>> &targets)
{
    std::vector<LeafrefType> types;
    for (const auto &node : nodes) {
        const auto *leafref = leafref_of(*node);
        const auto path = leafref != nullptr
                              ? read_path(lyxp_get_expr(leafref->path), schema.module()->prefix)
                              : std::optional<PlainPath>();
        node->refers_to = path ? find_target(schema, *node, *path, targets) : nullptr;
        if (node->refers_to == nullptr) {
            continue;
        }
        auto *referred = const_cast<SchemaNode *>(node->refers_to->target);
        auto &known = referred->referred_to_as;
        if (std::find(known.begin(), known.end(), node->refers_to) == known.end()) {
            known.push_back(node->refers_to);
        }
        mark_way_to(node.get());
        mark_way_to(referred);
        end_check_by_libyang(*leafref, types);
    }
    return types;
}

YangReferences::YangReferences(const Schema &schema) : m_schema(schema)
{
    for (const LeafrefType &leafref : m_schema.m_leafref_types) {
        leafref.type->plugin = leafref.libyang;
    }
}

YangReferences::~YangReferences()
{
    for (const LeafrefType &leafref : m_schema.m_leafref_types) {
        leafref.type->plugin = leafref.unchecked.get();
    }
}

} // namespace engine
