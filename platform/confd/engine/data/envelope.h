/**
 * @file
 * What may stand around a configuration or an edit: elements of NETCONF and RESTCONF, and nodes of
 * other models.
 */
#pragma once

#include "engine/data/attributes.h"
#include "engine/schema/schema.h"

#include <string>
#include <string_view>
#include <vector>

namespace engine
{

/** A text on its way to libyang. */
struct RawText {
    const Schema &schema;
    const Source &source;
    std::string_view text; /**< Of the source, without a byte order mark. */
    Content content;
};

/** Nodes of another model that were skipped. */
struct SkippedNodes {
    std::string space; /**< Their namespace; in JSON, their module. */
    std::size_t count = 0;
    std::string name; /**< Of the first. */
    TextPlace place;  /**< Of the first. */
};

/**
 * Reads what stands around the data of a text, element by element (in JSON: member by member).
 * An edit stands in `edit-config` (and that in `rpc`) or in `config`, a configuration in `data`
 * (and that in `rpc-reply`) or in `config`. What they say is obeyed, is known not to matter, or is
 * an error.
 */
class Envelope
{
public:
    Envelope(const Source &source, Content content) : m_source(source), m_content(content) {}

    /** Whether a namespace (in JSON: a module) has such elements; some people write none. */
    static bool is_space(std::string_view space);
    /** Whether a text may begin with such an element. */
    static bool is_root(std::string_view name);

    /** Whether the children of the innermost element are the data. */
    bool is_at_data() const;
    /** Whether the innermost element has a text of its own. */
    bool has_value() const;
    /** Whether what the innermost element says does not matter. */
    bool is_ignored() const;
    /** Whether no element is open. */
    bool is_outside() const { return m_open.empty(); }
    /** Whether all attributes of the innermost element are to be ignored. */
    bool has_free_attributes() const;

    /** Enters an element. @throws InputError  It cannot stand there. */
    void enter(std::string_view space, std::string_view name, const TextPlace &place);
    /** Leaves it. @throws InputError  The value is not one of the element's. */
    void leave(std::string_view value, const TextPlace &place);
    /** Notes a node of another model, among or within the data. */
    void add_foreign(std::string_view space, std::string_view name, const std::string &path,
                     const TextPlace &place);
    /** @throws InputError  There are nodes of other models, and they are not to be skipped. */
    void require_no_foreign();
    /** At the end of the text. @throws InputError  As above, or there is no data. */
    void finish();

    /** Whether there was any such element. */
    bool exists() const { return !m_seen.empty(); }
    /** Whether a card's answer stands in the text, which may be that there is no configuration. */
    bool is_answer() const;
    /** Of an edit: one of merge, replace and none; empty: merge. */
    std::string default_operation() const;
    /** By namespace, in the order of the text. */
    const std::vector<SkippedNodes> &skipped() const { return m_skipped; }
    /** One node more would not be told. */
    bool is_full() const { return m_foreign.size() >= kMaxForeign; }

private:
    struct Element;
    static constexpr std::size_t kMaxForeign = 20;

    [[noreturn]] void fail(Fault fault, const TextPlace &place, const std::string &message,
                           const std::string &hint) const;
    bool has(std::string_view name) const;
    std::string known_below(const Element *above) const;
    static const std::vector<Element> &elements();

    const Source &m_source;
    const Content m_content;
    std::vector<const Element *> m_open;
    std::vector<const Element *> m_seen;
    bool m_has_data = false;
    std::string m_default_operation;
    std::vector<Problem> m_foreign;
    std::vector<SkippedNodes> m_skipped;
};

} // namespace engine
