/** Makes up edits that fit the data model, from a fuzzer's bytes. */
#pragma once

#include "byte_reader.h"
#include "engine/schema/schema.h"

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
    EditMaker(const engine::Schema &schema, ByteReader &bytes) : m_schema(schema), m_bytes(bytes) {}

    /** An edit as XML. */
    std::string make();
    /** An edit of one place, which is more often one that fits. */
    std::string make_small();

private:
    using SchemaNode = engine::SchemaNode;

    void begin(const SchemaNode &top);
    void write(const SchemaNode &node);
    void write_way_down(const SchemaNode &node);
    void write_keys(const SchemaNode &list);
    void write_entries(const SchemaNode &list);
    void write_children(const SchemaNode &above);
    void write_term(const SchemaNode &leaf);
    std::string value_of(const SchemaNode &leaf, const lysc_type *type);
    std::string text_value(const SchemaNode &leaf);
    std::string operation(const SchemaNode &node);

    const engine::Schema &m_schema;
    ByteReader &m_bytes;
    std::string m_xml;
};

} // namespace fuzz
