#include "engine/data/text_nodes.h"

#include <expat.h>

#include <exception>
#include <memory>

namespace engine
{
namespace
{

/** Between the namespace and the name: no XML text can hold it. */
constexpr char kSeparator = '\f';

class XmlNodesReader
{
public:
    /** @param start  Offset of the text in a longer one. */
    XmlNodesReader(std::string_view text, std::size_t start, TextNodesBuilder &builder)
        : m_text(text), m_start(start),
          m_prefix(std::string(builder.schema().module()->ns) + kSeparator), m_builder(builder),
          m_parser(XML_ParserCreateNS("UTF-8", kSeparator), XML_ParserFree)
    {
        if (m_parser == nullptr) {
            throw std::bad_alloc();
        }
        XML_SetUserData(m_parser.get(), this);
        XML_SetElementHandler(
            m_parser.get(),
            [](void *self, const XML_Char *name, const XML_Char **) {
                guard(self, [&](XmlNodesReader &reader) { reader.begin(name); });
            },
            [](void *self, const XML_Char *) {
                guard(self, [](XmlNodesReader &reader) { reader.end(); });
            });
        XML_SetStartDoctypeDeclHandler(
            m_parser.get(), [](void *self, const XML_Char *, const XML_Char *, const XML_Char *,
                               int) { static_cast<XmlNodesReader *>(self)->stop(); });
    }

    /** @return What stands behind the root element; empty: nothing, or nothing that can be read. */
    std::string_view read()
    {
        constexpr std::size_t kChunk = std::size_t{16} << 20U; // A length is an int.
        auto status = XML_STATUS_OK;
        for (std::size_t at = 0; status == XML_STATUS_OK && (at < m_text.size() || at == 0);
             at += kChunk) {
            const auto chunk = m_text.substr(at, kChunk);
            status = XML_Parse(m_parser.get(), chunk.data(), static_cast<int>(chunk.size()),
                               at + kChunk >= m_text.size() ? XML_TRUE : XML_FALSE);
        }
        if (m_thrown != nullptr) {
            std::rethrow_exception(m_thrown);
        }
        if (XML_GetErrorCode(m_parser.get()) == XML_ERROR_NO_MEMORY) {
            throw std::bad_alloc();
        }
        if (status == XML_STATUS_OK) {
            return {};
        }
        if (XML_GetErrorCode(m_parser.get()) == XML_ERROR_JUNK_AFTER_DOC_ELEMENT) {
            return m_text.substr(static_cast<std::size_t>(XML_GetCurrentByteIndex(m_parser.get())));
        }
        m_builder.result().failure = offset();
        return {};
    }

    /** Where the parser is, in the longer text. */
    std::size_t offset() const
    {
        return m_start + static_cast<std::size_t>(XML_GetCurrentByteIndex(m_parser.get()));
    }

private:
    /** No exception may pass through the C library. */
    template <typename Work>
    static void guard(void *self, const Work &work)
    {
        auto &reader = *static_cast<XmlNodesReader *>(self);
        if (reader.m_is_stopped) {
            return; // What is told after the parser was stopped.
        }
        try {
            work(reader);
        } catch (...) {
            reader.m_thrown = std::current_exception();
            reader.stop();
        }
    }

    void stop()
    {
        m_is_stopped = true;
        XML_StopParser(m_parser.get(), XML_FALSE);
    }

    void begin(std::string_view name)
    {
        const bool is_own = name.substr(0, m_prefix.size()) == m_prefix;
        const auto local = name.substr(is_own ? m_prefix.size() : name.find(kSeparator) + 1);
        const SchemaNode *schema = m_builder.find(local, is_own);
        m_builder.begin(schema, local, offset());
        // Between elements there are blanks, of which expat would tell one by one.
        listen_to_text(schema == nullptr || schema->is_leaf() || schema->is_leaf_list());
    }

    void end()
    {
        listen_to_text(false);
        m_builder.end();
    }

    void listen_to_text(bool is_on)
    {
        if (is_on == m_is_listening) {
            return;
        }
        m_is_listening = is_on;
        const auto listen = [](void *self, const XML_Char *text, int length) {
            guard(self, [&](XmlNodesReader &reader) {
                reader.m_builder.add_value({text, static_cast<std::size_t>(length)});
            });
        };
        XML_SetCharacterDataHandler(m_parser.get(), is_on ? +listen : nullptr);
    }

    const std::string_view m_text;
    const std::size_t m_start;
    const std::string m_prefix; /**< Of names of the model. */
    TextNodesBuilder &m_builder;
    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> m_parser;
    bool m_is_listening = false;
    bool m_is_stopped = false;
    std::exception_ptr m_thrown;
};

} // namespace

// libyang reads several root elements, which are no XML document.
TextNodes read_xml_nodes(const Schema &schema, std::string_view text)
{
    TextNodesBuilder builder(schema, text.size());
    for (auto left = text; !left.empty();) {
        const auto behind = XmlNodesReader(left, text.size() - left.size(), builder).read();
        left = behind.size() < left.size() ? behind : std::string_view();
    }
    return std::move(builder.result());
}

} // namespace engine
