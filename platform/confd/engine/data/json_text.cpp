#include "engine/data/json_text.h"

#include "engine/data/json_envelope.h"
#include "engine/data/text_iterator.h"

#include <nlohmann/json.hpp>

#include <set>
#include <utility>
#include <vector>

namespace engine
{
namespace
{

constexpr std::size_t kEscapeLength = 6; // \uXXXX

/** The number of an escape \uXXXX at that place; nothing when there is none. */
std::optional<unsigned> escape_at(std::string_view text, std::size_t at)
{
    if (text.substr(at, 2) != "\\u" || at + kEscapeLength > text.size()) {
        return std::nullopt;
    }
    unsigned number = 0;
    for (const char c : text.substr(at + 2, 4)) {
        const auto digit = std::string_view("0123456789abcdefABCDEF").find(c);
        if (digit == std::string_view::npos) {
            return std::nullopt;
        }
        number = number * 16 + static_cast<unsigned>(digit < 16 ? digit : digit - 6);
    }
    return number;
}

bool is_in(unsigned number, unsigned low, unsigned high)
{
    return number >= low && number <= high;
}

std::string utf8_of_pair(unsigned high, unsigned low)
{
    const unsigned character = 0x10000 + ((high - 0xD800) << 10U) + (low - 0xDC00);
    return {static_cast<char>(0xF0U | character >> 18U),
            static_cast<char>(0x80U | (character >> 12U & 0x3FU)),
            static_cast<char>(0x80U | (character >> 6U & 0x3FU)),
            static_cast<char>(0x80U | (character & 0x3FU))};
}

/** What the escapes of a text say about it. */
struct Escapes {
    bool hide_at_sign = false;           /**< An @ is written as an escape. */
    std::optional<std::string> resolved; /**< The text without surrogate pairs, if it has any. */
};

Escapes read_escapes(const Source &source, std::string_view text)
{
    Escapes escapes;
    std::size_t copied = 0;
    for (auto at = text.find('\\'); at < text.size(); at = text.find('\\', at)) {
        const auto number = escape_at(text, at);
        if (!number || !is_in(*number, 0xD800, 0xDFFF)) {
            escapes.hide_at_sign = escapes.hide_at_sign || number == unsigned{'@'};
            at += 2; // A backslash may itself be escaped.
            continue;
        }
        const auto low = escape_at(text, at + kEscapeLength);
        if (*number > 0xDBFF || !low || !is_in(*low, 0xDC00, 0xDFFF)) {
            const auto place = place_of(text, at);
            throw InputError(
                {{Fault::kMalformed, source.name, place.line, "", "Half of a surrogate pair",
                  "a character beyond \\uffff is two escapes, \\ud8.. and \\udc..",
                  static_cast<unsigned>(place.column)}});
        }
        if (!escapes.resolved) {
            escapes.resolved.emplace().reserve(text.size());
        }
        *escapes.resolved += text.substr(copied, at - copied);
        *escapes.resolved += utf8_of_pair(*number, *low);
        at += 2 * kEscapeLength;
        copied = at;
    }
    if (escapes.resolved) {
        *escapes.resolved += text.substr(copied);
    }
    return escapes;
}

bool is_metadata_name(std::string_view name)
{
    return name.substr(0, 1) == "@";
}

/** Finds metadata that is not understood or given twice. */
class MetadataReader : public nlohmann::json_sax<nlohmann::json>
{
public:
    MetadataReader(const Source &source, std::string_view text, Content content)
        : m_source(source), m_text(text), m_faults(source, Format::kJson, content)
    {
    }

    void read()
    {
        const char *end = m_text.data() + m_text.size();
        nlohmann::json::sax_parse(TextIterator(m_text.data(), m_reached),
                                  TextIterator(end, m_reached), this);
        m_faults.require_none();
    }

    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t &) override { return true; }
    bool string(string_t &) override { return true; }
    bool binary(binary_t &) override { return true; }
    bool start_object(std::size_t) override { return open(false); }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open(true); }
    bool end_array() override { return close(); }
    bool key(string_t &name) override;
    bool parse_error(std::size_t position, const std::string &last_token,
                     const nlohmann::detail::exception &failure) override;

private:
    /** An object or array that has begun. */
    struct Level {
        bool is_array;
        bool is_metadata;               /**< Its members, or those of its objects, are metadata. */
        std::string member;             /**< The last one. */
        std::set<std::string> metadata; /**< The names that are metadata or have some. */
    };

    bool open(bool is_array)
    {
        const Level *above = m_levels.empty() ? nullptr : &m_levels.back();
        const bool is_metadata =
            above != nullptr &&
            (above->is_array ? above->is_metadata
                             : !above->is_metadata && is_metadata_name(above->member));
        m_levels.push_back({is_array, is_metadata, {}, {}});
        return true;
    }
    bool close()
    {
        m_levels.pop_back();
        return true;
    }
    /** Of the name that was read last. */
    TextPlace place() const
    {
        auto quote = static_cast<std::size_t>(m_reached - m_text.data()) - 1;
        do {
            --quote;
        } while (m_text[quote] != '"' || is_escaped(quote));
        return place_of(m_text, quote);
    }
    bool is_escaped(std::size_t at) const
    {
        const auto before = m_text.find_last_not_of('\\', at - 1);
        return (at - 1 - before) % 2 != 0;
    }
    std::string path() const;

    const Source &m_source;
    const std::string_view m_text;
    const char *m_reached = m_text.data();
    AttributeFaults m_faults;
    std::vector<Level> m_levels;
};

bool MetadataReader::key(string_t &name)
{
    Level &level = m_levels.back();
    level.member = name;
    if (level.is_metadata) {
        const std::string_view whole = name;
        const auto colon = whole.find(':');
        const bool has_module = colon != std::string_view::npos;
        const Attribute attribute{whole.substr(0, has_module ? colon : 0),
                                  whole.substr(has_module ? colon + 1 : 0), whole};
        if (!m_faults.is_allowed(attribute)) {
            m_faults.add(attribute, path(), place());
            return !m_faults.is_full();
        }
    }
    const bool matters = level.is_metadata || is_metadata_name(name);
    if (matters && !level.metadata.insert(name).second) {
        m_faults.add_duplicate(name, path(), place());
        return !m_faults.is_full();
    }
    return true;
}

bool MetadataReader::parse_error(std::size_t position, const std::string & /*last_token*/,
                                 const nlohmann::detail::exception &failure)
{
    m_faults.require_none(); // What was found before it ended.
    fail_as_malformed(m_source, m_text, position, failure.what());
}

/** Of the data, without module names. */
std::string MetadataReader::path() const
{
    std::string path;
    for (const auto &level : m_levels) {
        const auto begin = is_metadata_name(level.member) ? 1 : level.member.find(':') + 1;
        if (!level.is_array && !level.is_metadata && level.member.size() > begin) {
            path += "/" + level.member.substr(begin);
        }
    }
    return path;
}

} // namespace

std::optional<std::string> normalise_json(const RawText &raw, Envelope &envelope)
{
    auto text = raw.text;
    auto data = cut_out_data(raw, envelope);
    if (data) {
        text = *data;
    }
    auto escapes = read_escapes(raw.source, text);
    if (escapes.resolved) {
        text = *escapes.resolved;
    }
    if (escapes.hide_at_sign || text.find("\"@") != std::string_view::npos) {
        MetadataReader(raw.source, text, raw.content).read();
    }
    return escapes.resolved ? std::move(escapes.resolved) : std::move(data);
}

} // namespace engine
