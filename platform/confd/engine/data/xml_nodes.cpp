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
    XmlNodesReader(const Schema &schema, std::string_view text)
        : m_text(text), m_space(schema.module()->ns), m_builder(schema),
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

    TextNodes read()
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
        if (status != XML_STATUS_OK) {
            m_builder.result().failure = place();
        }
        return std::move(m_builder.result());
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

    TextPlace place() const
    {
        return {static_cast<unsigned>(XML_GetCurrentLineNumber(m_parser.get())),
                XML_GetCurrentColumnNumber(m_parser.get()) + 1};
    }

    void begin(std::string_view name)
    {
        const auto separator = std::min(name.find(kSeparator), name.size());
        const bool is_own = name.substr(0, separator) == m_space && separator != name.size();
        const auto local = separator != name.size() ? name.substr(separator + 1) : name;
        m_builder.begin(m_builder.find(local, is_own), local, place());
    }

    const std::string_view m_text;
    const std::string_view m_space;
    TextNodesBuilder m_builder;
    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> m_parser;
    bool m_is_stopped = false;
    std::exception_ptr m_thrown;
};

} // namespace

TextNodes read_xml_nodes(const Schema &schema, std::string_view text)
{
    return XmlNodesReader(schema, text).read();
}

} // namespace engine
