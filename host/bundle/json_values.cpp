#include "bundle/secret_map.h"
#include "bundle/value_text.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <utility>

namespace host
{
namespace
{

/** Goes through a text once, and forgives whatever is wrong with it. */
class JsonValues
{
public:
    JsonValues(std::string_view text, const RewriteValue &rewrite)
        : m_text(text), m_rewrite(rewrite)
    {
    }

    std::string run()
    {
        while (m_at < m_text.size()) {
            const char letter = m_text[m_at];
            if (letter == '"') {
                string();
            } else if (letter == '{' || letter == '[') {
                m_names.push_back(m_member);
                m_is_array.push_back(letter == '[');
                ++m_at;
            } else if (letter == '}' || letter == ']') {
                close();
            } else if (letter == '-' || std::isdigit(static_cast<unsigned char>(letter)) != 0) {
                number();
            } else {
                ++m_at;
            }
        }
        return with_changes(m_text, m_changes);
    }

private:
    void close()
    {
        if (!m_names.empty()) {
            m_names.pop_back();
            m_is_array.pop_back();
        }
        m_member = m_names.empty() ? "" : m_names.back();
        ++m_at;
    }

    /** Names without prefixes; metadata of a leaf stands below `@` and its name. */
    std::vector<std::string> names() const
    {
        std::vector<std::string> all;
        for (std::size_t i = 0; i < m_names.size(); ++i) {
            // An array has the name of its member, and so have the objects in it.
            const bool is_entry = i > 0 && m_is_array[i - 1];
            if (!is_entry && !m_names[i].empty()) {
                all.push_back(m_names[i]);
            }
        }
        const bool is_entry = !m_is_array.empty() && m_is_array.back();
        if (!is_entry && !m_member.empty()) {
            all.push_back(m_member);
        }
        const bool is_metadata = std::any_of(
            all.begin(), all.end(), [](const std::string &name) { return name.starts_with('@'); });
        if (is_metadata && !all.back().starts_with('@')) {
            all.back().insert(0, "@");
        }
        return all;
    }

    void string()
    {
        ValueText value;
        ++m_at;
        while (m_at < m_text.size() && m_text[m_at] != '"') {
            character(value);
        }
        m_at = std::min(m_at + 1, m_text.size());
        const std::size_t next = m_text.find_first_not_of(" \t\r\n", m_at);
        const bool is_name = next != std::string_view::npos && m_text[next] == ':' &&
                             (m_is_array.empty() || !m_is_array.back());
        if (is_name) {
            const std::string name = value.text();
            const std::string mark = name.starts_with('@') ? "@" : "";
            m_member =
                mark + name.substr(name.starts_with('@') && name.find(':') == std::string::npos
                                       ? 1
                                       : name.find(':') + 1);
        } else {
            value.rewrite(m_rewrite(names(), value.text()), true, m_changes);
        }
    }

    void character(ValueText &value)
    {
        constexpr std::size_t kCode = 6; // \u0000
        constexpr int kHexadecimal = 16;
        if (m_text[m_at] != '\\') {
            const std::size_t size = character_size(m_text, m_at);
            value.add(m_at, size, std::string(m_text.substr(m_at, size)));
            m_at += size;
        } else if (m_text.substr(m_at).starts_with("\\u")) {
            const std::string digits(m_text.substr(m_at + 2, 4));
            const std::size_t size = std::min(kCode, m_text.size() - m_at);
            value.add(m_at, size, utf8_of(std::strtoul(digits.c_str(), nullptr, kHexadecimal)));
            m_at += size;
        } else {
            const std::size_t size = std::min<std::size_t>(2, m_text.size() - m_at);
            value.add(m_at, size, std::string(m_text.substr(m_at + size - 1, 1)));
            m_at += size;
        }
    }

    /** A model may have numbers where people put secrets. */
    void number()
    {
        ValueText value;
        while (m_at < m_text.size() &&
               (std::isalnum(static_cast<unsigned char>(m_text[m_at])) != 0 ||
                std::string_view("+-.").find(m_text[m_at]) != std::string_view::npos)) {
            value.add(m_at, 1, std::string(1, m_text[m_at]));
            ++m_at;
        }
        std::string text = value.text();
        if (text.find_first_not_of("0123456789") == std::string::npos) {
            text = m_rewrite(names(), text);
        }
        if (text.size() > 1 && text[0] == '0' && value.text()[0] != '0') {
            text[0] = '1'; // No number begins with a zero.
        }
        value.rewrite(text, true, m_changes);
    }

    std::string_view m_text;
    const RewriteValue &m_rewrite;
    std::size_t m_at = 0;
    std::string m_member; /**< Whose value comes next. */
    std::vector<std::string> m_names;
    std::vector<bool> m_is_array;
    std::vector<ValueText::Change> m_changes;
};

} // namespace

std::string rewrite_json(std::string_view text, const RewriteValue &rewrite)
{
    return JsonValues(text, rewrite).run();
}

} // namespace host
