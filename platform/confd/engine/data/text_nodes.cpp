#include "engine/data/text_nodes.h"

namespace engine
{

TextNodesBuilder::TextNodesBuilder(const Schema &schema, std::size_t text_size) : m_schema(schema)
{
    constexpr std::size_t kUsualNode = 32; // With its share of blanks, in bytes.
    m_result.nodes.reserve(text_size / kUsualNode);
}

const SchemaNode *TextNodesBuilder::find(std::string_view name, bool is_own) const
{
    if (!is_own) {
        return nullptr;
    }
    if (is_at_top()) {
        return m_schema.top(name);
    }
    const auto *above = m_result.nodes[m_open.back()].schema;
    return above != nullptr ? above->child(name) : nullptr;
}

void TextNodesBuilder::begin(const SchemaNode *schema, std::string_view name, std::size_t offset)
{
    std::string &texts = m_result.texts;
    TextNode node;
    node.parent = is_at_top() ? TextNode::kNone : m_open.back();
    node.schema = schema;
    node.offset = static_cast<std::uint32_t>(offset);
    if (schema == nullptr) {
        node.name = static_cast<std::uint32_t>(texts.size());
        node.name_size = static_cast<std::uint32_t>(name.size());
        texts += name;
    }
    node.value = static_cast<std::uint32_t>(texts.size());
    m_open.push_back(static_cast<std::uint32_t>(m_result.nodes.size()));
    m_result.nodes.push_back(node);
}

void TextNodesBuilder::add_value(std::string_view text)
{
    if (m_open.empty() || m_open.back() + 1 != m_result.nodes.size()) {
        return; // Blanks between the nodes below.
    }
    TextNode &node = m_result.nodes.back();
    if (node.schema == nullptr || node.schema->is_leaf() || node.schema->is_leaf_list()) {
        m_result.texts += text;
        node.value_size += static_cast<std::uint32_t>(text.size());
    }
}

void TextNodesBuilder::end()
{
    TextNode &node = m_result.nodes[m_open.back()];
    node.end =
        is_envelope(node) ? m_open.back() + 1 : static_cast<std::uint32_t>(m_result.nodes.size());
    m_open.pop_back();
}

TextNodes read_text_nodes(const Schema &schema, const Source &source)
{
    const auto text = without_mark(source.text);
    if (text.size() >= TextNode::kNone) {
        return {}; // Beyond what a number of a node holds.
    }
    TextNodes result = format_of(source.text) == Format::kJson ? read_json_nodes(schema, text)
                                                               : read_xml_nodes(schema, text);
    for (TextNode &node : result.nodes) {
        if (node.end == 0) { // The text ended before the node did.
            node.end = static_cast<std::uint32_t>(result.nodes.size());
        }
    }
    return result;
}

} // namespace engine
