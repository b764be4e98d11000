#include "engine/edit/edit_faults.h"

#include "engine/data/problems.h"
#include "engine/data/text_places.h"

#include <cstring>

namespace engine
{
namespace
{

/** To know a node from others like it takes as long as there are many: a hopeless edit has
 * thousands. */
constexpr std::size_t kMaxPlaces = 100;

const char *value_of(const lyd_node_opaq &node)
{
    return node.value != nullptr ? node.value : "";
}

class FaultFinder
{
public:
    FaultFinder(const Schema &schema, const Source &edit)
        : m_schema(schema), m_edit(edit), m_places(schema, edit)
    {
    }

    /** @param inherited  The operation of the node above. */
    void visit(const lyd_node *siblings, Operation inherited)
    {
        for (const auto *node = siblings; node != nullptr; node = node->next) {
            const auto operation = own_operation(node).value_or(inherited);
            if (node->schema != nullptr) {
                visit(lyd_child(node), operation);
            } else if (!is_leaf_to_delete(node, operation)) {
                explain(node);
            }
        }
    }

    std::vector<Problem> problems;

private:
    bool is_leaf_to_delete(const lyd_node *node, Operation operation) const;
    void explain(const lyd_node *node);
    void explain_unknown(const lyd_node *node);
    void explain_list(const lyd_node *entry, const SchemaNode &list);
    void explain_value(const lyd_node *leaf, const SchemaNode &schema);
    bool fits(const lyd_node *leaf, const SchemaNode &schema) const;
    void add(Fault fault, const lyd_node *node, const std::string &message, const std::string &hint,
             const std::string &culprit = "");

    const Schema &m_schema;
    const Source &m_edit;
    TextPlaces m_places;
};

bool FaultFinder::is_leaf_to_delete(const lyd_node *node, Operation operation) const
{
    const auto *schema = schema_of(m_schema, node);
    const auto &opaque = as_opaque(node);
    return is_deletion(operation) && schema != nullptr && schema->is_leaf() && !schema->is_key() &&
           opaque.child == nullptr && *value_of(opaque) == '\0';
}

void FaultFinder::explain(const lyd_node *node)
{
    const auto *schema = schema_of(m_schema, node);
    const char *operation = operation_text(node);
    if (schema == nullptr) {
        explain_unknown(node);
    } else if (operation != nullptr && !own_operation(node)) {
        add(Fault::kInvalidAttribute, node, std::string("Invalid operation ") + operation,
            "one of merge, replace, create, delete, remove", "operation");
    } else if (schema->is_list()) {
        explain_list(node, *schema);
    } else if (schema->is_leaf() || schema->is_leaf_list()) {
        explain_value(node, *schema);
    } else {
        add(Fault::kInvalidValue, node, "Holds other nodes, not a value", "");
    }
}

void FaultFinder::explain_unknown(const lyd_node *node)
{
    const auto *parent = lyd_parent(node);
    const std::string name = as_opaque(node).name.name;
    const auto *above = parent != nullptr ? schema_of(m_schema, parent) : nullptr;
    if (above == nullptr) {
        add(Fault::kUnknownNode, node,
            "Node \"" + name + "\" not found in the \"" + m_schema.module()->name + "\" module.",
            root_hint(m_schema));
        return;
    }
    add(Fault::kUnknownNode, node,
        "Node \"" + name + "\" not found as a child of \"" + above->name + "\" node.",
        hint_of_names(*above, name));
}

/** A list entry is opaque, with all that is in it, when a key is missing or wrong. */
void FaultFinder::explain_list(const lyd_node *entry, const SchemaNode &list)
{
    const std::size_t before = problems.size();
    for (const auto *key : list.key_nodes) {
        const auto *child = lyd_child(entry);
        while (child != nullptr && schema_of(m_schema, child) != key) {
            child = child->next;
        }
        if (child == nullptr) {
            add(Fault::kIncomplete, entry,
                "List instance is missing its key \"" + key->name + "\".", "", key->name);
        } else if (!fits(child, *key)) {
            explain_value(child, *key);
        }
    }
    if (problems.size() == before) {
        add(Fault::kInvalidData, entry, "Invalid list entry", "");
    }
}

/** Whether the value is one of the type's. If not, libyang has stored why. */
bool FaultFinder::fits(const lyd_node *leaf, const SchemaNode &schema) const
{
    const char *value = value_of(as_opaque(leaf));
    return lyd_value_validate(m_schema.context(), schema.yang, value, std::strlen(value), nullptr,
                              nullptr, nullptr) == LY_SUCCESS;
}

void FaultFinder::explain_value(const lyd_node *leaf, const SchemaNode &schema)
{
    ly_err_clean(m_schema.context(), nullptr);
    if (fits(leaf, schema)) {
        add(Fault::kInvalidData, leaf, "Invalid value", "");
        return;
    }
    const auto why = take_problems(m_schema, m_edit.name);
    add(Fault::kInvalidValue, leaf, why.front().message, hint_of_values(schema));
}

void FaultFinder::add(Fault fault, const lyd_node *node, const std::string &message,
                      const std::string &hint, const std::string &culprit)
{
    problems.push_back({fault, m_edit.name, 0, edit_path(node), message, hint, 0, culprit});
    if (problems.size() <= kMaxPlaces) {
        TextPlaces::put(problems.back(), m_places.of_written(node));
    }
}

} // namespace

std::vector<Problem> find_faults(const Schema &schema, const Source &edit, const EditTree &tree)
{
    FaultFinder finder(schema, edit);
    finder.visit(tree.root.get(), tree.default_operation);
    return std::move(finder.problems);
}

} // namespace engine
