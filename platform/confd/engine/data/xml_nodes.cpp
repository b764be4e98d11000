#include "engine/data/text_nodes.h"

#include <expat.h>

#include <algorithm>
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
    /** @param start  Place of the text in a longer one. */
    XmlNodesReader(std::string_view text, TextPlace start, TextNodesBuilder &builder)
        : m_text(text), m_start(start), m_space(builder.schema().module()->ns), m_builder(builder),
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
                guard(self, [](XmlNodesReader &reader) { reader.m_builder.end(); });
            });
        XML_SetCharacterDataHandler(
            m_parser.get(), [](void *self, const XML_Char *part, int length) {
                guard(self, [&](XmlNodesReader &reader) {
                    reader.m_builder.add_value({part, static_cast<std::size_t>(length)});
                });
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
        m_builder.result().failure = place();
        return {};
    }

    /** Where the parser is. */
    TextPlace place() const
    {
        const auto line = static_cast<unsigned>(XML_GetCurrentLineNumber(m_parser.get()));
        const std::size_t column = XML_GetCurrentColumnNumber(m_parser.get()) + 1;
        return {m_start.line + line - 1, line == 1 ? m_start.column + column - 1 : column};
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
        const auto separator = std::min(name.find(kSeparator), name.size());
        const bool is_own = name.substr(0, separator) == m_space && separator != name.size();
        const auto local = separator != name.size() ? name.substr(separator + 1) : name;
        m_builder.begin(m_builder.find(local, is_own), local, place());
    }

    const std::string_view m_text;
    const TextPlace m_start;
    const std::string_view m_space;
    TextNodesBuilder &m_builder;
    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> m_parser;
    bool m_is_stopped = false;
    std::exception_ptr m_thrown;
};

} // namespace

// libyang reads several root elements, which are no XML document.
TextNodes read_xml_nodes(const Schema &schema, std::string_view text)
{
    TextNodesBuilder builder(schema);
    TextPlace start;
    for (auto left = text; !left.empty();) {
        XmlNodesReader reader(left, start, builder);
        const auto behind = reader.read();
        if (behind.size() == left.size()) {
            break;
        }
        start = reader.place();
        left = behind;
    }
    return std::move(builder.result());
}

} // namespace engine
