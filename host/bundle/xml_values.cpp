#include "bundle/secret_map.h"
#include "bundle/value_text.h"

#include <array>
#include <cstdlib>
#include <utility>

namespace host
{
namespace
{

constexpr std::string_view kBlanks = " \t\r\n";

/** Goes through a text once, and forgives whatever is wrong with it. */
class XmlValues
{
public:
    XmlValues(std::string_view text, const RewriteValue &rewrite) : m_text(text), m_rewrite(rewrite)
    {
    }

    std::string run()
    {
        while (m_at < m_text.size()) {
            if (m_text[m_at] == '<') {
                markup();
            } else {
                character(m_text.size());
            }
        }
        end_value();
        return with_changes(m_text, m_changes);
    }

private:
    bool is_at(std::string_view word) const { return m_text.substr(m_at).starts_with(word); }
    std::size_t behind(std::string_view word) const
    {
        const auto found = m_text.find(word, m_at);
        return found == std::string_view::npos ? m_text.size() : found + word.size();
    }

    void markup()
    {
        if (is_at("<!--")) {
            comment();
        } else if (is_at("<![CDATA[")) {
            const std::size_t end = behind("]]>");
            m_at += std::string_view("<![CDATA[").size();
            const std::size_t last = std::max(m_at, end - std::min<std::size_t>(end, 3));
            while (m_at < last) {
                plain_character(last);
            }
            m_at = end;
        } else if (is_at("<?") || is_at("<!")) {
            m_at = behind(">");
        } else if (is_at("</")) {
            end_value();
            m_at = behind(">");
            if (!m_names.empty()) {
                m_names.pop_back();
            }
        } else {
            end_value();
            tag();
        }
    }

    void comment()
    {
        constexpr std::size_t kMark = 4;
        const std::size_t end = behind("-->");
        const std::size_t begin = std::min(m_at + kMark, end);
        m_comments.push_back(
            {begin, end - begin, blanked(std::string(m_text.substr(begin, end - begin)))});
        m_at = end;
    }

    std::string name()
    {
        const std::size_t end = std::min(m_text.find_first_of(" \t\r\n/>=<", m_at), m_text.size());
        const std::string_view whole = m_text.substr(m_at, end - m_at);
        m_at = end;
        return std::string(whole.substr(whole.find(':') + 1));
    }

    void tag()
    {
        ++m_at;
        m_names.push_back(name());
        while (m_at < m_text.size()) {
            m_at = std::min(m_text.find_first_not_of(kBlanks, m_at), m_text.size());
            if (m_at == m_text.size() || m_text[m_at] == '<') {
                return;
            }
            if (m_text[m_at] == '>') {
                ++m_at;
                return;
            }
            if (is_at("/>")) {
                m_at += 2;
                m_names.pop_back();
                return;
            }
            attribute();
        }
    }

    void attribute()
    {
        const std::size_t begin = m_at;
        std::string attribute_name = name();
        m_at = std::min(m_text.find_first_not_of(" \t\r\n=", m_at), m_text.size());
        if (m_at < m_text.size() && (m_text[m_at] == '"' || m_text[m_at] == '\'')) {
            const char quote = m_text[m_at++];
            const std::size_t end = std::min(m_text.find(quote, m_at), m_text.size());
            m_names.push_back("@" + std::move(attribute_name));
            while (m_at < end) {
                character(end);
            }
            end_value();
            m_names.pop_back();
            m_at = std::min(end + 1, m_text.size());
        }
        m_at = std::max(m_at, begin + 1);
    }

    void plain_character(std::size_t end)
    {
        const std::size_t size = std::min(character_size(m_text, m_at), end - m_at);
        m_value.add(m_at, size, std::string(m_text.substr(m_at, size)));
        m_at += size;
    }

    void character(std::size_t end)
    {
        constexpr std::array<std::pair<std::string_view, const char *>, 5> kEntities{
            {{"&amp;", "&"}, {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&apos;", "'"}}};
        if (m_text[m_at] != '&') {
            plain_character(end);
            return;
        }
        for (const auto &[entity, meaning] : kEntities) {
            if (is_at(entity)) {
                m_value.add(m_at, entity.size(), meaning);
                m_at += entity.size();
                return;
            }
        }
        const std::size_t size = behind(";") - m_at;
        constexpr std::size_t kLongest = 12;
        if (is_at("&#") && size <= kLongest && m_at + size <= end) {
            const bool is_hex = is_at("&#x");
            const std::string digits(m_text.substr(m_at + (is_hex ? 3 : 2), size));
            m_value.add(m_at, size,
                        utf8_of(std::strtoul(digits.c_str(), nullptr, is_hex ? 16 : 10)));
            m_at += size;
            return;
        }
        plain_character(end);
    }

    /** Comments within a value stand before changes that are made to it later. */
    void end_value()
    {
        if (!m_value.empty()) {
            std::vector<ValueText::Change> changes;
            m_value.rewrite(m_rewrite(m_names, m_value.text()), false, changes);
            m_value.clear();
            std::size_t next = 0;
            for (auto &change : changes) {
                while (next < m_comments.size() && m_comments[next].offset < change.offset) {
                    m_changes.push_back(std::move(m_comments[next++]));
                }
                m_changes.push_back(std::move(change));
            }
            m_comments.erase(m_comments.begin(),
                             m_comments.begin() + static_cast<std::ptrdiff_t>(next));
        }
        for (auto &each : m_comments) {
            m_changes.push_back(std::move(each));
        }
        m_comments.clear();
    }

    std::string_view m_text;
    const RewriteValue &m_rewrite;
    std::size_t m_at = 0;
    std::vector<std::string> m_names;
    ValueText m_value;
    std::vector<ValueText::Change> m_comments; /**< Behind the last change. */
    std::vector<ValueText::Change> m_changes;
};

} // namespace

std::string rewrite_xml(std::string_view text, const RewriteValue &rewrite)
{
    return XmlValues(text, rewrite).run();
}

} // namespace host
