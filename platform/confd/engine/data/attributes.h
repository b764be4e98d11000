/**
 * @file
 * Attributes of a text: in XML those of elements, in JSON metadata (RFC 7952).
 */
#pragma once

#include "engine/data/error.h"
#include "engine/data/source.h"

#include <string>
#include <string_view>
#include <vector>

namespace engine
{

/** What a text is read as: an edit has attributes, a configuration has none. */
enum class Content { kConfiguration, kEdit };

/** Of the operation attribute, and of the elements that may stand around an edit. */
inline constexpr const char *kNetconfNamespace = "urn:ietf:params:xml:ns:netconf:base:1.0";

/** Of the attributes that place entries of lists. */
inline constexpr const char *kYangNamespace = "urn:ietf:params:xml:ns:yang:1";

/** An attribute with the namespace (in JSON: the module) that it belongs to. */
struct Attribute {
    std::string_view space;
    std::string_view name;
    std::string_view written; /**< With its prefix, as it stands in the text. */
};

/** Gathers the attributes of a text that would otherwise be ignored. */
class AttributeFaults
{
public:
    AttributeFaults(const Source &source, Format format, Content content)
        : m_source(source), m_format(format), m_content(content)
    {
    }

    /** Whether edits know the attribute. */
    bool is_known(const Attribute &attribute) const;
    /** Whether the text may have it: an edit what edits know, a configuration nothing. */
    bool is_allowed(const Attribute &attribute) const
    {
        return m_content == Content::kEdit && is_known(attribute);
    }

    void add(const Attribute &attribute, const std::string &path, TextPlace place);
    void add_duplicate(const std::string &name, const std::string &path, TextPlace place);
    /** One fault more would not be told. */
    bool is_full() const { return m_problems.size() >= kMaxFaults; }
    /** @throws InputError  When there are any. */
    void require_none();

private:
    static constexpr std::size_t kMaxFaults = 20;

    const Source &m_source;
    const Format m_format;
    const Content m_content;
    std::vector<Problem> m_problems;
};

} // namespace engine
