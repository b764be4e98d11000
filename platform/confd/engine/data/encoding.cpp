#include "engine/data/encoding.h"

#include "engine/data/error.h"

#include <expat.h>

#include <algorithm>
#include <cctype>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <utility>

namespace engine
{
namespace
{

using namespace std::string_view_literals;

[[noreturn]] void fail(const Source &source, const TextPlace &place, const std::string &message,
                       const char *hint)
{
    throw InputError({{Fault::kMalformed, source.name, place.line, "", message, hint,
                       static_cast<unsigned>(place.column)}});
}

/** Where an XML declaration names an encoding. */
struct DeclaredEncoding {
    std::size_t begin;
    std::size_t length;
    std::string name;
};

std::optional<DeclaredEncoding> declared_encoding(std::string_view text)
{
    constexpr auto kWord = "encoding"sv;
    constexpr auto kBlanks = " \t\r\n"sv;
    const auto declaration = text.substr(0, text.find("?>"));
    const auto begin = declaration.find(kWord);
    if (text.substr(0, 5) != "<?xml" || begin == std::string_view::npos) {
        return std::nullopt;
    }
    const auto equals = declaration.find_first_not_of(kBlanks, begin + kWord.size());
    const auto quote =
        declaration.find_first_not_of(kBlanks, std::min(equals, declaration.size() - 1) + 1);
    const auto close = quote < declaration.size() ? declaration.find(declaration[quote], quote + 1)
                                                  : std::string_view::npos;
    if (close == std::string_view::npos) {
        return std::nullopt; // Malformed: the parser tells.
    }
    return DeclaredEncoding{begin, close + 1 - begin,
                            std::string(declaration.substr(quote + 1, close - quote - 1))};
}

/** Gets a whole document from the parser as it is, but in UTF-8. */
class Converter
{
public:
    explicit Converter(const Source &source)
        : m_source(source),
          m_parser(XML_ParserCreate(is_wide(source.text) ? "UTF-16" : nullptr), XML_ParserFree)
    {
        if (m_parser == nullptr) {
            throw std::bad_alloc();
        }
        m_out.reserve(source.text.size() + source.text.size() / 4);
        XML_SetUserData(m_parser.get(), this);
        // It gets what no other handler is set for. No entity is expanded then.
        XML_SetDefaultHandler(m_parser.get(), [](void *self, const XML_Char *text, int length) {
            static_cast<Converter *>(self)->append({text, static_cast<std::size_t>(length)});
        });
    }

    std::string convert()
    {
        constexpr std::size_t kChunk = std::size_t{16} << 20U; // A length is an int.
        const std::string_view text = m_source.text;
        for (std::size_t at = 0; at < text.size(); at += kChunk) {
            const auto chunk = text.substr(at, kChunk);
            const auto is_last = at + kChunk >= text.size() ? XML_TRUE : XML_FALSE;
            const auto status =
                XML_Parse(m_parser.get(), chunk.data(), static_cast<int>(chunk.size()), is_last);
            if (m_failure != nullptr) {
                std::rethrow_exception(m_failure);
            }
            if (status != XML_STATUS_OK) {
                explain();
            }
        }
        return std::move(m_out);
    }

private:
    /** No exception may pass through the C library. */
    void append(std::string_view text) noexcept
    {
        try {
            m_out += text;
        } catch (...) {
            m_failure = std::current_exception();
            XML_StopParser(m_parser.get(), XML_FALSE);
        }
    }

    [[noreturn]] void explain() const
    {
        const auto code = XML_GetErrorCode(m_parser.get());
        if (code == XML_ERROR_NO_MEMORY) {
            throw std::bad_alloc();
        }
        if (code == XML_ERROR_UNKNOWN_ENCODING) {
            const auto declared = declared_encoding(m_source.text);
            fail(m_source, {}, "Unknown encoding" + (declared ? " " + declared->name : ""),
                 "UTF-8, UTF-16 and ISO-8859-1 are known");
        }
        const TextPlace place{static_cast<unsigned>(XML_GetCurrentLineNumber(m_parser.get())),
                              static_cast<std::size_t>(XML_GetCurrentColumnNumber(m_parser.get())) +
                                  1};
        fail(m_source, place, std::string("Malformed XML: ") + XML_ErrorString(code), "");
    }

    const Source &m_source;
    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> m_parser;
    std::exception_ptr m_failure;
    std::string m_out;
};

void require_wide_xml(const Source &source)
{
    const std::string encoding = wide_encoding(source.text);
    const auto first = source.text.find_first_not_of("\xFF\xFE\0 \t\r\n"sv);
    if (encoding != "UTF-16" || first == std::string::npos || source.text[first] != '<') {
        fail(source, {}, "The text is " + encoding, kEncodingHint);
    }
}

} // namespace

bool is_utf8_or_ascii(std::string_view encoding)
{
    const auto is = [encoding](std::string_view wanted) {
        return std::equal(
            encoding.begin(), encoding.end(), wanted.begin(), wanted.end(),
            [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; });
    };
    return is("utf-8") || is("us-ascii");
}

bool is_ascii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

void convert_to_utf8(Source &source)
{
    if (is_wide(source.text)) {
        require_wide_xml(source);
    } else {
        const auto declared = declared_encoding(source.text);
        if (!declared || is_utf8_or_ascii(declared->name) || is_ascii(source.text)) {
            return;
        }
    }
    source.text = Converter(source).convert();
    if (const auto declared = declared_encoding(source.text)) {
        source.text.replace(declared->begin, declared->length, declared->length, ' ');
    }
}

} // namespace engine
