#include "engine/data/xml_text.h"

#include <expat.h>

#include <algorithm>
#include <cctype>
#include <exception>
#include <memory>
#include <utility>
#include <vector>

namespace engine
{
namespace
{

/** Looking up a prefix takes libyang as many steps as there are namespaces. */
constexpr std::size_t kMaxNamespaces = 100;

constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";
/** Separates the parts of a name: no XML text can hold it. */
constexpr char kSeparator = '\f';

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool is_utf8_or_ascii(std::string_view encoding)
{
    const auto is = [encoding](std::string_view wanted) {
        return std::equal(
            encoding.begin(), encoding.end(), wanted.begin(), wanted.end(),
            [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; });
    };
    return is("utf-8") || is("us-ascii");
}

/** The text behind an XML declaration that says UTF-8 or no encoding; all of it otherwise. */
std::string_view behind_declaration(std::string_view text)
{
    const auto end = text.find("?>");
    if (text.substr(0, 6) != "<?xml " || end == std::string_view::npos) {
        return text;
    }
    const auto declaration = text.substr(0, end);
    const bool is_plain = declaration.find("encoding") == std::string_view::npos ||
                          declaration.find("UTF-8") != std::string_view::npos ||
                          declaration.find("utf-8") != std::string_view::npos;
    return is_plain ? text.substr(end + 2) : text;
}

/** Whether a comment, a CDATA section or a processing instruction may begin in the text. */
bool has_markup(std::string_view text)
{
    for (const char kind : {'!', '?'}) {
        for (auto at = text.find(kind); at != std::string_view::npos;
             at = text.find(kind, at + 1)) {
            if (at > 0 && text[at - 1] == '<') {
                return true;
            }
        }
    }
    return false;
}

/** Whether what an equals sign ends is the name of a namespace declaration. */
bool declares_namespace(std::string_view before)
{
    while (!before.empty() && is_blank(before.back())) {
        before.remove_suffix(1);
    }
    const auto blank = before.find_last_of(" \t\r\n");
    const auto name = before.substr(blank == std::string_view::npos ? 0 : blank + 1);
    return name == "xmlns" || name.substr(0, 6) == "xmlns:";
}

/** Whether there may be attributes besides a few namespace declarations. */
bool has_attributes(std::string_view text)
{
    std::size_t namespaces = 0;
    for (auto at = text.find('='); at != std::string_view::npos; at = text.find('=', at + 1)) {
        auto value = at + 1;
        while (value < text.size() && is_blank(text[value])) {
            ++value;
        }
        const bool is_quoted = value < text.size() && (text[value] == '"' || text[value] == '\'');
        if (is_quoted &&
            (!declares_namespace(text.substr(0, at)) || ++namespaces > kMaxNamespaces)) {
            return true;
        }
    }
    return false;
}

std::size_t count_lines(std::string_view text)
{
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

/** A name as expat gives it: namespace, local name and prefix, as far as there are any. */
struct QualifiedName {
    explicit QualifiedName(std::string_view triplet)
    {
        const auto first = triplet.find(kSeparator);
        if (first == std::string_view::npos) {
            local = triplet;
            return;
        }
        space = triplet.substr(0, first);
        const auto second = triplet.find(kSeparator, first + 1);
        local = triplet.substr(first + 1, second - first - 1);
        if (second != std::string_view::npos) {
            prefix = triplet.substr(second + 1);
        }
    }

    std::string written() const
    {
        return (prefix.empty() ? "" : std::string(prefix) + ":") + std::string(local);
    }

    std::string_view space, local, prefix;
};

/** Reads a text and writes it again without what libyang refuses. */
class XmlWriter
{
public:
    XmlWriter(const Source &source, std::string_view text, Content content)
        : m_source(source), m_text(text), m_faults(source, Format::kXml, content),
          m_parser(XML_ParserCreateNS("UTF-8", kSeparator), XML_ParserFree)
    {
        if (m_parser == nullptr) {
            throw std::bad_alloc();
        }
        m_out.reserve(text.size());
        set_handlers();
    }

    std::string write()
    {
        constexpr std::size_t kChunk = std::size_t{16} << 20U; // A length is an int.
        for (std::size_t at = 0; at < m_text.size() || at == 0; at += kChunk) {
            const auto chunk = m_text.substr(at, kChunk);
            const bool is_last = at + kChunk >= m_text.size();
            const auto status = XML_Parse(parser(), chunk.data(), static_cast<int>(chunk.size()),
                                          is_last ? XML_TRUE : XML_FALSE);
            if (m_failure != nullptr) {
                std::rethrow_exception(m_failure);
            }
            if (status != XML_STATUS_OK) {
                m_faults.require_none(); // What was found before it ended.
                fail_as_malformed();
            }
        }
        m_faults.require_none();
        return std::move(m_out);
    }

private:
    void set_handlers();
    XML_Parser parser() const { return m_parser.get(); }

    /** No exception may pass through the C library. */
    template <typename Work>
    static void guard(void *self, const Work &work)
    {
        auto &writer = *static_cast<XmlWriter *>(self);
        if (writer.m_failure != nullptr) {
            return; // What is told after the parser was stopped.
        }
        try {
            work(writer);
        } catch (...) {
            writer.m_failure = std::current_exception();
            XML_StopParser(writer.parser(), XML_FALSE);
        }
    }

    unsigned line() const { return static_cast<unsigned>(XML_GetCurrentLineNumber(parser())); }

    [[noreturn]] void fail(const std::string &message, const std::string &hint) const
    {
        throw InputError({{Fault::kMalformed, m_source.name, line(), "", message, hint}});
    }

    [[noreturn]] void fail_as_malformed() const
    {
        if (XML_GetErrorCode(parser()) == XML_ERROR_NO_MEMORY) {
            throw std::bad_alloc();
        }
        fail("Malformed XML in column " + std::to_string(XML_GetCurrentColumnNumber(parser()) + 1) +
                 ": " + XML_ErrorString(XML_GetErrorCode(parser())),
             "");
    }

    void check_encoding(const XML_Char *encoding) const
    {
        const bool is_ascii = std::all_of(m_text.begin(), m_text.end(), [](char c) {
            return static_cast<unsigned char>(c) < 0x80;
        });
        if (encoding != nullptr && !is_utf8_or_ascii(encoding) && !is_ascii) {
            fail("The text declares the encoding " + std::string(encoding),
                 "save the file as UTF-8, and declare that or nothing");
        }
    }

    void declare(const XML_Char *prefix, const XML_Char *uri)
    {
        if (++m_namespaces > kMaxNamespaces) {
            fail("More than " + std::to_string(kMaxNamespaces) + " namespaces are declared",
                 "declare those that are used");
        }
        m_declarations += prefix != nullptr ? " xmlns:" + std::string(prefix) : " xmlns";
        m_declarations += "=\"";
        write_escaped(m_declarations, uri != nullptr ? uri : "", Where::kAttribute);
        m_declarations += '"';
    }

    void begin(const XML_Char *name, const XML_Char **attributes);
    void write_attribute(const QualifiedName &element, const QualifiedName &name,
                         std::string_view value);
    void end(const XML_Char *name);
    void write_text(std::string_view text);
    enum class Where { kText, kAttribute };
    static void write_escaped(std::string &out, std::string_view text, Where where);
    void write_lines(std::size_t line);
    /** The tag in the text. */
    std::string_view tag() const
    {
        const auto at = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser()));
        return m_text.substr(at, static_cast<std::size_t>(XML_GetCurrentByteCount(parser())));
    }
    std::string path() const;

    const Source &m_source;
    const std::string_view m_text;
    AttributeFaults m_faults;
    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> m_parser;
    std::exception_ptr m_failure;
    std::string m_out;
    std::size_t m_line = 1; /**< Of the end of what was written. */
    std::size_t m_namespaces = 0;
    std::string m_declarations; /**< Of the element that begins next. */
    std::vector<std::string> m_path;
};

void XmlWriter::set_handlers()
{
    XML_SetUserData(parser(), this);
    XML_SetReturnNSTriplet(parser(), 1);
    XML_SetElementHandler(
        parser(),
        [](void *self, const XML_Char *name, const XML_Char **attributes) {
            guard(self, [&](XmlWriter &writer) { writer.begin(name, attributes); });
        },
        [](void *self, const XML_Char *name) {
            guard(self, [&](XmlWriter &writer) { writer.end(name); });
        });
    XML_SetCharacterDataHandler(parser(), [](void *self, const XML_Char *text, int length) {
        guard(self, [&](XmlWriter &writer) {
            writer.write_text({text, static_cast<std::size_t>(length)});
        });
    });
    XML_SetNamespaceDeclHandler(
        parser(),
        [](void *self, const XML_Char *prefix, const XML_Char *uri) {
            guard(self, [&](XmlWriter &writer) { writer.declare(prefix, uri); });
        },
        [](void *self, const XML_Char *) { --static_cast<XmlWriter *>(self)->m_namespaces; });
    XML_SetXmlDeclHandler(
        parser(), [](void *self, const XML_Char *, const XML_Char *encoding, int) {
            guard(self, [&](XmlWriter &writer) { writer.check_encoding(encoding); });
        });
    XML_SetStartDoctypeDeclHandler(
        parser(), [](void *self, const XML_Char *, const XML_Char *, const XML_Char *, int) {
            guard(self, [](XmlWriter &writer) {
                writer.fail("A document type (DOCTYPE) is not supported", "leave it out");
            });
        });
}

void XmlWriter::begin(const XML_Char *name, const XML_Char **attributes)
{
    const QualifiedName element(name);
    m_path.emplace_back(element.space == kNetconfNamespace ? "" : element.local);
    m_out += "<" + element.written();
    write_lines(line());
    m_out += std::exchange(m_declarations, {});
    for (; *attributes != nullptr && !m_faults.is_full(); attributes += 2) {
        write_attribute(element, QualifiedName(attributes[0]), attributes[1]);
    }
    write_lines(line() + count_lines(tag()));
    m_out += '>';
}

void XmlWriter::write_attribute(const QualifiedName &element, const QualifiedName &name,
                                std::string_view value)
{
    if (name.space == kXmlNamespace && (name.local == "space" || name.local == "lang")) {
        return;
    }
    const std::string written = name.written();
    const Attribute attribute{name.space, name.local, written};
    // NETCONF's elements are taken off the edit: what they say would be lost.
    if (!m_faults.is_allowed(attribute) || element.space == kNetconfNamespace) {
        const auto in_tag = count_lines(tag().substr(0, tag().find(written)));
        m_faults.add(attribute, path(), line() + static_cast<unsigned>(in_tag));
        if (m_faults.is_full()) {
            XML_StopParser(parser(), XML_FALSE);
        }
        return;
    }
    m_out += " " + written + "=\"";
    write_escaped(m_out, value, Where::kAttribute);
    m_out += '"';
}

void XmlWriter::end(const XML_Char *name)
{
    m_out += "</" + QualifiedName(name).written();
    write_lines(line() + count_lines(tag()));
    m_out += '>';
    m_path.pop_back();
}

void XmlWriter::write_text(std::string_view text)
{
    write_escaped(m_out, text, Where::kText);
    m_line += count_lines(text);
}

void XmlWriter::write_escaped(std::string &out, std::string_view text, Where where)
{
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\r':
            out += "&#13;";
            break;
        case '\n':
            out += where == Where::kAttribute ? "&#10;" : "\n";
            break;
        default:
            out += c;
        }
    }
}

/** Inside a tag: makes up for the lines of what was left out, up to that one. */
void XmlWriter::write_lines(std::size_t line)
{
    if (line > m_line) {
        m_out.append(line - m_line, '\n');
        m_line = line;
    }
}

std::string XmlWriter::path() const
{
    std::string path;
    for (const auto &name : m_path) {
        path += name.empty() ? "" : "/" + name;
    }
    return path;
}

} // namespace

std::optional<std::string> normalise_xml(const Source &source, std::string_view text,
                                         Content content)
{
    const auto body = behind_declaration(text);
    if (!has_markup(body) && !has_attributes(body)) {
        return std::nullopt;
    }
    return XmlWriter(source, text, content).write();
}

} // namespace engine
