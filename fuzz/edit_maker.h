/** Makes up edits that fit the data model, from a fuzzer's bytes. */
#pragma once

#include "byte_reader.h"
#include "engine/schema/schema.h"

#include <cstddef>
#include <string>

namespace fuzz
{

/**
 * Walks the schema and decides at each node what the edit says about it. Values come from small
 * pools, so that references are often met and entries often collide; now and then a mandatory leaf
 * is left out or a value is out of range.
 */
class EditMaker
{
public:
    /** @param one_in  Of so many nodes that may be left out, one is in an edit. */
    EditMaker(const engine::Schema &schema, ByteReader &bytes, std::size_t one_in = 3)
        : m_schema(schema), m_bytes(bytes), m_one_in(one_in)
    {
    }

    /** An edit as XML. */
    std::string make();
    /** An edit of one place, which is more often one that fits. */
    std::string make_small();
    /** An edit of one node that is there, which often is allowed. */
    std::string make_at(const lyd_node *node);

private:
    using SchemaNode = engine::SchemaNode;

    void begin(const SchemaNode &top);
    void write(const SchemaNode &node);
    void write_way_down(const SchemaNode &node);
    void write_keys(const SchemaNode &list);
    void write_change(const SchemaNode &schema, const lyd_node *node);
    std::string open_tags(const lyd_node *node);
    void write_entries(const SchemaNode &list);
    void write_children(const SchemaNode &above);
    void write_term(const SchemaNode &leaf);
    std::string value_of(const SchemaNode &leaf, const lysc_type *type);
    std::string text_value(const SchemaNode &leaf);
    std::size_t one_in_of(const SchemaNode &node) const;
    std::string operation(const SchemaNode &node);

    const engine::Schema &m_schema;
    ByteReader &m_bytes;
    const std::size_t m_one_in;
    std::string m_xml;
};

} // namespace fuzz
