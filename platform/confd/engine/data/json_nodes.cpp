#include "engine/data/text_iterator.h"
#include "engine/data/text_nodes.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace engine
{
namespace
{

class JsonNodesReader : public nlohmann::json_sax<nlohmann::json>
{
public:
    JsonNodesReader(const Schema &schema, std::string_view text)
        : m_text(text), m_module(schema.module()->name), m_builder(schema, text.size())
    {
    }

    TextNodes read()
    {
        const char *end = m_text.data() + m_text.size();
        nlohmann::json::sax_parse(TextIterator(m_text.data(), m_reached),
                                  TextIterator(end, m_reached), this);
        return std::move(m_builder.result());
    }

    bool null() override { return scalar(""); }
    bool boolean(bool value) override { return scalar(value ? "true" : "false"); }
    bool number_integer(number_integer_t value) override { return scalar(std::to_string(value)); }
    bool number_unsigned(number_unsigned_t value) override { return scalar(std::to_string(value)); }
    bool number_float(number_float_t, const string_t &text) override { return scalar(text); }
    bool string(string_t &text) override { return scalar(text); }
    bool binary(binary_t &) override { return true; }
    bool start_object(std::size_t) override;
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override;
    bool end_array() override { return close(); }
    bool key(string_t &name) override;
    bool parse_error(std::size_t position, const std::string &last_token,
                     const nlohmann::detail::exception &failure) override;

private:
    /** What a member's value, or the elements of its array, are. */
    struct Member {
        const SchemaNode *schema = nullptr;
        std::string name;
        std::size_t offset = 0;
    };
    /** An object or array that has begun. */
    struct Level {
        bool is_array = false;
        bool is_node = false; /**< Ends a node. */
        Member member;        /**< Of an object the last one; of an array what its elements are. */
    };

    bool is_inside_array() const { return !m_levels.empty() && m_levels.back().is_array; }
    bool scalar(std::string_view text);
    bool close();
    /** Where what is read now began: behind the last event and some characters. */
    std::size_t offset_behind(std::string_view between) const
    {
        return std::min(m_text.find_first_not_of(between, m_last), m_text.size());
    }
    /** All that was read belongs to the last event. */
    bool done()
    {
        m_last = static_cast<std::size_t>(m_reached - m_text.data());
        return true;
    }

    const std::string_view m_text;
    const std::string_view m_module;
    TextNodesBuilder m_builder;
    const char *m_reached = m_text.data();
    std::size_t m_last = 0; /**< How far the text was read at the last event. */
    std::vector<Level> m_levels;
    std::size_t m_skipped = 0;  /**< Levels of metadata. */
    bool m_is_metadata = false; /**< The value of the member is. */
};

bool JsonNodesReader::key(string_t &name)
{
    // A number is read to the character behind it, which begins no name.
    const std::size_t offset = offset_behind(" \t\r\n,{}]");
    if (m_skipped == 0) {
        m_is_metadata = name.rfind('@', 0) == 0;
        const auto colon = name.find(':');
        const bool has_module = colon != std::string::npos;
        const bool is_top = m_builder.is_at_top();
        const bool is_own =
            has_module ? std::string_view(name).substr(0, colon) == m_module : !is_top;
        std::string local = name.substr(has_module ? colon + 1 : 0);
        const SchemaNode *schema = m_builder.find(local, is_own);
        m_levels.back().member = {schema, std::move(local), offset};
    }
    return done();
}

bool JsonNodesReader::scalar(std::string_view text)
{
    if (m_skipped == 0 && !std::exchange(m_is_metadata, false) && !m_levels.empty()) {
        const Level &level = m_levels.back();
        if (!level.is_array || !level.is_node) {
            const auto offset = level.is_array ? offset_behind(" \t\r\n,[") : level.member.offset;
            m_builder.begin(level.member.schema, level.member.name, offset);
            m_builder.add_value(text);
            m_builder.end();
        }
    }
    return done();
}

bool JsonNodesReader::start_object(std::size_t)
{
    if (m_skipped > 0 || std::exchange(m_is_metadata, false)) {
        ++m_skipped;
        return done();
    }
    Level level;
    if (!m_levels.empty()) {
        const Level &above = m_levels.back();
        const auto offset = above.is_array ? offset_behind(" \t\r\n,[") : above.member.offset;
        m_builder.begin(above.member.schema, above.member.name, offset);
        level.is_node = true;
    }
    m_levels.push_back(std::move(level));
    return done();
}

bool JsonNodesReader::start_array(std::size_t)
{
    if (m_skipped > 0 || std::exchange(m_is_metadata, false)) {
        ++m_skipped;
        return done();
    }
    Level level;
    level.is_array = true;
    if (!m_levels.empty()) {
        level.member = m_levels.back().member;
        const auto *schema = level.member.schema;
        // A leaf of type empty is [null].
        level.is_node = schema != nullptr && schema->is_leaf();
        if (level.is_node) {
            m_builder.begin(schema, level.member.name, level.member.offset);
        }
    }
    m_levels.push_back(std::move(level));
    return done();
}

bool JsonNodesReader::close()
{
    if (m_skipped > 0) {
        --m_skipped;
    } else {
        if (m_levels.back().is_node) {
            m_builder.end();
        }
        m_levels.pop_back();
    }
    return done();
}

bool JsonNodesReader::parse_error(std::size_t position, const std::string &,
                                  const nlohmann::detail::exception &)
{
    m_builder.result().failure = position > 0 ? position - 1 : 0;
    return false;
}

} // namespace

TextNodes read_json_nodes(const Schema &schema, std::string_view text)
{
    return JsonNodesReader(schema, text).read();
}

} // namespace engine
