#include "engine/data/json_envelope.h"

#include "engine/data/text_iterator.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>
#include <vector>

namespace engine
{
namespace
{

constexpr std::string_view kBlanks = " \t\r\n";

/** A member's name, taken apart. */
struct MemberName {
    explicit MemberName(std::string_view written)
        : is_metadata(written.substr(0, 1) == "@"), local(written.substr(is_metadata ? 1 : 0))
    {
        if (const auto colon = local.find(':'); colon != std::string_view::npos) {
            module = local.substr(0, colon);
            local.remove_prefix(colon + 1);
        }
    }

    bool is_metadata;
    std::string_view local;
    std::string_view module; /**< Empty: that of the object around it. */
};

/** Whether all names of members are without a module, or with ours: a search, not a parse. */
bool has_only(std::string_view module, std::string_view text)
{
    for (auto at = text.find(':'); at != std::string_view::npos; at = text.find(':', at + 1)) {
        const auto close = text.find_last_not_of(kBlanks, std::max<std::size_t>(at, 1) - 1);
        if (close == std::string_view::npos || close == 0 || text[close] != '"') {
            continue;
        }
        const auto open = text.rfind('"', close - 1);
        const auto name = text.substr(open + 1, close - open - 1);
        const auto other = MemberName(name).module;
        if ((!other.empty() && other != module) || name.find('\\') != std::string_view::npos) {
            return false;
        }
    }
    return true;
}

/** Whether the first member is a node of the top. */
bool begins_with_data(std::string_view text, const Schema &schema)
{
    const auto open = std::min(text.find('"'), text.size());
    const auto close = std::min(text.find('"', open + 1), text.size());
    const MemberName name(
        text.substr(std::min(open + 1, close), close - std::min(open + 1, close)));
    return name.module == schema.module()->name && schema.top(name.local) != nullptr;
}

/** Goes through a text once. */
class DataCutter : public nlohmann::json_sax<nlohmann::json>
{
public:
    DataCutter(const RawText &raw, Envelope &envelope)
        : m_source(raw.source), m_text(raw.text), m_module(raw.schema.module()->name),
          m_envelope(envelope), m_out(raw.text), m_counter(raw.text)
    {
    }

    std::string cut()
    {
        const char *end = m_text.data() + m_text.size();
        nlohmann::json::sax_parse(TextIterator(m_text.data(), m_reached),
                                  TextIterator(end, m_reached), this);
        m_envelope.finish();
        blank(0, m_data_begin);
        blank(m_data_end, m_out.size());
        return std::move(m_out);
    }

    bool null() override { return scalar({}, false); }
    bool boolean(bool) override { return scalar({}, false); }
    bool number_integer(number_integer_t) override { return scalar({}, true); }
    bool number_unsigned(number_unsigned_t) override { return scalar({}, true); }
    bool number_float(number_float_t, const string_t &) override { return scalar({}, true); }
    bool string(string_t &value) override { return scalar(value, false); }
    bool binary(binary_t &) override { return true; }
    bool start_object(std::size_t) override { return open(true); }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open(false); }
    bool end_array() override { return close(); }
    bool key(string_t &name) override;
    bool parse_error(std::size_t position, const std::string & /*last_token*/,
                     const nlohmann::detail::exception &failure) override
    {
        m_envelope.require_no_foreign();
        fail_as_malformed(m_source, m_text, position, failure.what());
    }

private:
    /** What an object or array is, and its members with it, unless they say otherwise. */
    enum class Kind { kStart, kEnvelope, kIgnored, kData, kMetadata, kForeign };
    struct Level {
        Kind kind;
        Kind member; /**< Of the member that was named last. */
        std::string name{};
    };

    bool open(bool is_object);
    bool close();
    bool scalar(std::string_view value, bool is_number);
    Kind kind_of(const MemberName &name, const TextPlace &place);
    Kind envelope_kind(const MemberName &name, const TextPlace &place);
    void end_member(std::size_t end);
    void blank(std::size_t begin, std::size_t end);
    void blank_comma(std::size_t begin, std::size_t end);
    std::size_t reached() const { return static_cast<std::size_t>(m_reached - m_text.data()); }
    TextPlace place_at(std::size_t offset) { return m_counter.at(offset); }
    std::string path() const;

    const Source &m_source;
    const std::string_view m_text;
    const std::string_view m_module;
    Envelope &m_envelope;
    std::string m_out;
    const char *m_reached = m_text.data();
    std::size_t m_last = 0;       /**< Where the last event ended. */
    std::size_t m_member = 0;     /**< Where the foreign member began. */
    std::size_t m_data_begin = 0; /**< Of the object that is the data. */
    std::size_t m_data_end = 0;
    PlaceCounter m_counter;
    std::vector<Level> m_levels;
};

bool DataCutter::key(string_t &name)
{
    const auto begin = std::min(m_text.find('"', m_last), m_text.size());
    m_last = reached();
    Level &level = m_levels.back();
    level.name = name;
    level.member = kind_of(MemberName(name), place_at(begin));
    if (level.member == Kind::kForeign && level.kind != Kind::kForeign) {
        m_member = begin;
    }
    return !m_envelope.is_full();
}

DataCutter::Kind DataCutter::kind_of(const MemberName &name, const TextPlace &place)
{
    Level &level = m_levels.back();
    if (level.kind == Kind::kStart) {
        const bool is_envelope = !name.is_metadata && Envelope::is_space(name.module) &&
                                 (Envelope::is_root(name.local) || !name.module.empty());
        level.kind = is_envelope ? Kind::kEnvelope : Kind::kData;
    }
    if (level.kind == Kind::kEnvelope) {
        return envelope_kind(name, place);
    }
    if (level.kind != Kind::kData) {
        return level.kind;
    }
    if (!name.module.empty() && name.module != m_module) {
        if (!name.is_metadata) {
            m_envelope.add_foreign(name.module, name.local, path(), place);
        }
        return Kind::kForeign;
    }
    return name.is_metadata ? Kind::kMetadata : Kind::kData;
}

DataCutter::Kind DataCutter::envelope_kind(const MemberName &name, const TextPlace &place)
{
    m_envelope.enter(name.module, name.local, place);
    return m_envelope.is_at_data()   ? Kind::kData
           : m_envelope.is_ignored() ? Kind::kIgnored
                                     : Kind::kEnvelope;
}

bool DataCutter::open(bool is_object)
{
    m_last = reached();
    const bool is_root = m_levels.empty();
    const auto above = is_root ? Kind::kStart : m_levels.back().kind;
    const auto kind = is_root ? Kind::kStart : m_levels.back().member;
    if (is_root || (above == Kind::kEnvelope && kind == Kind::kData && is_object)) {
        m_data_begin = m_last - 1;
    } else if (above == Kind::kEnvelope && kind != Kind::kIgnored && !is_object) {
        throw InputError({{Fault::kMalformed, m_source.name, place_at(m_last).line, "",
                           m_levels.back().name + " is not an array", ""}});
    }
    m_levels.push_back({kind, kind});
    return true;
}

bool DataCutter::close()
{
    m_last = reached();
    m_levels.pop_back();
    if (m_levels.empty()) {
        m_data_end = m_data_end == 0 ? m_last : m_data_end;
        return true;
    }
    if (m_levels.back().kind == Kind::kEnvelope) {
        if (m_levels.back().member == Kind::kData) {
            m_data_end = m_last;
        }
        m_envelope.leave("", place_at(m_last));
    }
    end_member(m_last);
    return true;
}

bool DataCutter::scalar(std::string_view value, bool is_number)
{
    // Where a number ends is known from what stands behind it.
    m_last = reached() - (is_number ? 1 : 0);
    if (m_levels.empty()) {
        return true;
    }
    if (m_levels.back().kind == Kind::kEnvelope) {
        const auto place = place_at(m_last);
        if (!m_envelope.has_value() && !m_envelope.is_ignored()) {
            throw InputError({{Fault::kMalformed, m_source.name, place.line, "",
                               m_levels.back().name + " is not an object", ""}});
        }
        m_envelope.leave(value, place);
    }
    end_member(m_last);
    return true;
}

/** What is foreign goes, with the comma that is not needed any more. */
void DataCutter::end_member(std::size_t end)
{
    const Level &level = m_levels.back();
    if (level.kind != Kind::kForeign && level.member == Kind::kForeign) {
        blank(m_member, end);
        blank_comma(m_member, end);
    }
}

void DataCutter::blank(std::size_t begin, std::size_t end)
{
    for (; begin < end; ++begin) {
        m_out[begin] = m_out[begin] == '\n' ? '\n' : ' ';
    }
}

void DataCutter::blank_comma(std::size_t begin, std::size_t end)
{
    const auto behind = m_out.find_first_not_of(kBlanks, end);
    const auto before = m_out.find_last_not_of(kBlanks, begin);
    for (const auto at : {behind, before}) {
        if (at != std::string::npos && m_out[at] == ',') {
            m_out[at] = ' ';
            return;
        }
    }
}

/** Of the data, without module names. */
std::string DataCutter::path() const
{
    std::string path;
    for (std::size_t i = 0; i + 1 < m_levels.size(); ++i) {
        if (m_levels[i].kind == Kind::kData && !m_levels[i].name.empty()) {
            path += "/" + std::string(MemberName(m_levels[i].name).local);
        }
    }
    return path;
}

} // namespace

void fail_as_malformed(const Source &source, std::string_view text, std::size_t position,
                       std::string_view failure)
{
    // Such as "[json.exception.parse_error.101] parse error at line 1, column 2: syntax error ..."
    const auto reason = failure.find(": ");
    const auto place = place_of(text, position > 0 ? position - 1 : 0);
    throw InputError(
        {{Fault::kMalformed, source.name, place.line, "",
          "Malformed JSON" + std::string(failure.substr(std::min(reason, failure.size()))), "",
          static_cast<unsigned>(place.column)}});
}

std::optional<std::string> cut_out_data(const RawText &raw, Envelope &envelope)
{
    if (!raw.source.reading.skip_foreign && begins_with_data(raw.text, raw.schema) &&
        has_only(raw.schema.module()->name, raw.text)) {
        return std::nullopt;
    }
    return DataCutter(raw, envelope).cut();
}

} // namespace engine
