#include "engine/edit/edit_tree.h"

#include "engine/data/path.h"

#include <cstring>
#include <utility>

namespace engine
{
namespace
{

constexpr const char *kNetconfModule = "ietf-netconf";

} // namespace

std::optional<Operation> operation_named(const char *name)
{
    static const std::pair<const char *, Operation> kNames[] = {
        {"merge", Operation::kMerge},   {"replace", Operation::kReplace},
        {"create", Operation::kCreate}, {"delete", Operation::kDelete},
        {"remove", Operation::kRemove}, {"none", Operation::kNone}};
    for (const auto &[known, operation] : kNames) {
        if (std::strcmp(known, name) == 0) {
            return operation;
        }
    }
    return std::nullopt;
}

bool is_netconf(const ly_opaq_name &name, LY_VALUE_FORMAT format, const char *wanted)
{
    const char *space = format == LY_VALUE_XML ? name.module_ns : name.module_name;
    const char *netconf = format == LY_VALUE_XML ? kNetconfNamespace : kNetconfModule;
    return space != nullptr && std::strcmp(space, netconf) == 0 &&
           std::strcmp(name.name, wanted) == 0;
}

const lyd_node_opaq &as_opaque(const lyd_node *node)
{
    return *reinterpret_cast<const lyd_node_opaq *>(node);
}

const char *operation_text(const lyd_node *node)
{
    if (node->schema != nullptr) {
        const auto *meta = lyd_find_meta(node->meta, nullptr, "ietf-netconf:operation");
        return meta != nullptr ? lyd_get_meta_value(meta) : nullptr;
    }
    for (const auto *attribute = as_opaque(node).attr; attribute; attribute = attribute->next) {
        if (is_netconf(attribute->name, attribute->format, "operation")) {
            return attribute->value;
        }
    }
    return nullptr;
}

std::optional<Operation> own_operation(const lyd_node *node)
{
    const char *text = operation_text(node);
    return text != nullptr ? operation_named(text) : std::nullopt;
}

const SchemaNode *schema_of(const Schema &schema, const lyd_node *node)
{
    if (node->schema != nullptr) {
        return Schema::of(node);
    }
    const auto &opaque = as_opaque(node);
    const auto *parent = lyd_parent(node);
    const bool xml = opaque.format == LY_VALUE_XML;
    const char *space = xml ? opaque.name.module_ns : opaque.name.module_name;
    const char *wanted = xml ? schema.module()->ns : schema.module()->name;
    // In JSON only the topmost node names its module.
    const bool inherits = !xml && space == nullptr && parent != nullptr;
    if (!inherits && (space == nullptr || std::strcmp(space, wanted) != 0)) {
        return nullptr;
    }
    if (parent == nullptr) {
        return schema.top(opaque.name.name);
    }
    const auto *above = schema_of(schema, parent);
    return above != nullptr ? above->child(opaque.name.name) : nullptr;
}

std::string edit_path(const lyd_node *node)
{
    if (node == nullptr || node->schema != nullptr) {
        return path_text(node);
    }
    return edit_path(lyd_parent(node)) + "/" + as_opaque(node).name.name;
}

} // namespace engine
