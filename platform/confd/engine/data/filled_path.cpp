#include "engine/data/filled_path.h"

#include "engine/data/error.h"
#include "engine/data/value.h"

#include <array>
#include <charconv>
#include <cstring>

namespace engine
{

std::string FilledPath::printed(const Schema &schema) const
{
    std::string result;
    auto value = values.begin();
    for (const char c : text) {
        result += c == kValueMark ? print_value(&schema, **value++) : std::string(1, c);
    }
    return result;
}

void fail_path(const std::string &path, const std::string &reason)
{
    throw Error(CONFD_ERR_BADPATH, "bad path " + path + ": " + reason);
}

namespace
{

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
            fail_path(path.printed(schema), "the keypath goes on with the unknown tag " +
                                                std::to_string(element[0].val.xmltag.tag));
        }
        path.text.append("/").append(name);
    }
}

template <typename Number>
void add_number(FilledPath &path, Number number)
{
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    path.text.append(digits.data(), end);
}

/** What a pointer directive stands for. */
template <typename T>
const T &require(const T *argument, const char *format)
{
    if (argument == nullptr) {
        fail_path(format, "one of its arguments is a null pointer");
    }
    return *argument;
}

} // namespace

void fill(FilledPath &path, const Schema &schema, const char *format, va_list args)
{
    path.clear();
    for (const char *at = &require(format, "(none)"); *at != '\0'; ++at) {
        const char *directive = std::strchr(at, '%');
        const std::size_t plain = directive != nullptr ? directive - at : std::strlen(at);
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
                fail_path(format, "the keypath has no " + std::to_string(length) + " elements");
            }
            add_keypath(path, schema, keypath, length);
        } else if (*at == 'd' && !is_counted) {
            add_number(path, va_arg(args, int));
        } else if (*at == 'u' && !is_counted) {
            add_number(path, va_arg(args, unsigned int));
        } else if (*at == 's' && !is_counted) {
            path.text += &require(va_arg(args, const char *), format);
        } else {
            fail_path(format, "a directive is unknown or stands where it must not");
        }
    }
}

} // namespace engine
