#include "engine/data/document.h"

#include "engine/data/json_text.h"
#include "engine/data/xml_text.h"

#include <memory>
#include <new>
#include <utility>

namespace engine
{
namespace
{

void free_input(ly_in *input)
{
    ly_in_free(input, 0);
}

} // namespace

Document::Document(const Schema &schema, const Source &source, Content content)
    : m_source(source), m_format(format_of(source.text)), m_envelope(source, content),
      m_text(without_mark(source.text))
{
    require_utf8(source);
    const RawText raw{schema, source, m_text, content};
    auto normalised = m_format == Format::kJson ? normalise_json(raw, m_envelope)
                                                : normalise_xml(raw, m_envelope);
    if (normalised) {
        m_normalised = std::move(*normalised);
        m_text = m_normalised;
    }
}

LY_ERR Document::parse(const ly_ctx *context, std::uint32_t options, lyd_node *&root) const
{
    ly_in *created = nullptr;
    if (ly_in_new_memory(m_text.data(), &created) != LY_SUCCESS) {
        throw std::bad_alloc();
    }
    const std::unique_ptr<ly_in, decltype(&free_input)> input(created, free_input);
    const auto format = m_format == Format::kJson ? LYD_JSON : LYD_XML;
    const auto result =
        lyd_parse_data(context, nullptr, created, format, LYD_PARSE_ONLY | options, 0, &root);
    if (result != LY_SUCCESS) {
        return result;
    }
    // Of JSON, libyang reads one document and looks no further.
    const auto behind = m_text.find_first_not_of(" \t\r\n", ly_in_parsed(created));
    if (behind != std::string_view::npos) {
        const auto place = place_of(m_text, behind);
        lyd_free_all(std::exchange(root, nullptr));
        throw InputError(
            {{Fault::kMalformed, m_source.name, place.line, "", "Text behind the end of the data",
              "a file holds one configuration or edit", static_cast<unsigned>(place.column)}});
    }
    return result;
}

std::vector<SkippedNodes> skipped_nodes(const Schema &schema, const Source &source, Content content)
{
    return source.reading.skip_foreign ? Document(schema, source, content).envelope().skipped()
                                       : std::vector<SkippedNodes>();
}

} // namespace engine
