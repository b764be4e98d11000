#include "engine/edit/edit_faults.h"

#include "engine/data/problems.h"
#include "engine/edit/edit_text.h"

#include <cstring>

namespace engine
{
namespace
{

constexpr const char *kYangNamespace = "urn:ietf:params:xml:ns:yang:1";

constexpr const char *kAttributeHint =
    "an edit has nc:operation with xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\", and "
    "yang:insert, yang:key and yang:value with xmlns:yang=\"urn:ietf:params:xml:ns:yang:1\"";
constexpr const char *kMetadataHint =
    "an edit has ietf-netconf:operation, yang:insert, yang:key and yang:value";

bool is_in_namespace(const ly_opaq_name &name, const char *wanted)
{
    return name.module_ns != nullptr && std::strcmp(name.module_ns, wanted) == 0;
}

const char *value_of(const lyd_node_opaq &node)
{
    return node.value != nullptr ? node.value : "";
}

class FaultFinder
{
public:
    FaultFinder(const Schema &schema, const Source &edit, const std::vector<Problem> &strict)
        : m_schema(schema), m_edit(edit), m_strict(strict)
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

    void visit_attributes(const lyd_node *siblings);
    void check_metadata();

    std::vector<Problem> problems;

private:
    bool is_leaf_to_delete(const lyd_node *node, Operation operation) const;
    void explain(const lyd_node *node);
    void explain_unknown(const lyd_node *node);
    void explain_list(const lyd_node *entry, const SchemaNode &list);
    void explain_value(const lyd_node *leaf, const SchemaNode &schema);
    bool fits(const lyd_node *leaf, const SchemaNode &schema) const;
    void add(Fault fault, const lyd_node *node, const std::string &message,
             const std::string &hint);
    unsigned strict_line(const lyd_node *node, const std::string &message);

    /** A search for a line reads the whole text: not for every fault of a hopeless one. */
    bool may_search() const { return problems.size() < 20; }

    const Schema &m_schema;
    const Source &m_edit;
    std::vector<Problem> m_strict;
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
            "one of merge, replace, create, delete, remove");
    } else if (schema->is_list()) {
        explain_list(node, *schema);
    } else if (schema->is_leaf() || schema->is_leaf_list()) {
        explain_value(node, *schema);
    } else {
        add(Fault::kInvalidValue, node, "It holds other nodes, not a value", "");
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
        hint_of_names(*above));
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
                "List instance is missing its key \"" + key->name + "\".", "");
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
                      const std::string &hint)
{
    unsigned line = strict_line(node, message);
    if (line == 0 && may_search()) {
        const auto &opaque = as_opaque(node);
        line = line_of_node(m_edit.text, opaque.name.name, value_of(opaque));
    }
    problems.push_back({fault, m_edit.name, line, edit_path(node), message, hint});
}

/** The strict parse knows the line of one fault, the first in the text. */
unsigned FaultFinder::strict_line(const lyd_node *node, const std::string &message)
{
    if (m_strict.empty() || m_strict.front().message != message ||
        (m_strict.front().path != edit_path(node) &&
         m_strict.front().path != edit_path(lyd_parent(node)))) {
        return 0;
    }
    const unsigned line = m_strict.front().line;
    m_strict.clear();
    return line;
}

/** @param siblings  All opaque: from a parse without a model. */
void FaultFinder::visit_attributes(const lyd_node *siblings)
{
    for (const auto *node = siblings; node != nullptr; node = node->next) {
        const auto *first = is_in_namespace(as_opaque(node).name, kNetconfNamespace)
                                ? nullptr // NETCONF's elements may have any
                                : as_opaque(node).attr;
        for (const auto *attribute = first; attribute; attribute = attribute->next) {
            if (!is_in_namespace(attribute->name, kNetconfNamespace) &&
                !is_in_namespace(attribute->name, kYangNamespace)) {
                const auto &qualified = attribute->name;
                const std::string prefix = qualified.prefix != nullptr ? qualified.prefix : "";
                const std::string name = (prefix.empty() ? "" : prefix + ":") + qualified.name;
                const unsigned line = may_search() ? line_of_attribute(m_edit.text, name) : 0;
                problems.push_back({Fault::kUnknownAttribute, m_edit.name, line, edit_path(node),
                                    "Unknown attribute " + name, kAttributeHint});
            }
        }
        visit_attributes(lyd_child(node));
    }
}

/** The same for JSON, where such a parse does not take all metadata. */
void FaultFinder::check_metadata()
{
    for (const char *name : {"operation", "insert", "key", "value"}) {
        for (const auto &member : find_members(m_edit.text, name)) {
            if (!ly_ctx_get_module_implemented(m_schema.context(), member.module.c_str())) {
                problems.push_back({Fault::kUnknownAttribute, m_edit.name, member.line, "",
                                    "Unknown metadata " + member.module + ":" + name,
                                    kMetadataHint});
            }
        }
    }
}

/**
 * A parse that keeps unknown nodes drops unknown attributes without a word: a misspelt operation
 * would become a merge. In a context that knows no model, nothing is dropped.
 */
void check_attributes(const Source &edit, FaultFinder &finder)
{
    ly_ctx *created = nullptr;
    if (ly_ctx_new(nullptr, LY_CTX_NO_YANGLIBRARY | LY_CTX_DISABLE_SEARCHDIRS, &created) !=
        LY_SUCCESS) {
        throw Error(CONFD_ERR_INTERNAL, "cannot create a YANG context");
    }
    const std::unique_ptr<ly_ctx, decltype(&ly_ctx_destroy)> context(created, ly_ctx_destroy);
    lyd_node *root = nullptr;
    if (lyd_parse_data_mem(created, edit.text.c_str(), LYD_XML, LYD_PARSE_ONLY | LYD_PARSE_OPAQ, 0,
                           &root) != LY_SUCCESS) {
        throw Error(CONFD_ERR_INTERNAL, "cannot read the attributes of " + edit.name);
    }
    const OwnedTree tree(root, lyd_free_all);
    finder.visit_attributes(root);
}

} // namespace

std::vector<Problem> find_faults(const Schema &schema, const Source &edit, const EditTree &tree,
                                 const std::vector<Problem> &strict)
{
    FaultFinder finder(schema, edit, strict);
    finder.visit(tree.root.get(), tree.default_operation);
    if (format_of(edit.text) == Format::kXml) {
        check_attributes(edit, finder);
    } else {
        finder.check_metadata();
    }
    return std::move(finder.problems);
}

} // namespace engine
