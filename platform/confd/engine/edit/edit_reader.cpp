#include "engine/edit/edit_reader.h"

#include "engine/data/document.h"
#include "engine/data/problems.h"
#include "engine/data/text_places.h"
#include "engine/edit/edit_faults.h"

#include <utility>

namespace engine
{
namespace
{

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
        throw InputError(
            {{Fault::kInvalidValue, source, 0, "", std::string("Invalid default-operation ") + text,
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

/** libyang told the lines. */
[[noreturn]] void fail(std::vector<Problem> problems, const Schema &schema, const Source &edit)
{
    const TextPlaces places(schema, edit);
    for (Problem &problem : problems) {
        places.add_column(problem);
    }
    throw InputError(std::move(problems));
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
            throw InputError({{Fault::kNoConfiguration, edit.name, 0, "", "There is no edit in it",
                               root_hint(schema)}});
        }
        return tree;
    }
    auto strict_problems = take_problems(schema, edit.name);
    // A strict parse takes neither NETCONF's elements nor leaves without a value, and it stops at
    // the first fault. Now all that stays in the tree, as opaque nodes.
    if (!parse_text(schema, document, LYD_PARSE_OPAQ, tree.root)) {
        auto problems = take_problems(schema, edit.name);
        problems.resize(1); // libyang may tell the same fault once more for each level.
        fail(std::move(problems), schema, edit);
    }
    ly_err_clean(schema.context(), nullptr);
    const bool was_wrapped = unwrap(tree, edit.name);
    auto faults = find_faults(schema, edit, tree);
    if (!faults.empty()) {
        throw InputError(std::move(faults));
    }
    if (!was_wrapped && !has_opaque(tree.root.get())) {
        fail(std::move(strict_problems), schema,
             edit); // Nothing that may be accepted explains these.
    }
    return tree;
}

} // namespace engine
