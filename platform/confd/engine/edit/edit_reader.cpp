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

/** @param name  Empty: the edit says none. */
Operation default_of(const std::string &name)
{
    return operation_named(name.c_str()).value_or(Operation::kMerge);
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
    const Document document(schema, edit, Content::kEdit);
    tree.default_operation = default_of(document.envelope().default_operation());
    if (parse_text(schema, document, LYD_PARSE_STRICT, tree.root)) {
        const auto &envelope = document.envelope();
        if (tree.root == nullptr && (!envelope.exists() || !envelope.skipped().empty())) {
            throw InputError({{Fault::kNoConfiguration, edit.name, 0, "", "There is no edit in it",
                               root_hint(schema)}});
        }
        return tree;
    }
    auto strict_problems = take_problems(schema, edit.name);
    // A strict parse takes no leaves without a value, and it stops at the first fault. Now all that
    // stays in the tree, as opaque nodes.
    if (!parse_text(schema, document, LYD_PARSE_OPAQ, tree.root)) {
        auto problems = take_problems(schema, edit.name);
        problems.resize(1); // libyang may tell the same fault once more for each level.
        fail(std::move(problems), schema, edit);
    }
    ly_err_clean(schema.context(), nullptr);
    auto faults = find_faults(schema, edit, tree);
    if (!faults.empty()) {
        throw InputError(std::move(faults));
    }
    if (!has_opaque(tree.root.get())) {
        // Nothing that may be accepted explains these.
        fail(std::move(strict_problems), schema, edit);
    }
    return tree;
}

} // namespace engine
