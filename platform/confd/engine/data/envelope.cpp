#include "engine/data/envelope.h"

#include <algorithm>
#include <array>
#include <utility>

namespace engine
{
namespace
{

/** In XML and in JSON. The last are those of <get-data> and of RESTCONF's datastore. */
constexpr std::array<std::string_view, 7> kSpaces{"",
                                                  kNetconfNamespace,
                                                  "ietf-netconf",
                                                  "urn:ietf:params:xml:ns:yang:ietf-netconf-nmda",
                                                  "ietf-netconf-nmda",
                                                  "urn:ietf:params:xml:ns:yang:ietf-restconf",
                                                  "ietf-restconf"};

std::string joined(const std::vector<std::string_view> &words)
{
    std::string text;
    for (const auto word : words) {
        text += (text.empty() ? "" : ", ") + std::string(word);
    }
    return text;
}

} // namespace

struct Envelope::Element {
    enum class Holds { kElements, kData, kValue, kAnything };

    std::string_view above; /**< Empty: at the top. */
    std::string_view name;
    Holds holds;
    bool is_of_edits;
    bool is_of_configurations;
    std::vector<std::string_view> values{};
};

const std::vector<Envelope::Element> &Envelope::elements()
{
    using Holds = Element::Holds;
    static const std::vector<Element> kElements{
        {"", "rpc", Holds::kElements, true, false},
        {"", "edit-config", Holds::kElements, true, false},
        {"", "config", Holds::kData, true, true},
        {"", "rpc-reply", Holds::kElements, false, true},
        {"", "data", Holds::kData, false, true},
        {"rpc", "edit-config", Holds::kElements, true, false},
        // Where an edit goes and whether it is tried first is not ours to decide.
        {"edit-config", "target", Holds::kAnything, true, false},
        {"edit-config",
         "default-operation",
         Holds::kValue,
         true,
         false,
         {"merge", "replace", "none"}},
        {"edit-config",
         "test-option",
         Holds::kValue,
         true,
         false,
         {"test-then-set", "set", "test-only"}},
        // They differ in what is left of an edit that fails; such an edit is not checked any
        // further.
        {"edit-config",
         "error-option",
         Holds::kValue,
         true,
         false,
         {"stop-on-error", "continue-on-error", "rollback-on-error"}},
        {"edit-config", "config", Holds::kData, true, false},
        {"rpc-reply", "data", Holds::kData, false, true},
    };
    return kElements;
}

bool Envelope::is_space(std::string_view space)
{
    return std::find(kSpaces.begin(), kSpaces.end(), space) != kSpaces.end();
}

bool Envelope::is_root(std::string_view name)
{
    return std::any_of(elements().begin(), elements().end(), [name](const Element &element) {
        return element.above.empty() && element.name == name;
    });
}

bool Envelope::is_at_data() const
{
    return !m_open.empty() && m_open.back()->holds == Element::Holds::kData;
}

bool Envelope::has_value() const
{
    return !m_open.empty() && m_open.back()->holds == Element::Holds::kValue;
}

bool Envelope::is_ignored() const
{
    return !m_open.empty() && m_open.back()->holds == Element::Holds::kAnything;
}

bool Envelope::has_free_attributes() const
{
    return !m_open.empty() && m_open.back()->name.substr(0, 3) == "rpc";
}

void Envelope::fail(Fault fault, const TextPlace &place, const std::string &message,
                    const std::string &hint) const
{
    throw InputError({{fault, m_source.name, place.line, "", message, hint,
                       static_cast<unsigned>(place.column)}});
}

std::string Envelope::known_below(const Element *above) const
{
    std::vector<std::string_view> names;
    for (const Element &element : elements()) {
        const bool is_of_content =
            m_content == Content::kEdit ? element.is_of_edits : element.is_of_configurations;
        if (element.above == (above != nullptr ? above->name : "") && is_of_content) {
            names.push_back(element.name);
        }
    }
    return names.empty() ? "" : "known here: " + joined(names);
}

void Envelope::enter(std::string_view space, std::string_view name, const TextPlace &place)
{
    const Element *above = m_open.empty() ? nullptr : m_open.back();
    if (is_ignored()) {
        m_open.push_back(above);
        return;
    }
    const auto found =
        std::find_if(elements().begin(), elements().end(), [&](const Element &element) {
            return element.name == name &&
                   element.above == (above != nullptr ? above->name : std::string_view());
        });
    const std::string text(name);
    if (found == elements().end() || !is_space(space)) {
        const auto of_space = is_space(space) ? "" : " of " + std::string(space);
        fail(Fault::kUnknownNode, place, "Unknown element " + text + of_space, known_below(above));
    }
    if (m_content == Content::kEdit && !found->is_of_edits) {
        fail(Fault::kNoConfiguration, place, text + " holds a whole configuration",
             "this is read as an edit");
    }
    if (m_content == Content::kConfiguration && !found->is_of_configurations) {
        fail(Fault::kNoConfiguration, place, text + " holds an edit",
             "this is read as a whole configuration");
    }
    if (std::find(m_seen.begin(), m_seen.end(), &*found) != m_seen.end()) {
        fail(Fault::kDuplicate, place, "A second " + text,
             "a file holds one configuration or edit; several edits are several files");
    }
    m_seen.push_back(&*found);
    m_open.push_back(&*found);
    m_has_data = m_has_data || is_at_data();
}

void Envelope::leave(std::string_view value, const TextPlace &place)
{
    const Element &element = *m_open.back();
    m_open.pop_back();
    if (element.holds != Element::Holds::kValue) {
        return;
    }
    const auto &values = element.values;
    if (std::find(values.begin(), values.end(), value) == values.end()) {
        fail(Fault::kInvalidValue, place,
             "Invalid " + std::string(element.name) + " " + std::string(value),
             "one of " + joined(values));
    }
    if (element.name == "default-operation") {
        m_default_operation = value;
    }
}

void Envelope::add_foreign(std::string_view space, std::string_view name, const std::string &path,
                           const TextPlace &place)
{
    if (!m_source.reading.skip_foreign) {
        m_foreign.push_back(
            {Fault::kForeignNode, m_source.name, place.line, path + "/" + std::string(name),
             "Node of another model, " + std::string(space), "with --skip-foreign it is skipped",
             static_cast<unsigned>(place.column)});
        return;
    }
    auto known = std::find_if(m_skipped.begin(), m_skipped.end(),
                              [space](const SkippedNodes &nodes) { return nodes.space == space; });
    if (known == m_skipped.end()) {
        m_skipped.push_back({std::string(space), 0, std::string(name), place});
        known = m_skipped.end() - 1;
    }
    ++known->count;
}

void Envelope::require_no_foreign()
{
    if (is_full()) {
        m_foreign.push_back({Fault::kForeignNode, m_source.name, 0, "",
                             "There may be more nodes of other models", ""});
    }
    if (!m_foreign.empty()) {
        throw InputError(std::move(m_foreign));
    }
}

void Envelope::finish()
{
    require_no_foreign();
    if (exists() && !m_has_data) {
        fail(Fault::kNoConfiguration, {},
             std::string("There is no ") + (m_content == Content::kEdit ? "config" : "data") +
                 " in it",
             known_below(m_seen.back()));
    }
}

bool Envelope::has(std::string_view name) const
{
    return std::any_of(m_seen.begin(), m_seen.end(),
                       [name](const Element *element) { return element->name == name; });
}

bool Envelope::is_answer() const
{
    return has("data") && m_skipped.empty();
}

std::string Envelope::default_operation() const
{
    return has("edit-config") ? m_default_operation : m_source.reading.default_operation;
}

} // namespace engine
