#include "twin/access.h"

#include <openssl/evp.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <utility>

namespace host::twin
{
namespace
{

constexpr std::array<std::pair<Role, const char *>, 3> kRoles{
    {{Role::kViewer, "viewer"}, {Role::kOperator, "operator"}, {Role::kAdmin, "admin"}}};

/** What needs less than the right to change, or more. */
constexpr std::array<std::pair<std::string_view, Right>, 9> kRights{
    {{"get", Right::kRead},
     {"get-config", Right::kRead},
     {"get-schema", Right::kRead},
     {"get-data", Right::kRead},
     {"get-commits", Right::kRead},
     {"validate", Right::kRead},
     {"create-subscription", Right::kRead},
     {"close-session", Right::kRead},
     {"kill-session", Right::kKillSessions}}};

constexpr const char *kBlanks = " \t";
constexpr const char *kForm = "expected name=\"...\",role=\"viewer|operator|admin\", then the key";

[[noreturn]] void fail(const std::string &file, unsigned line, const std::string &text)
{
    throw AccessError(file + ":" + std::to_string(line) + ": " + text);
}

/** Takes text up to one of the characters from the front. */
std::string_view take_until(std::string_view &text, const char *characters)
{
    const auto word = text.substr(0, text.find_first_of(characters));
    text.remove_prefix(word.size());
    return word;
}

void skip(std::string_view &text, const char *characters)
{
    text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
}

/** The bytes of a text in base64; nothing if it is none. */
std::string decoded(std::string_view base64)
{
    if (base64.empty() || base64.size() % 4 != 0) {
        return "";
    }
    std::string bytes(base64.size() / 4 * 3, '\0');
    const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char *>(bytes.data()),
                                     reinterpret_cast<const unsigned char *>(base64.data()),
                                     static_cast<int>(base64.size()));
    bytes.resize(static_cast<std::size_t>(std::max(size, 0)));
    return bytes;
}

/** Whether a key's bytes begin with the length and text of its type (RFC 4253, section 6.6). */
bool is_key_of(std::string_view type, const std::string &bytes)
{
    constexpr std::size_t kLengthSize = 4;
    std::string begin(kLengthSize - 1, '\0');
    begin += static_cast<char>(type.size());
    begin += type;
    return bytes.size() > begin.size() && bytes.compare(0, begin.size(), begin) == 0;
}

/** One line, taken apart. */
struct Line {
    std::string name;
    std::optional<Role> role;
    std::string type;
    std::string key;
};

class LineReader
{
public:
    LineReader(const std::string &file, unsigned line) : m_file(file), m_line(line) {}

    Line read(std::string_view text)
    {
        Line line;
        do {
            read_option(text, line);
        } while (!text.empty() && text.front() == ',' && (text.remove_prefix(1), true));
        skip(text, kBlanks);
        line.type = take_until(text, kBlanks);
        skip(text, kBlanks);
        line.key = take_until(text, kBlanks);
        if (line.name.empty() || !line.role) {
            fail(std::string(line.name.empty() ? "name" : "role") + " is missing: " + kForm);
        }
        if (!is_key_of(line.type, decoded(line.key))) {
            fail("no public key: \"" + line.type +
                 "\" and its key in base64 must follow the "
                 "options");
        }
        return line;
    }

private:
    [[noreturn]] void fail(const std::string &text) const { twin::fail(m_file, m_line, text); }

    void read_option(std::string_view &text, Line &line) const
    {
        const auto option = take_until(text, "= \t,");
        if (text.substr(0, 2) != "=\"" || text.find('"', 2) == std::string_view::npos) {
            fail("\"" + std::string(option) + "\" is no option: " + kForm);
        }
        text.remove_prefix(2);
        const std::string value(take_until(text, "\""));
        text.remove_prefix(1);
        if (option == "name" && line.name.empty() && is_name(value)) {
            line.name = value;
        } else if (option == "role" && !line.role && role_of(value)) {
            line.role = role_of(value);
        } else {
            fail(std::string(option) + "=\"" + value + "\" is not possible here: " + kForm);
        }
    }

    /** What a client can log in with, and a history show. */
    static bool is_name(const std::string &text)
    {
        return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char letter) {
            return std::isalnum(letter) != 0 || letter == '-' || letter == '_' || letter == '.' ||
                   letter == '@';
        });
    }

    const std::string &m_file;
    unsigned m_line;
};

} // namespace

const char *name_of(Role role)
{
    return std::find_if(kRoles.begin(), kRoles.end(),
                        [&](const auto &row) { return row.first == role; })
        ->second;
}

std::optional<Role> role_of(std::string_view name)
{
    for (const auto &[role, text] : kRoles) {
        if (name == text) {
            return role;
        }
    }
    return std::nullopt;
}

bool may(Role role, Right right)
{
    switch (right) {
    case Right::kRead:
        return true;
    case Right::kChange:
        return role != Role::kViewer;
    case Right::kKillSessions:
    case Right::kSeeSecrets:
        break;
    }
    return role == Role::kAdmin;
}

Right right_for(std::string_view rpc)
{
    for (const auto &[name, right] : kRights) {
        if (rpc == name) {
            return right;
        }
    }
    return Right::kChange;
}

AuthorizedKeys AuthorizedKeys::parse(const std::string &text, const std::string &file)
{
    AuthorizedKeys keys;
    std::string_view rest = text;
    for (unsigned number = 1; !rest.empty(); ++number) {
        auto line = take_until(rest, "\n");
        skip(line, " \t\r");
        rest.remove_prefix(std::min<std::size_t>(1, rest.size()));
        line = line.substr(0, line.find_last_not_of(" \t\r") + 1);
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const Line read = LineReader(file, number).read(line);
        const auto same = std::find_if(keys.m_keys.begin(), keys.m_keys.end(),
                                       [&](const Key &key) { return key.text == read.key; });
        if (same != keys.m_keys.end()) {
            fail(file, number, "the key stands in line " + std::to_string(same->line) + " already");
        }
        const auto [role, is_new] = keys.m_roles.emplace(read.name, *read.role);
        if (!is_new && role->second != *read.role) {
            fail(file, number,
                 read.name + " has the role " + name_of(role->second) + " in a line above");
        }
        keys.m_keys.push_back({read.type, read.key, read.name, number});
    }
    return keys;
}

AuthorizedKeys AuthorizedKeys::read(const std::string &file)
{
    std::ifstream stream(file, std::ios::binary);
    struct stat status = {};
    if (!stream || stat(file.c_str(), &status) != 0) {
        throw AccessError(file + ": cannot be read");
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        throw AccessError(file + ": others may write to it; chmod go-w " + file);
    }
    return parse({std::istreambuf_iterator<char>(stream), {}}, file);
}

std::optional<Identity> AuthorizedKeys::find(std::string_view type, std::string_view key,
                                             std::string_view user) const
{
    for (const auto &one : m_keys) {
        if (one.type == type && one.text == key && one.name == user) {
            return find(one.name);
        }
    }
    return std::nullopt;
}

std::optional<Identity> AuthorizedKeys::find(std::string_view name) const
{
    const auto found = m_roles.find(name);
    if (found == m_roles.end()) {
        return std::nullopt;
    }
    return Identity{found->first, found->second};
}

} // namespace host::twin
