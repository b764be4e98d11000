// First the directives are filled in, then the text is taken apart. Clients ask for the same paths
// over and over: a text that was taken apart before, and holds no values, is only looked up.
#include "engine/data/path_reader.h"

#include "engine/data/filled_path.h"
#include "engine/data/value.h"
#include "engine/schema/yang_log.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <functional>
#include <optional>
#include <string_view>

namespace engine
{
namespace
{

/** A key as it stands in the path. */
struct RawKey {
    std::string text;
    const confd_value_t *value = nullptr; /**< Set when the key is one value and nothing else. */
};

/** Whether a range of the type holds the number. */
bool is_in_range(const lysc_range *range, std::uint64_t number)
{
    LY_ARRAY_COUNT_TYPE i = 0;
    bool is_in = range == nullptr;
    if (range != nullptr) {
        LY_ARRAY_FOR(range->parts, i)
        {
            is_in =
                is_in || (number >= range->parts[i].min_u64 && number <= range->parts[i].max_u64);
        }
    }
    return is_in;
}

/** Whether the text is a number in canonical form, of an unsigned type. */
bool is_canonical_number(const lysc_type &type, std::string_view text)
{
    constexpr std::array<std::pair<LY_DATA_TYPE, std::uint64_t>, 3> kTypes{
        {{LY_TYPE_UINT8, 0xff}, {LY_TYPE_UINT16, 0xffff}, {LY_TYPE_UINT32, 0xffffffff}}};
    const auto kind = std::find_if(kTypes.begin(), kTypes.end(), [&type](const auto &known) {
        return known.first == type.basetype;
    });
    if (kind == kTypes.end() || text.empty() || (text.front() == '0' && text.size() > 1)) {
        return false;
    }
    std::uint64_t number = 0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
    return fault == std::errc() && end == text.data() + text.size() && number <= kind->second &&
           is_in_range(reinterpret_cast<const lysc_type_num &>(type).range, number);
}

/** Nothing when the text does not fit the leaf's type. */
std::optional<std::string> canonical_form(const Schema &schema, const SchemaNode &leaf,
                                          const std::string &text)
{
    if (is_canonical_number(*leaf.type_storage.yang, text)) {
        return text;
    }
    const char *canonical = nullptr;
    // What a reference refers to is not asked here, so LY_EINCOMPLETE is as good as success.
    require_memory(lyd_value_validate(schema.context(), leaf.yang, text.c_str(), text.size(),
                                      nullptr, nullptr, &canonical));
    if (canonical == nullptr) {
        return std::nullopt;
    }
    std::string result(canonical);
    lydict_remove(schema.context(), canonical);
    return result;
}

/** Once a list stands without keys, the path is through all entries of those below as well. */
void name_places(Path &path)
{
    PlaceId place = kRootPlace;
    bool is_exact = true;
    for (Path::Step &step : path.steps) {
        place = place_below(place, *step.node);
        is_exact = is_exact && !(step.node->is_list() && step.keys.empty());
        for (const std::string &key : step.keys) {
            place = is_exact ? place_of_key(place, key) : place;
        }
        step.place = place;
    }
}

/** Which characters end what is read. */
template <char... kEnds>
constexpr std::array<bool, 256> end_table()
{
    std::array<bool, 256> table{};
    ((table[static_cast<unsigned char>(kEnds)] = true), ...);
    return table;
}

class Reader
{
public:
    /** @param with_keys  False: keys are skipped. */
    Reader(const Schema &schema, const FilledPath &path, bool with_keys)
        : m_schema(schema), m_path(path), m_with_keys(with_keys)
    {
    }

    Path read(const SchemaNode *start)
    {
        constexpr std::size_t kUsualDepth = 8;
        Path path;
        path.steps.reserve(kUsualDepth);
        const SchemaNode *above = start;
        if (accept('/')) {
            above = nullptr;
        } else if (start == nullptr) {
            complain("it does not begin with a slash");
        }
        while (!at_end()) {
            read_step(above, path.steps.emplace_back());
            above = path.schema();
            if (!at_end() && !accept('/')) {
                complain("after " + above->name + " a slash is missing");
            }
        }
        if (path.steps.empty()) {
            complain("it names no node");
        }
        name_places(path);
        return path;
    }

private:
    bool at_end() const { return m_at == m_path.text.size(); }
    /** The next character; a closing brace when there is none, since it ends whatever is read. */
    char peek() const { return at_end() ? '}' : m_path.text[m_at]; }
    bool accept(char c)
    {
        const bool is_it = !at_end() && m_path.text[m_at] == c;
        m_at += is_it ? 1 : 0;
        return is_it;
    }
    [[noreturn]] void complain(const std::string &reason) const
    {
        fail_path(m_path.printed(m_schema), reason);
    }

    void read_step(const SchemaNode *above, Path::Step &step);
    /** What stands there up to one of these characters, a value, or the end. */
    template <char... kEnds>
    std::string_view read_plain()
    {
        static constexpr auto kIsEnd = end_table<kValueMark, kEnds...>();
        const char *begin = m_path.text.c_str() + m_at;
        const char *end = begin;
        while (!kIsEnd[static_cast<unsigned char>(*end)]) {
            ++end;
        }
        m_at += end - begin;
        return {begin, static_cast<std::size_t>(end - begin)};
    }
    std::string_view read_name();
    void read_keys(const SchemaNode &node);
    RawKey read_key();
    std::string read_quoted();
    const confd_value_t &take_value()
    {
        ++m_at;
        return *m_path.values[m_next_value++];
    }
    void convert_keys(const SchemaNode &list, std::vector<std::string> &texts);
    std::string convert(const SchemaNode &key_leaf, RawKey &key) const;

    const Schema &m_schema;
    const FilledPath &m_path;
    const bool m_with_keys;
    std::size_t m_at = 0;
    std::size_t m_next_value = 0;
    std::string m_name;         /**< A name that a value is part of. */
    std::vector<RawKey> m_keys; /**< Of the present step. */
};

void Reader::read_step(const SchemaNode *above, Path::Step &step)
{
    const std::string_view name = read_name();
    step.node = above != nullptr ? above->child(name) : m_schema.top(name);
    if (step.node == nullptr) {
        const std::string place = above != nullptr ? "below " + above->path() : "at the top";
        complain(name.empty() ? "an element is empty"
                              : "there is no " + std::string(name) + " " + place);
    }
    const char *at = m_path.text.c_str() + m_at;
    if (at[0] == '/' && at[1] == '{') {
        ++m_at;
    }
    if (accept('{')) {
        read_keys(*step.node);
        if (m_with_keys) {
            convert_keys(*step.node, step.keys);
        }
    }
}

/** The name of an element, without its module prefix. */
std::string_view Reader::read_name()
{
    std::string_view name = read_plain<'/', '{'>();
    if (!at_end() && peek() == kValueMark) {
        m_name = name;
        while (!at_end() && peek() == kValueMark) {
            m_name += print_value(&m_schema, take_value());
            m_name += read_plain<'/', '{'>();
        }
        name = m_name;
    }
    const auto colon = name.find(':');
    if (colon == std::string_view::npos) {
        return name;
    }
    const std::string_view prefix = name.substr(0, colon);
    if (prefix != m_schema.module()->prefix && prefix != m_schema.module()->name) {
        complain("the module prefix in " + std::string(name) + " is unknown");
    }
    return name.substr(colon + 1);
}

void Reader::read_keys(const SchemaNode &node)
{
    m_keys.clear();
    do {
        m_keys.push_back(read_key());
    } while (accept(' '));
    if (!accept('}')) {
        complain("the keys of " + node.name + " have no closing brace");
    }
}

RawKey Reader::read_key()
{
    if (accept('"')) {
        return {read_quoted()};
    }
    RawKey key{std::string(read_plain<' ', '}', '{'>())};
    while (peek() != ' ' && peek() != '}') {
        if (peek() == '{') {
            complain("a brace stands inside a key");
        }
        if (peek() == kValueMark) {
            const confd_value_t &value = take_value();
            key.value = key.text.empty() ? &value : nullptr;
            key.text += print_value(&m_schema, value);
        } else {
            key.value = nullptr;
            key.text += read_plain<' ', '}', '{'>();
        }
    }
    return key;
}

/** What stands between quotes; a backslash takes the next character's meaning away. */
std::string Reader::read_quoted()
{
    std::string text;
    while (!at_end() && peek() != '"') {
        if (peek() == kValueMark) {
            text += print_value(&m_schema, take_value());
            continue;
        }
        accept('\\');
        if (!at_end()) {
            text += m_path.text[m_at++];
        }
    }
    if (!accept('"')) {
        complain("a quoted key has no closing quote");
    }
    return text;
}

void Reader::convert_keys(const SchemaNode &list, std::vector<std::string> &texts)
{
    if (!list.is_list()) {
        complain(list.name + " is not a list and has no keys");
    }
    if (m_keys.size() != list.key_nodes.size()) {
        complain(list.name + " has " + std::to_string(list.key_nodes.size()) + " keys, not " +
                 std::to_string(m_keys.size()));
    }
    texts.reserve(m_keys.size());
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        texts.push_back(convert(*list.key_nodes[i], m_keys[i]));
    }
}

/** Canonical text of a key. Every text is a text key, if only one that no entry has. */
std::string Reader::convert(const SchemaNode &key_leaf, RawKey &key) const
{
    const confd_type &type = key_leaf.type_storage;
    if (key.value == nullptr && type.vtype == C_BUF) {
        return std::move(key.text);
    }
    auto text = key.value != nullptr ? text_by_type(&m_schema, type, *key.value) : key.text;
    if (text && type.vtype == C_BUF) {
        return std::move(*text);
    }
    auto canonical = text ? canonical_form(m_schema, key_leaf, *text) : std::nullopt;
    if (!canonical) {
        ly_err_clean(m_schema.context(), nullptr);
        complain("'" + key.text + "' does not fit the type of the key " + key_leaf.path());
    }
    return std::move(*canonical);
}

/** What the texts that were read last turned out to mean, which depends on nothing but the schema.
 */
template <typename Meaning>
class KnownTexts
{
public:
    /** What the text means; `read` is asked where it is not known. */
    template <typename Read>
    const Meaning &look_up(const Schema &schema, const std::string &text, const Read &read)
    {
        Place &place = m_places[std::hash<std::string>()(text) % kPlaces];
        if (place.schema != schema.number() || place.text != text) {
            Meaning meaning = read();
            place.schema = schema.number();
            place.text = text;
            place.meaning = std::move(meaning);
        }
        return place.meaning;
    }

    static bool is_worthwhile(const FilledPath &path)
    {
        constexpr std::size_t kUsualLength = 256;
        return path.values.empty() && path.text.size() <= kUsualLength;
    }

private:
    struct Place {
        std::uint64_t schema = 0;
        std::string text;
        Meaning meaning{};
    };
    static constexpr std::size_t kPlaces = 4096;
    std::vector<Place> m_places = std::vector<Place>(kPlaces);
};

/** Kept from call to call, so that nothing is allocated for it. */
FilledPath &scratch()
{
    static FilledPath path;
    return path;
}

SharedPath read_absolute(const Schema &schema, const FilledPath &filled)
{
    static KnownTexts<SharedPath> known;
    const auto read = [&] {
        return std::make_shared<const Path>(Reader(schema, filled, true).read(nullptr));
    };
    return known.is_worthwhile(filled) ? known.look_up(schema, filled.text, read) : read();
}

} // namespace

SharedPath read_path(const Schema &schema, const char *format, va_list args)
{
    FilledPath &filled = scratch();
    fill(filled, schema, format, args);
    return read_absolute(schema, filled);
}

SharedPath read_path(const Schema &schema, const std::string &text)
{
    FilledPath &filled = scratch();
    filled.clear();
    filled.text = text;
    return read_absolute(schema, filled);
}

const SchemaNode &read_schema_path(const Schema &schema, const SchemaNode *start,
                                   const char *format, va_list args)
{
    static KnownTexts<const SchemaNode *> known;
    FilledPath &filled = scratch();
    fill(filled, schema, format, args);
    const auto read = [&] { return Reader(schema, filled, false).read(start).schema(); };
    const bool is_known_text = start == nullptr && known.is_worthwhile(filled);
    return *(is_known_text ? known.look_up(schema, filled.text, read) : read());
}

} // namespace engine
