/**
 * @file
 * Writes configuration data as XML or JSON, node by node.
 */
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace host
{

/**
 * Entries of a list come in a row, between open_list and close_list. Names are literals: the writer
 * keeps no copies.
 */
class TreeWriter
{
public:
    virtual ~TreeWriter() = default;

    virtual void open(std::string_view container) = 0;
    virtual void close() = 0;
    virtual void open_list(std::string_view name) = 0;
    virtual void open_entry() = 0;
    virtual void close_entry() = 0;
    virtual void close_list() = 0;

    virtual void text(std::string_view leaf, std::string_view value) = 0;
    virtual void number(std::string_view leaf, std::uint32_t value) = 0;
    virtual void boolean(std::string_view leaf, bool value) = 0;
    virtual void empty(std::string_view leaf) = 0;
    virtual void numbers(std::string_view leaf_list, const std::vector<std::uint32_t> &values) = 0;
};

/** The outermost node carries the namespace. */
class XmlWriter : public TreeWriter
{
public:
    XmlWriter(std::ostream &out, std::string ns);

    void open(std::string_view container) override;
    void close() override;
    void open_list(std::string_view name) override;
    void open_entry() override;
    void close_entry() override;
    void close_list() override;
    void text(std::string_view leaf, std::string_view value) override;
    void number(std::string_view leaf, std::uint32_t value) override;
    void boolean(std::string_view leaf, bool value) override;
    void empty(std::string_view leaf) override;
    void numbers(std::string_view leaf_list, const std::vector<std::uint32_t> &values) override;

private:
    void indent();
    void begin(std::string_view name);
    void end();

    std::ostream &m_out;
    std::string m_ns;
    std::vector<std::string_view> m_open;
    std::vector<std::string_view> m_lists;
};

/** The outermost node carries the module's name, as in RFC 7951. */
class JsonWriter : public TreeWriter
{
public:
    JsonWriter(std::ostream &out, std::string module);

    void open(std::string_view container) override;
    void close() override;
    void open_list(std::string_view name) override;
    void open_entry() override;
    void close_entry() override;
    void close_list() override;
    void text(std::string_view leaf, std::string_view value) override;
    void number(std::string_view leaf, std::uint32_t value) override;
    void boolean(std::string_view leaf, bool value) override;
    void empty(std::string_view leaf) override;
    void numbers(std::string_view leaf_list, const std::vector<std::uint32_t> &values) override;

private:
    void next();
    void member(std::string_view name);
    void nest(char bracket);
    void unnest(char bracket);

    std::ostream &m_out;
    std::string m_module;
    std::vector<bool> m_has_content; /**< For each open object or array. */
};

} // namespace host
