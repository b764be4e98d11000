#include "engine/edit/edit_tree.h"

#include "engine/data/document.h"
#include "engine/data/path.h"
#include "engine/data/problems.h"

#include <cstring>
#include <utility>

namespace engine
{
namespace
{

constexpr const char *kNetconfModule = "ietf-netconf";

/** Whether a name of an opaque node or attribute is one of NETCONF's own. */
bool is_netconf(const ly_opaq_name &name, LY_VALUE_FORMAT format, const char *wanted)
{
    const char *space = format == LY_VALUE_XML ? name.module_ns : name.module_name;
    const char *netconf = format == LY_VALUE_XML ? kNetconfNamespace : kNetconfModule;
    return space != nullptr && std::strcmp(space, netconf) == 0 &&
           std::strcmp(name.name, wanted) == 0;
}

/** NETCONF's element of that name among siblings; null when there is none. */
lyd_node *find_element(lyd_node *siblings, const char *name)
{
    for (; siblings != nullptr; siblings = siblings->next) {
        if (siblings->schema == nullptr) {
            const auto &opaque = as_opaque(siblings);
            if (is_netconf(opaque.name, opaque.format, name)) {
                return siblings;
            }
        }
    }
    return nullptr;
}

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

/** Reads <default-operation> of an <edit-config>. */
Operation read_default(lyd_node *edit_config, const std::string &source)
{
    const auto *element = find_element(lyd_child(edit_config), "default-operation");
    if (element == nullptr) {
        return Operation::kMerge;
    }
    const char *text = as_opaque(element).value;
    const auto operation = operation_named(text);
    if (!operation || is_deletion(*operation) || operation == Operation::kCreate) {
        throw InputError({{source, 0, "", std::string("Invalid default-operation ") + text,
                           "one of merge, replace, none"}});
    }
    return *operation;
}

/** Takes the data out of NETCONF's <config>, and that out of <edit-config>. False: none is there.
 */
bool unwrap(EditTree &tree, const std::string &source)
{
    lyd_node *root = tree.root.get();
    if (root == nullptr || root->next != nullptr) {
        return false;
    }
    lyd_node *edit_config = find_element(root, "edit-config");
    lyd_node *config =
        find_element(edit_config != nullptr ? lyd_child(edit_config) : root, "config");
    if (config == nullptr) {
        return false;
    }
    if (edit_config != nullptr) {
        tree.default_operation = read_default(edit_config, source);
    }
    lyd_node *data = nullptr;
    while (lyd_node *child = lyd_child(config)) {
        lyd_unlink_tree(child);
        lyd_insert_sibling(data, child, &data);
    }
    tree.root.reset(data);
    return true;
}

bool has_opaque(const lyd_node *siblings)
{
    for (const auto *node = siblings; node != nullptr; node = node->next) {
        if (node->schema == nullptr || has_opaque(lyd_child(node))) {
            return true;
        }
    }
    return false;
}

bool parse_text(const Schema &schema, const Document &edit, std::uint32_t options, OwnedTree &tree)
{
    lyd_node *root = nullptr;
    const auto result = edit.parse(schema.context(), options, root);
    tree.reset(root);
    return result == LY_SUCCESS;
}

} // namespace

EditTree parse_edit(const Schema &schema, const Source &edit)
{
    EditTree tree;
    ly_err_clean(schema.context(), nullptr);
    const Document document(edit, Content::kEdit);
    if (parse_text(schema, document, LYD_PARSE_STRICT, tree.root)) {
        if (tree.root == nullptr) {
            throw InputError({{edit.name, 0, "", "There is no edit in it", root_hint(schema)}});
        }
        return tree;
    }
    const auto strict_problems = take_problems(schema, edit.name);
    // A strict parse takes neither NETCONF's elements nor leaves without a value, and it stops at
    // the first fault. Now all that stays in the tree, as opaque nodes.
    if (!parse_text(schema, document, LYD_PARSE_OPAQ, tree.root)) {
        auto problems = take_problems(schema, edit.name);
        problems.resize(1); // libyang may tell the same fault once more for each level.
        throw InputError(std::move(problems));
    }
    ly_err_clean(schema.context(), nullptr);
    const bool was_wrapped = unwrap(tree, edit.name);
    auto faults = find_faults(schema, edit, tree, strict_problems);
    if (!faults.empty()) {
        throw InputError(std::move(faults));
    }
    if (!was_wrapped && !has_opaque(tree.root.get())) {
        throw InputError(strict_problems); // Nothing that may be accepted explains these.
    }
    return tree;
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
