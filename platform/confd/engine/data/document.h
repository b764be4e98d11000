/**
 * @file
 * A source's text as libyang takes it.
 */
#pragma once

#include "engine/data/envelope.h"
#include "engine/schema/yang.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace engine
{

/**
 * One configuration or edit, and nothing else: what libyang would ignore is an error, and what it
 * would refuse although it is legal is written in another way. The source must outlive it.
 */
class Document
{
public:
    /** @throws InputError  See require_utf8, normalise_xml and normalise_json. */
    Document(const Schema &schema, const Source &source, Content content);
    Document(const Document &) = delete;
    Document &operator=(const Document &) = delete;

    Format format() const { return m_format; }
    /** What stood around the data; it is not part of what is parsed. */
    const Envelope &envelope() const { return m_envelope; }

    /**
     * As lyd_parse_data, without validation.
     * @throws InputError  There is text behind the data.
     */
    LY_ERR parse(const ly_ctx *context, std::uint32_t options, lyd_node *&root) const;

private:
    const Source &m_source;
    const Format m_format;
    Envelope m_envelope;
    std::string m_normalised;
    std::string_view m_text; /**< Of the source, or of what was made of it. Ends with a NUL. */
};

/**
 * The nodes of other models that are skipped in a text, if it is to be read so.
 * @throws InputError  As Document.
 */
std::vector<SkippedNodes> skipped_nodes(const Schema &schema, const Source &source,
                                        Content content);

} // namespace engine
