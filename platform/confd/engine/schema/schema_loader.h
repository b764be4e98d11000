/** How a Schema is built: only schema.cpp and the loader's own files include this. */
#pragma once

#include "engine/schema/schema.h"

#include <string>
#include <utility>
#include <vector>

namespace engine
{

/** Fills a Schema from the texts of a model. Every member throws std::runtime_error. */
class SchemaLoader
{
public:
    explicit SchemaLoader(Schema &schema) : m_schema(schema) {}
    void load(const ModelSource &source);

private:
    void load_modules();
    SchemaNode *add_node(const lysc_node &yang, SchemaNode *parent);
    std::vector<SchemaNode *> add_children(const lysc_node *yang_parent, SchemaNode *parent);
    void add_tag(SchemaNode &node);
    void describe_list(SchemaNode &node) const;
    void adopt_nodes();

    Schema &m_schema;
    std::uint32_t (*m_tag_of)(std::string_view name) = nullptr;
};

/** What libyang stored since it was last asked, as one text; forgets it. */
std::string take_yang_errors(ly_ctx *context);

/**
 * The C interface's type of a leaf or leaf-list.
 * @throws std::runtime_error  The engine does not serve the type; the text names the node.
 */
confd_type read_type(const lysc_node &node, const std::string &path);

/**
 * The `tailf:validate` statements of a node, in their order.
 * @param parsed  The node as it was written: only there are the statements' own substatements.
 * @throws std::runtime_error  Naming the node and the statement.
 */
std::vector<ValidationPoint> read_points(const Schema &schema, const SchemaNode &node,
                                         const lysp_node &parsed);

/** Whether the statement is an extension of the framework's module. */
bool is_framework_statement(const lysp_ext_instance &statement, std::string_view name);

} // namespace engine
