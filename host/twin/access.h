/**
 * @file
 * Who may enter, by SSH key, and what each role may do.
 */
#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace host::twin
{

enum class Role {
    kViewer,   /**< Reads; secrets are masked. */
    kOperator, /**< Changes the configuration as well. */
    kAdmin     /**< Ends sessions and sees secrets as well. */
};
const char *name_of(Role role);
std::optional<Role> role_of(std::string_view name);

/** What a session wants to do. */
enum class Right { kRead, kChange, kKillSessions, kSeeSecrets };

/** Whether a role may do that. */
bool may(Role role, Right right);

/** The right that an RPC needs, by its name, such as `edit-config`. What is not known needs the
 *  right to change. */
Right right_for(std::string_view rpc);

/** A person, or a program, that may enter. */
struct Identity {
    std::string name;
    Role role = Role::kViewer;
};

/** Authorized keys that cannot be used: names the file and the line. */
class AccessError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/**
 * Authorized keys, a line for each: `name="eve",role="operator" ssh-ed25519 AAAA... comment`.
 * A name may have several keys and has one role. Blank lines and those that begin with # are
 * comments.
 */
class AuthorizedKeys
{
public:
    /** @param file  For messages. @throws AccessError */
    static AuthorizedKeys parse(const std::string &text, const std::string &file);
    /** Also refuses a file that others may write to. @throws AccessError */
    static AuthorizedKeys read(const std::string &file);

    /**
     * Who enters with a key.
     * @param type  Such as ssh-ed25519.
     * @param key   In base64, as in the file.
     * @param user  The user name that the client logs in with: must be the key's name.
     */
    std::optional<Identity> find(std::string_view type, std::string_view key,
                                 std::string_view user) const;
    /** Who has that name. */
    std::optional<Identity> find(std::string_view name) const;
    std::size_t size() const { return m_keys.size(); }

private:
    struct Key {
        std::string type;
        std::string text;
        std::string name;
        unsigned line = 0;
    };

    std::vector<Key> m_keys;
    std::map<std::string, Role, std::less<>> m_roles;
};

} // namespace host::twin
