#include "engine/data/xml_writer.h"

#include "engine/data/encoding.h"
#include "engine/data/xml_parts.h"

#include <expat.h>

#include <algorithm>
#include <exception>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace engine
{
namespace
{

constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";
constexpr std::string_view kBlanks = " \t\r\n";

std::size_t count_lines(std::string_view text)
{
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

/** Reads a text and writes it again without what libyang refuses. */
class XmlWriter
{
public:
    XmlWriter(const RawText &raw, Envelope &envelope)
        : m_schema(raw.schema), m_source(raw.source), m_text(raw.text),
          m_faults(raw.source, Format::kXml, raw.content), m_envelope(envelope),
          m_parser(XML_ParserCreateNS("UTF-8", kSeparator), XML_ParserFree)
    {
        if (m_parser == nullptr) {
            throw std::bad_alloc();
        }
        m_out.reserve(m_text.size());
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
                m_envelope.require_no_foreign();
                fail_as_malformed();
            }
        }
        m_faults.require_none();
        m_envelope.finish();
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
    TextPlace place() const
    {
        return {line(), static_cast<std::size_t>(XML_GetCurrentColumnNumber(parser())) + 1};
    }

    [[noreturn]] void fail(const std::string &message, const std::string &hint) const
    {
        throw InputError({{Fault::kMalformed, m_source.name, line(), "", message, hint,
                           static_cast<unsigned>(place().column)}});
    }

    [[noreturn]] void fail_as_malformed() const
    {
        if (XML_GetErrorCode(parser()) == XML_ERROR_NO_MEMORY) {
            throw std::bad_alloc();
        }
        fail(std::string("Malformed XML: ") + XML_ErrorString(XML_GetErrorCode(parser())),
             m_has_ended ? "a file holds one configuration or edit; several edits are several files"
                         : "");
    }

    void check_encoding(const XML_Char *encoding) const
    {
        if (encoding != nullptr && !is_utf8_or_ascii(encoding) && !is_ascii(m_text)) {
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
        const std::string name = prefix != nullptr ? prefix : "";
        m_scope[name].emplace_back(uri != nullptr ? uri : "");
        m_declared.push_back(name);
    }
    void forget(const XML_Char *prefix)
    {
        --m_namespaces;
        m_scope[prefix != nullptr ? prefix : ""].pop_back();
    }

    void begin(const XML_Char *name, const XML_Char **attributes);
    bool is_envelope(const QualifiedName &element) const;
    void begin_envelope(const QualifiedName &element, const XML_Char **attributes);
    void begin_data(const QualifiedName &element, const XML_Char **attributes);
    void write_declarations();
    void refuse_attribute(const QualifiedName &name);
    void write_attribute(const QualifiedName &name, std::string_view value);
    void end(const XML_Char *name);
    void take_text(std::string_view text);
    void write_lines(std::size_t line);
    /** The tag in the text. */
    std::string_view tag() const
    {
        const auto at = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser()));
        return m_text.substr(at, static_cast<std::size_t>(XML_GetCurrentByteCount(parser())));
    }
    std::string path() const;

    const Schema &m_schema;
    const Source &m_source;
    const std::string_view m_text;
    AttributeFaults m_faults;
    Envelope &m_envelope;
    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> m_parser;
    std::exception_ptr m_failure;
    std::string m_out;
    std::size_t m_line = 1; /**< Of the end of what was written. */
    std::size_t m_namespaces = 0;
    std::map<std::string, std::vector<std::string>> m_scope; /**< By prefix, the innermost last. */
    std::vector<std::string> m_declared; /**< Prefixes of the element that begins next. */
    std::vector<std::string> m_path;     /**< Of the data. */
    std::size_t m_skipped = 0;           /**< Levels of what is skipped. */
    std::string m_value;                 /**< Of an element of the envelope. */
    bool m_has_ended = false;
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
            writer.take_text({text, static_cast<std::size_t>(length)});
        });
    });
    XML_SetNamespaceDeclHandler(
        parser(),
        [](void *self, const XML_Char *prefix, const XML_Char *uri) {
            guard(self, [&](XmlWriter &writer) { writer.declare(prefix, uri); });
        },
        [](void *self, const XML_Char *prefix) {
            guard(self, [&](XmlWriter &writer) { writer.forget(prefix); });
        });
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
    const bool is_ours = element.space == m_schema.module()->ns;
    const bool is_root = m_path.empty() && m_envelope.is_outside();
    if (m_skipped > 0) {
        ++m_skipped;
    } else if (is_envelope(element)) {
        begin_envelope(element, attributes);
    } else if (!is_ours && !element.space.empty() && !is_root) {
        m_envelope.add_foreign(element.space, element.local, path(), place());
        m_skipped = 1;
        if (m_envelope.is_full()) {
            XML_StopParser(parser(), XML_FALSE);
        }
    } else {
        begin_data(element, attributes);
    }
    m_declared.clear();
}

/** Who left out the namespace of a configuration's top needs to be told so. */
bool XmlWriter::is_envelope(const QualifiedName &element) const
{
    if (!m_path.empty() || m_envelope.is_at_data()) {
        return false;
    }
    if (!m_envelope.is_outside()) {
        return true;
    }
    return element.space.empty()
               ? Envelope::is_root(element.local) && m_schema.top(element.local) == nullptr
               : Envelope::is_space(element.space);
}

void XmlWriter::begin_envelope(const QualifiedName &element, const XML_Char **attributes)
{
    m_envelope.enter(element.space, element.local, place());
    m_value.clear();
    for (; *attributes != nullptr && !m_faults.is_full(); attributes += 2) {
        const QualifiedName name(attributes[0]);
        // What else they say would be lost.
        if (name.space != kXmlNamespace && !m_envelope.has_free_attributes()) {
            refuse_attribute(name);
        }
    }
}

void XmlWriter::begin_data(const QualifiedName &element, const XML_Char **attributes)
{
    m_out += "<" + element.written();
    write_lines(line());
    write_declarations();
    m_path.emplace_back(element.local);
    for (; *attributes != nullptr && !m_faults.is_full(); attributes += 2) {
        write_attribute(QualifiedName(attributes[0]), attributes[1]);
    }
    write_lines(line() + count_lines(tag()));
    m_out += '>';
}

/** The top of the data also gets those of the elements around it. */
void XmlWriter::write_declarations()
{
    if (m_path.empty()) {
        m_declared.clear();
        for (const auto &[prefix, spaces] : m_scope) {
            if (!spaces.empty()) {
                m_declared.push_back(prefix);
            }
        }
    }
    for (const auto &prefix : m_declared) {
        m_out += prefix.empty() ? " xmlns=\"" : " xmlns:" + prefix + "=\"";
        write_escaped(m_out, m_scope[prefix].back(), Where::kAttribute);
        m_out += '"';
    }
}

void XmlWriter::refuse_attribute(const QualifiedName &name)
{
    const std::string written = name.written();
    const auto start = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser()));
    m_faults.add({name.space, name.local, written}, path(),
                 place_of(m_text, start + find_attribute(tag(), written)));
    if (m_faults.is_full()) {
        XML_StopParser(parser(), XML_FALSE);
    }
}

void XmlWriter::write_attribute(const QualifiedName &name, std::string_view value)
{
    if (name.space == kXmlNamespace && (name.local == "space" || name.local == "lang")) {
        return;
    }
    const std::string written = name.written();
    if (!m_faults.is_allowed({name.space, name.local, written})) {
        refuse_attribute(name);
        return;
    }
    m_out += " " + written + "=\"";
    write_escaped(m_out, value, Where::kAttribute);
    m_out += '"';
}

void XmlWriter::end(const XML_Char *name)
{
    if (m_skipped > 0) {
        --m_skipped;
    } else if (m_path.empty()) {
        const auto first = std::min(m_value.find_first_not_of(kBlanks), m_value.size());
        const auto last = m_value.find_last_not_of(kBlanks) + 1;
        m_envelope.leave(m_value.substr(first, last - first), place());
        m_value.clear();
    } else {
        m_out += "</" + QualifiedName(name).written();
        write_lines(line() + count_lines(tag()));
        m_out += '>';
        m_path.pop_back();
    }
    m_has_ended = m_skipped == 0 && m_path.empty() && m_envelope.is_outside();
}

void XmlWriter::take_text(std::string_view text)
{
    if (m_skipped > 0) {
        return;
    }
    if (!m_path.empty()) {
        write_escaped(m_out, text, Where::kText);
        m_line += count_lines(text);
    } else if (m_envelope.has_value()) {
        m_value += text;
    } else if (text.find_first_not_of(kBlanks) != std::string_view::npos &&
               !m_envelope.is_ignored()) {
        fail("Text beside the data", "");
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

std::string write_xml(const RawText &raw, Envelope &envelope)
{
    return XmlWriter(raw, envelope).write();
}

} // namespace engine
