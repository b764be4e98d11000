#include "engine/data/text_nodes.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>

#include <exception>
#include <limits>
#include <memory>
#include <new>

namespace engine
{
namespace
{

std::string_view view(const xmlChar *text)
{
    return text != nullptr ? reinterpret_cast<const char *>(text) : std::string_view();
}

/** Takes half the time that expat takes; a check with findings pays for nothing else as much. */
class XmlNodesReader
{
public:
    /** @param text  Not longer than an int tells. @param start  Its offset in a longer one. */
    XmlNodesReader(std::string_view text, std::size_t start, TextNodesBuilder &builder)
        : m_text(text), m_start(start), m_model(builder.schema().module()->ns), m_builder(builder),
          m_parser(xmlCreateMemoryParserCtxt(text.data(), static_cast<int>(text.size())),
                   xmlFreeParserCtxt)
    {
        if (m_parser == nullptr) {
            throw std::bad_alloc();
        }
        xmlCtxtUseOptions(m_parser.get(), XML_PARSE_HUGE | XML_PARSE_NONET | XML_PARSE_IGNORE_ENC);
        set_handlers();
    }

    /** @return What stands behind the root element; empty: nothing, or nothing that can be read. */
    std::string_view read()
    {
        const bool is_read = xmlParseDocument(m_parser.get()) == 0;
        if (m_thrown != nullptr) {
            std::rethrow_exception(m_thrown);
        }
        if (m_parser->errNo == XML_ERR_NO_MEMORY) {
            throw std::bad_alloc();
        }
        if (is_read && m_parser->wellFormed != 0) {
            return {};
        }
        if (m_fault == XML_ERR_DOCUMENT_END) {
            return m_text.substr(m_fault_offset);
        }
        m_builder.result().failure = m_start + m_fault_offset;
        return {};
    }

private:
    /** No exception may pass through the C library. */
    template <typename Work>
    static void guard(void *self, const Work &work)
    {
        auto &reader = *static_cast<XmlNodesReader *>(self);
        if (reader.m_thrown != nullptr || reader.m_fault != XML_ERR_OK) {
            return; // What is told after the fault.
        }
        try {
            work(reader);
        } catch (...) {
            reader.m_thrown = std::current_exception();
            xmlStopParser(reader.m_parser.get());
        }
    }

    void set_handlers()
    {
        m_parser->userData = this;
        xmlSAXHandler &handler = *m_parser->sax;
        handler = {};
        handler.initialized = XML_SAX2_MAGIC;
        handler.startElementNs = [](void *self, const xmlChar *name, const xmlChar *,
                                    const xmlChar *space, int, const xmlChar **, int, int,
                                    const xmlChar **) {
            guard(self, [&](XmlNodesReader &reader) { reader.begin(view(space), view(name)); });
        };
        handler.endElementNs = [](void *self, const xmlChar *, const xmlChar *, const xmlChar *) {
            guard(self, [](XmlNodesReader &reader) { reader.end(); });
        };
        handler.internalSubset = [](void *self, const xmlChar *, const xmlChar *, const xmlChar *) {
            guard(self, [](XmlNodesReader &reader) { reader.stop(XML_ERR_INTERNAL_ERROR); });
        };
        handler.serror = [](void *self, xmlErrorPtr error) {
            if (error->level == XML_ERR_FATAL || error->code == XML_NS_ERR_UNDEFINED_NAMESPACE) {
                guard(self, [&](XmlNodesReader &reader) { reader.stop(error->code); });
            }
        };
    }

    /** Where the parser is. */
    std::size_t offset() const { return static_cast<std::size_t>(xmlByteConsumed(m_parser.get())); }

    void stop(int fault)
    {
        m_fault = fault;
        // Who closes another element than the open one is told of the tag, not of its end.
        m_fault_offset =
            fault == XML_ERR_TAG_NAME_MISMATCH ? m_text.rfind('<', offset()) : offset();
        xmlStopParser(m_parser.get());
    }

    /** The start tag has been read; no tag holds another `<` than its first. */
    void begin(std::string_view space, std::string_view name)
    {
        const auto start = m_text.rfind('<', offset());
        const SchemaNode *schema = m_builder.find(name, space == m_model);
        m_builder.begin(schema, name, m_start + start);
        listen_to_text(schema == nullptr || schema->is_leaf() || schema->is_leaf_list());
    }

    void end()
    {
        listen_to_text(false);
        m_builder.end();
    }

    /** Between elements there are blanks, of which nobody wants to hear. */
    void listen_to_text(bool is_on)
    {
        const auto listen = [](void *self, const xmlChar *text, int length) {
            guard(self, [&](XmlNodesReader &reader) {
                reader.m_builder.add_value(
                    {reinterpret_cast<const char *>(text), static_cast<std::size_t>(length)});
            });
        };
        m_parser->sax->characters = is_on ? +listen : nullptr;
        m_parser->sax->cdataBlock = m_parser->sax->characters;
    }

    const std::string_view m_text;
    const std::size_t m_start;
    const std::string_view m_model; /**< Namespace of the model. */
    TextNodesBuilder &m_builder;
    std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> m_parser;
    int m_fault = XML_ERR_OK;
    std::size_t m_fault_offset = 0; /**< In the text. */
    std::exception_ptr m_thrown;
};

} // namespace

// libyang reads several root elements, which are no XML document.
TextNodes read_xml_nodes(const Schema &schema, std::string_view text)
{
    TextNodesBuilder builder(schema, text.size());
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return {}; // Beyond what the parser can be given.
    }
    for (auto left = text; !left.empty();) {
        const auto behind = XmlNodesReader(left, text.size() - left.size(), builder).read();
        left = behind.size() < left.size() ? behind : std::string_view();
    }
    return std::move(builder.result());
}

} // namespace engine
