/**
 * @file
 * Configurations without their secrets.
 */
#pragma once

#include "bundle/secret_map.h"
#include "engine/data/source.h"
#include "engine/schema/schema.h"

#include <set>
#include <string>
#include <vector>

namespace host
{

/**
 * Finds secrets in the texts of configurations and edits, and replaces them: where they stand as
 * such, and where they stand in other texts, such as descriptions, names and references to them.
 * What is in comments is blanked, and with `skip_foreign` what is of other models.
 */
class Scrubber
{
public:
    Scrubber(const engine::Schema &schema, bool skip_foreign);

    /** Notes the secrets of a text; all texts are noted before the first is scrubbed. */
    void note(const std::string &text);
    /** The text with replacements; every line, and nearly always every column, stays. */
    std::string scrubbed(const std::string &text);
    /** A name of a file, or another text that may hold a secret. */
    std::string scrubbed_name(const std::string &name) { return m_secrets.replaced_within(name); }

    const std::set<std::string> &secrets() const { return m_secrets.secrets(); }

private:
    enum class Kind { kSecret, kText, kForeign, kOther };
    Kind kind_of(const std::vector<std::string> &names) const;

    std::set<std::string> m_secret_leaves; /**< By name: a malformed text tells no more. */
    std::set<std::string> m_text_leaves;
    std::set<std::string> m_known;
    bool m_skip_foreign;
    SecretMap m_secrets;
};

} // namespace host
