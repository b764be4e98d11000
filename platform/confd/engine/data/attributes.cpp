#include "engine/data/attributes.h"

#include <algorithm>
#include <array>
#include <utility>

namespace engine
{
namespace
{

struct KnownAttribute {
    std::string_view ns;
    std::string_view module;
    std::string_view name;
};

constexpr std::array<KnownAttribute, 4> kKnown{{{kNetconfNamespace, "ietf-netconf", "operation"},
                                                {kYangNamespace, "yang", "insert"},
                                                {kYangNamespace, "yang", "key"},
                                                {kYangNamespace, "yang", "value"}}};

constexpr const char *kXmlHint =
    "an edit has nc:operation with xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\", and "
    "yang:insert, yang:key and yang:value with xmlns:yang=\"urn:ietf:params:xml:ns:yang:1\"";
constexpr const char *kJsonHint =
    "an edit has ietf-netconf:operation, yang:insert, yang:key and yang:value";

} // namespace

bool AttributeFaults::is_known(const Attribute &attribute) const
{
    return std::any_of(kKnown.begin(), kKnown.end(), [&](const KnownAttribute &known) {
        const auto space = m_format == Format::kXml ? known.ns : known.module;
        return attribute.space == space && attribute.name == known.name;
    });
}

void AttributeFaults::add(const Attribute &attribute, const std::string &path, TextPlace place)
{
    const std::string written(attribute.written);
    const auto column = static_cast<unsigned>(place.column);
    if (m_content == Content::kConfiguration && is_known(attribute)) {
        m_problems.push_back({Fault::kUnknownAttribute, m_source.name, place.line, path,
                              "The attribute " + written + " belongs into edits",
                              "this is read as a whole configuration", column,
                              std::string(attribute.name)});
        return;
    }
    const bool is_xml = m_format == Format::kXml;
    const char *hint = is_xml ? kXmlHint : kJsonHint;
    m_problems.push_back({Fault::kUnknownAttribute, m_source.name, place.line, path,
                          (is_xml ? "Unknown attribute " : "Unknown metadata ") + written,
                          m_content == Content::kEdit ? hint : "a configuration has none", column,
                          std::string(attribute.name)});
}

void AttributeFaults::add_duplicate(const std::string &name, const std::string &path,
                                    TextPlace place)
{
    m_problems.push_back({Fault::kDuplicate, m_source.name, place.line, path,
                          "Duplicate member " + name, "", static_cast<unsigned>(place.column)});
}

void AttributeFaults::require_none()
{
    if (is_full()) {
        m_problems.push_back(
            {Fault::kUnknownAttribute, m_source.name, 0, "", "There may be more faults", ""});
    }
    if (!m_problems.empty()) {
        throw InputError(std::move(m_problems));
    }
}

} // namespace engine
