/**
 * @file
 * The nodes of a text as they stand in it: libyang keeps no places of what it parsed.
 */
#pragma once

#include "engine/data/source.h"
#include "engine/schema/schema.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace engine
{

/** A node of a text. Texts are parts of TextNodes::texts. */
struct TextNode {
    static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

    std::uint32_t parent = kNone;       /**< Of the data: kNone below envelopes, too. */
    std::uint32_t end = 0;              /**< Number of the first node behind those below. */
    const SchemaNode *schema = nullptr; /**< Null: the model does not know it. */
    std::uint32_t offset = 0;           /**< Where it begins in the text. */
    std::uint32_t name = 0;             /**< Where its name begins, if it has no schema node. */
    std::uint32_t name_size = 0;
    std::uint32_t value = 0; /**< Where its value begins, as it is written. */
    std::uint32_t value_size = 0;
};

/**
 * All nodes of a text in its order, flat: those below a node follow it. What stands around the data
 * (such as `<config>` of NETCONF) is a node as well, but has none below it.
 */
struct TextNodes {
    std::vector<TextNode> nodes;
    std::string texts;
    std::optional<std::size_t> failure; /**< Where the text turned out to be malformed. */

    std::string_view name_of(const TextNode &node) const
    {
        return node.schema != nullptr ? std::string_view(node.schema->name)
                                      : std::string_view(texts).substr(node.name, node.name_size);
    }
    std::string_view value_of(const TextNode &node) const
    {
        return std::string_view(texts).substr(node.value, node.value_size);
    }
};

/** Reads a text, in UTF-8; of one that is malformed, what comes before the fault. */
TextNodes read_text_nodes(const Schema &schema, const Source &source);

/** Builds the nodes of a text, which are met in its order. */
class TextNodesBuilder
{
public:
    /** @param text_size  In bytes, to have memory enough at once. */
    TextNodesBuilder(const Schema &schema, std::size_t text_size);

    /** Whether nothing but envelopes is open. */
    bool is_at_top() const { return m_open.empty() || is_envelope(m_result.nodes[m_open.back()]); }
    /** The schema node that a name means here; null: none. @param is_own  It is of the model. */
    const SchemaNode *find(std::string_view name, bool is_own) const;
    /** A node begins. */
    void begin(const SchemaNode *schema, std::string_view name, std::size_t offset);
    /** More of the value of the node that has begun last. */
    void add_value(std::string_view text);
    void end();
    TextNodes &result() { return m_result; }
    const Schema &schema() const { return m_schema; }

private:
    static bool is_envelope(const TextNode &node)
    {
        return node.schema == nullptr && node.parent == TextNode::kNone;
    }

    const Schema &m_schema;
    TextNodes m_result;
    std::vector<std::uint32_t> m_open; /**< Nodes that have begun. */
};

/** @param text  Without a byte order mark, as below. */
TextNodes read_xml_nodes(const Schema &schema, std::string_view text);
TextNodes read_json_nodes(const Schema &schema, std::string_view text);

} // namespace engine
