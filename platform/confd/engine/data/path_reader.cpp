// First the directives are filled in, then the text is taken apart.
#include "engine/data/path_reader.h"

#include "engine/data/error.h"
#include "engine/data/value.h"
#include "engine/schema/yang_log.h"

#include <cstring>
#include <optional>
#include <string_view>

namespace engine
{
namespace
{

/** Stands in a path's text for the next of its values: no text that a client gives can hold it. */
constexpr char kValueMark = '\0';

/** A path whose directives are filled in, with values kept apart so that nothing misreads them. */
struct FilledPath {
    std::string text;
    std::vector<const confd_value_t *> values;

    void add(const confd_value_t &value)
    {
        text += kValueMark;
        values.push_back(&value);
    }

    /** For messages. */
    std::string printed(const Schema &schema) const
    {
        std::string result;
        auto value = values.begin();
        for (const char c : text) {
            result += c == kValueMark ? print_value(&schema, **value++) : std::string(1, c);
        }
        return result;
    }
};

[[noreturn]] void fail(const std::string &path, const std::string &reason)
{
    throw Error(CONFD_ERR_BADPATH, "bad path " + path + ": " + reason);
}

/** Adds several values with blanks between them. */
void add_values(FilledPath &path, const confd_value_t *values, int count)
{
    for (int i = 0; i < count; ++i) {
        path.text += i == 0 ? "" : " ";
        path.add(values[i]);
    }
}

int number_of_keys(const confd_value_t *element)
{
    int count = 0;
    while (count < MAXKEYLEN && element[count].type != C_NOEXISTS) {
        ++count;
    }
    return count;
}

/** Adds so many elements of a keypath, counted from the root. */
void add_keypath(FilledPath &path, const Schema &schema, const confd_hkeypath_t &keypath, int count)
{
    for (int i = keypath.len - 1; i >= keypath.len - count; --i) {
        const confd_value_t *element = keypath.v[i];
        if (element[0].type != C_XMLTAG) {
            path.text += '{';
            add_values(path, element, number_of_keys(element));
            path.text += '}';
            continue;
        }
        const char *name = schema.name_of(element[0].val.xmltag.tag);
        if (name == nullptr) {
            fail(path.printed(schema), "the keypath goes on with the unknown tag " +
                                           std::to_string(element[0].val.xmltag.tag));
        }
        path.text += std::string("/") + name;
    }
}

/** What a pointer directive stands for. */
template <typename T>
const T &require(const T *argument, const char *format)
{
    if (argument == nullptr) {
        fail(format, "one of its arguments is a null pointer");
    }
    return *argument;
}

FilledPath fill(const Schema &schema, const char *format, va_list args)
{
    FilledPath path;
    for (const char *at = &require(format, "(none)"); *at != '\0'; ++at) {
        const std::size_t plain = std::strcspn(at, "%");
        if (plain > 0) {
            path.text.append(at, plain);
            at += plain - 1;
            continue;
        }
        const bool is_counted = *++at == '*';
        at += is_counted ? 1 : 0;
        const int count = is_counted ? va_arg(args, int) : 1;
        if (*at == 'x') {
            add_values(path, &require(va_arg(args, const confd_value_t *), format), count);
        } else if (*at == 'h' && path.text.empty()) {
            const auto &keypath = require(va_arg(args, const confd_hkeypath_t *), format);
            const int length = is_counted ? count : keypath.len;
            if (length < 0 || length > keypath.len || keypath.len > MAXDEPTH) {
                fail(format, "the keypath has no " + std::to_string(length) + " elements");
            }
            add_keypath(path, schema, keypath, length);
        } else if (*at == 'd' && !is_counted) {
            path.text += std::to_string(va_arg(args, int));
        } else if (*at == 'u' && !is_counted) {
            path.text += std::to_string(va_arg(args, unsigned int));
        } else if (*at == 's' && !is_counted) {
            path.text += &require(va_arg(args, const char *), format);
        } else {
            fail(format, "a directive is unknown or stands where it must not");
        }
    }
    return path;
}

/** A key as it stands in the path. */
struct RawKey {
    std::string text;
    const confd_value_t *value = nullptr; /**< Set when the key is one value and nothing else. */
};

/** Nothing when the text does not fit the leaf's type. */
std::optional<std::string> canonical_form(const Schema &schema, const SchemaNode &leaf,
                                          const std::string &text, lyd_node *probe)
{
    if (probe != nullptr) {
        const auto result = lyd_change_term(probe, text.c_str());
        require_memory(result);
        const bool fits = result == LY_SUCCESS || result == LY_EEXIST || result == LY_ENOT;
        return fits ? std::optional<std::string>(lyd_get_value(probe)) : std::nullopt;
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

class Reader
{
public:
    /** @param with_keys  False: keys are skipped. */
    Reader(const Schema &schema, FilledPath path, bool with_keys)
        : m_schema(schema), m_path(std::move(path)), m_with_keys(with_keys)
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
            path.steps.push_back(read_step(above));
            above = path.schema();
            if (!at_end() && !accept('/')) {
                complain("after " + above->name + " a slash is missing");
            }
        }
        if (path.steps.empty()) {
            complain("it names no node");
        }
        return path;
    }

private:
    bool at_end() const { return m_at == m_path.text.size(); }
    /** The next character; a closing brace when there is none, since it ends whatever is read. */
    char peek() const { return at_end() ? '}' : m_path.text[m_at]; }
    bool accept(char c)
    {
        const bool is_it = !at_end() && peek() == c;
        m_at += is_it ? 1 : 0;
        return is_it;
    }
    [[noreturn]] void complain(const std::string &reason) const
    {
        fail(m_path.printed(m_schema), reason);
    }

    Path::Step read_step(const SchemaNode *above);
    /** What stands there up to one of these characters, a value, or the end. */
    std::string read_plain(const char *end_characters)
    {
        // A value's mark is a NUL, which ends the text for the function that looks for the others.
        const std::size_t length = std::strcspn(m_path.text.c_str() + m_at, end_characters);
        m_at += length;
        return m_path.text.substr(m_at - length, length);
    }
    std::string read_name();
    std::vector<RawKey> read_keys(const SchemaNode &node);
    RawKey read_key();
    std::string read_quoted();
    const confd_value_t &take_value()
    {
        ++m_at;
        return *m_path.values[m_next_value++];
    }
    std::vector<std::string> convert(const SchemaNode &list, const std::vector<RawKey> &keys) const;
    std::string convert(const SchemaNode &key_leaf, const RawKey &key, lyd_node *probe) const;

    const Schema &m_schema;
    const FilledPath m_path;
    const bool m_with_keys;
    std::size_t m_at = 0;
    std::size_t m_next_value = 0;
};

Path::Step Reader::read_step(const SchemaNode *above)
{
    const std::string name = read_name();
    Path::Step step;
    step.node = above != nullptr ? above->child(name) : m_schema.top(name);
    if (step.node == nullptr) {
        const std::string place = above != nullptr ? "below " + above->path() : "at the top";
        complain(name.empty() ? "an element is empty" : "there is no " + name + " " + place);
    }
    if (m_path.text.compare(m_at, 2, "/{") == 0) {
        ++m_at;
    }
    if (accept('{')) {
        const auto keys = read_keys(*step.node);
        if (m_with_keys) {
            step.keys = convert(*step.node, keys);
        }
    }
    return step;
}

/** The name of an element, without its module prefix. */
std::string Reader::read_name()
{
    std::string name = read_plain("/{");
    while (!at_end() && peek() == kValueMark) {
        name += print_value(&m_schema, take_value());
        name += read_plain("/{");
    }
    const auto colon = name.find(':');
    if (colon == std::string::npos) {
        return name;
    }
    const std::string_view prefix(name.data(), colon);
    if (prefix != m_schema.module()->prefix && prefix != m_schema.module()->name) {
        complain("the module prefix in " + name + " is unknown");
    }
    return name.substr(colon + 1);
}

std::vector<RawKey> Reader::read_keys(const SchemaNode &node)
{
    std::vector<RawKey> keys;
    do {
        keys.push_back(read_key());
    } while (accept(' '));
    if (!accept('}')) {
        complain("the keys of " + node.name + " have no closing brace");
    }
    return keys;
}

RawKey Reader::read_key()
{
    if (accept('"')) {
        return {read_quoted()};
    }
    RawKey key{read_plain(" }{")};
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
            key.text += read_plain(" }{");
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

std::vector<std::string> Reader::convert(const SchemaNode &list,
                                         const std::vector<RawKey> &keys) const
{
    if (!list.is_list()) {
        complain(list.name + " is not a list and has no keys");
    }
    if (keys.size() != list.key_nodes.size()) {
        complain(list.name + " has " + std::to_string(list.key_nodes.size()) + " keys, not " +
                 std::to_string(keys.size()));
    }
    std::vector<std::string> texts;
    texts.reserve(keys.size());
    lyd_node *probe = lyd_child(list.probe.get());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        texts.push_back(convert(*list.key_nodes[i], keys[i], probe));
        probe = probe != nullptr ? probe->next : nullptr;
    }
    return texts;
}

/**
 * Canonical text of a key. Every text is a text key, if only one that no entry has.
 * @param probe  The same key of the list's probe: it takes the value on, for the lookup that
 *               follows. May be null.
 */
std::string Reader::convert(const SchemaNode &key_leaf, const RawKey &key, lyd_node *probe) const
{
    const confd_type &type = key_leaf.type_storage;
    const auto text = key.value != nullptr ? text_by_type(&m_schema, type, *key.value) : key.text;
    if (text && (type.vtype == C_BUF || (probe != nullptr && *text == lyd_get_value(probe)))) {
        return *text;
    }
    const auto canonical =
        text ? canonical_form(m_schema, key_leaf, *text, probe) : std::optional<std::string>();
    if (!canonical) {
        ly_err_clean(m_schema.context(), nullptr);
        complain("'" + key.text + "' does not fit the type of the key " + key_leaf.path());
    }
    return *canonical;
}

} // namespace

Path read_path(const Schema &schema, const SchemaNode *start, const char *format, va_list args)
{
    return Reader(schema, fill(schema, format, args), true).read(start);
}

Path read_path(const Schema &schema, const std::string &text)
{
    return Reader(schema, FilledPath{text, {}}, true).read(nullptr);
}

const SchemaNode &read_schema_path(const Schema &schema, const SchemaNode *start,
                                   const char *format, va_list args)
{
    return *Reader(schema, fill(schema, format, args), false).read(start).schema();
}

} // namespace engine
