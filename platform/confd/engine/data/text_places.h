/**
 * @file
 * Where nodes stand in the text that they come from, or that changes them.
 */
#pragma once

#include "engine/data/error.h"
#include "engine/data/text_nodes.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace engine
{

/**
 * The places of one text, by parsing it once more, when the first is asked for: who needs none pays
 * nothing. What is not in the text has the place of the deepest node above it that is, at last that
 * of the first element. Everything is kNowhere in a text without nodes.
 */
class TextPlaces
{
public:
    /** Both are referred to. */
    TextPlaces(const Schema &schema, const Source &source) : m_schema(schema), m_source(source) {}

    /** A node of any configuration, by its path. */
    TextPlace of(const lyd_node *node) const;
    /** The second of several nodes of one path; where there are none, as above. */
    TextPlace of_duplicate(const lyd_node *node) const;
    /** A path with keys, such as /config/interface/gpon{1 1 3}. */
    TextPlace of(const std::string &path) const;
    /**
     * A node of the tree that was parsed from this text, known to the model or not: the same node,
     * and no other of the same path.
     */
    TextPlace of_written(const lyd_node *node) const;
    /** Where the data begins, without what may stand around it. */
    TextPlace of_root() const;

    /** Gives a problem a place. */
    static void put(Problem &problem, TextPlace place);
    /** Adds the column to a problem whose line another parser told. */
    void add_column(Problem &problem) const;

private:
    /** Name and value of a node. */
    using Written = std::pair<std::string, std::string>;
    struct Step;
    struct Search;

    const TextNodes &text() const;
    TextPlace place(const TextNode &node) const { return place(node.offset); }
    TextPlace place(std::size_t offset) const;
    TextPlace find(const std::vector<Step> &steps, std::size_t wanted) const;
    bool search(const std::vector<Step> &steps, std::size_t depth, std::uint32_t above,
                Search &state) const;
    bool search_at(const std::vector<Step> &steps, std::size_t depth, std::uint32_t at,
                   Search &state) const;
    bool is_envelope(const lyd_node *node) const;
    bool fits(const TextNode &node, std::uint32_t number, const Step &step) const;
    bool has_below(std::uint32_t number, const std::vector<Written> &below) const;
    bool has_value(const TextNode &node, const std::string &canonical) const;
    const TextNode *child(std::uint32_t number, const SchemaNode &schema) const;
    std::vector<Step> steps_to(const lyd_node *node, bool is_written) const;

    const Schema &m_schema;
    const Source &m_source;
    mutable std::optional<TextNodes> m_text;
    mutable std::vector<std::size_t> m_lines; /**< Where each begins. */
    /** By node, and last for the top: the child that was found last, where the next is near. */
    mutable std::vector<std::uint32_t> m_hints;
};

} // namespace engine
