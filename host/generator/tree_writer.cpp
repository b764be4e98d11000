#include "generator/tree_writer.h"

#include <ostream>
#include <utility>

namespace host
{
namespace
{

constexpr std::string_view kIndent = "  ";

void write_indent(std::ostream &out, std::size_t depth)
{
    for (std::size_t i = 0; i < depth; ++i) {
        out << kIndent;
    }
}

void write_xml_text(std::ostream &out, std::string_view text)
{
    for (const char c : text) {
        switch (c) {
        case '&':
            out << "&amp;";
            break;
        case '<':
            out << "&lt;";
            break;
        default:
            out << c;
        }
    }
}

/** Quotes and backslashes are escaped; control characters do not occur in a configuration. */
void write_json_text(std::ostream &out, std::string_view text)
{
    out << '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out << '\\';
        }
        out << c;
    }
    out << '"';
}

} // namespace

XmlWriter::XmlWriter(std::ostream &out, std::string ns) : m_out(out), m_ns(std::move(ns)) {}

void XmlWriter::indent()
{
    write_indent(m_out, m_open.size());
}

void XmlWriter::begin(std::string_view name)
{
    indent();
    m_out << '<' << name;
    if (m_open.empty()) {
        m_out << " xmlns=\"" << m_ns << '"';
    }
    m_out << ">\n";
    m_open.push_back(name);
}

void XmlWriter::end()
{
    const std::string_view name = m_open.back();
    m_open.pop_back();
    indent();
    m_out << "</" << name << ">\n";
}

void XmlWriter::open(std::string_view container)
{
    begin(container);
}

void XmlWriter::close()
{
    end();
}

void XmlWriter::open_list(std::string_view name)
{
    m_lists.push_back(name);
}

void XmlWriter::open_entry()
{
    begin(m_lists.back());
}

void XmlWriter::close_entry()
{
    end();
}

void XmlWriter::close_list()
{
    m_lists.pop_back();
}

void XmlWriter::text(std::string_view leaf, std::string_view value)
{
    indent();
    m_out << '<' << leaf << '>';
    write_xml_text(m_out, value);
    m_out << "</" << leaf << ">\n";
}

void XmlWriter::number(std::string_view leaf, std::uint32_t value)
{
    indent();
    m_out << '<' << leaf << '>' << value << "</" << leaf << ">\n";
}

void XmlWriter::boolean(std::string_view leaf, bool value)
{
    text(leaf, value ? "true" : "false");
}

void XmlWriter::empty(std::string_view leaf)
{
    indent();
    m_out << '<' << leaf << "/>\n";
}

void XmlWriter::numbers(std::string_view leaf_list, const std::vector<std::uint32_t> &values)
{
    for (const std::uint32_t value : values) {
        number(leaf_list, value);
    }
}

JsonWriter::JsonWriter(std::ostream &out, std::string module)
    : m_out(out), m_module(std::move(module))
{
}

void JsonWriter::next()
{
    m_out << (m_has_content.back() ? ",\n" : "\n");
    m_has_content.back() = true;
    write_indent(m_out, m_has_content.size());
}

void JsonWriter::member(std::string_view name)
{
    next();
    m_out << '"';
    if (m_has_content.size() == 1) {
        m_out << m_module << ':';
    }
    m_out << name << "\": ";
}

void JsonWriter::nest(char bracket)
{
    m_out << bracket;
    m_has_content.push_back(false);
}

void JsonWriter::unnest(char bracket)
{
    const bool had_content = m_has_content.back();
    m_has_content.pop_back();
    if (had_content) {
        m_out << '\n';
        write_indent(m_out, m_has_content.size());
    }
    m_out << bracket;
}

void JsonWriter::open(std::string_view container)
{
    if (m_has_content.empty()) {
        nest('{');
    }
    member(container);
    nest('{');
}

void JsonWriter::close()
{
    unnest('}');
    if (m_has_content.size() == 1) {
        unnest('}');
        m_out << '\n';
    }
}

void JsonWriter::open_list(std::string_view name)
{
    member(name);
    nest('[');
}

void JsonWriter::open_entry()
{
    next();
    nest('{');
}

void JsonWriter::close_entry()
{
    unnest('}');
}

void JsonWriter::close_list()
{
    unnest(']');
}

void JsonWriter::text(std::string_view leaf, std::string_view value)
{
    member(leaf);
    write_json_text(m_out, value);
}

void JsonWriter::number(std::string_view leaf, std::uint32_t value)
{
    member(leaf);
    m_out << value;
}

void JsonWriter::boolean(std::string_view leaf, bool value)
{
    member(leaf);
    m_out << (value ? "true" : "false");
}

void JsonWriter::empty(std::string_view leaf)
{
    member(leaf);
    m_out << "[null]";
}

void JsonWriter::numbers(std::string_view leaf_list, const std::vector<std::uint32_t> &values)
{
    open_list(leaf_list);
    for (const std::uint32_t value : values) {
        next();
        m_out << value;
    }
    close_list();
}

} // namespace host
