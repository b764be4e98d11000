/**
 * @file
 * What stands in place of secrets, where a configuration is given away.
 */
#pragma once

#include <cstddef>
#include <map>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

namespace host
{

/**
 * Replaces secrets by made-up ones: the same secret by the same one, different ones by different
 * ones. Length, digits, other signs, and which letters are capital stay: two secrets that differ in
 * case only still do. What is stored encrypted is replaced by the encryption of the replacement.
 */
class SecretMap
{
public:
    SecretMap();

    /** Tells a value as it stands in a configuration; all are told before the first is replaced. */
    void add(std::string_view stored);
    /** What stands in place of a value that was told. */
    std::string replaced(std::string_view stored);
    /** The text, with secrets that stand somewhere in it replaced. Very short ones may be anything
     *  and stay. */
    std::string replaced_within(std::string text);

    /** The secrets in clear text. */
    const std::set<std::string> &secrets() const { return m_secrets; }

    /** Bytes of the shortest secret that is looked for in other texts. */
    static constexpr std::size_t kShortest = 4;

private:
    std::string clear(const std::string &secret);
    std::string unreadable(std::string stored);
    std::string made_up(const std::string &folded);
    bool is_free(const std::string &folded) const;
    std::size_t random_below(std::size_t limit)
    {
        return static_cast<std::size_t>(m_random() % limit);
    }

    std::set<std::string> m_secrets;
    std::set<std::string> m_folded;               /**< The same, in lower case. */
    std::set<std::size_t> m_lengths;              /**< Of those that are looked for. */
    std::map<std::string, std::string> m_made_up; /**< By secret in lower case; in lower case. */
    std::set<std::string> m_taken;
    std::unordered_map<std::string, std::string> m_encrypted; /**< By stored text. */
    std::mt19937_64 m_random;
};

/** Bytes of the character that begins here; of what is no UTF-8, 1. */
std::size_t character_size(std::string_view text, std::size_t at);

} // namespace host
