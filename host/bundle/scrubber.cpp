#include "bundle/scrubber.h"

#include "bundle/value_text.h"

#include <algorithm>

namespace host
{
namespace
{

/** What may stand around data, and is of no model that could be foreign. */
constexpr const char *kEnvelope[] = {"rpc",         "rpc-reply",   "data",    "edit-config",
                                     "get-config",  "config",      "target",  "source",
                                     "running",     "candidate",   "startup", "default-operation",
                                     "test-option", "error-option"};

std::string rewritten(const std::string &text, const RewriteValue &rewrite)
{
    return engine::format_of(text) == engine::Format::kXml ? rewrite_xml(text, rewrite)
                                                           : rewrite_json(text, rewrite);
}

bool holds_text(const engine::SchemaNode &node)
{
    return (node.is_leaf() || node.is_leaf_list()) && node.type_storage.vtype == C_BUF;
}

} // namespace

Scrubber::Scrubber(const engine::Schema &schema, bool skip_foreign) : m_skip_foreign(skip_foreign)
{
    m_known.insert(std::begin(kEnvelope), std::end(kEnvelope));
    std::set<std::string> others;
    for (std::size_t i = 0; i < schema.node_count(); ++i) {
        const engine::SchemaNode &node = schema.node(i);
        m_known.insert(node.name);
        if (engine::is_secret(node)) {
            m_secret_leaves.insert(node.name);
        } else if (holds_text(node)) {
            m_text_leaves.insert(node.name);
        } else {
            others.insert(node.name);
        }
    }
    // Where leaves of one name differ, a value may be a number or one of some words.
    for (const auto &name : others) {
        m_text_leaves.erase(name);
    }
}

Scrubber::Kind Scrubber::kind_of(const std::vector<std::string> &names) const
{
    if (names.empty()) {
        return Kind::kOther;
    }
    const std::string &last = names.back();
    const auto is_foreign = [this](const std::string &name) {
        return !name.starts_with('@') && m_known.count(name) == 0;
    };
    if (m_secret_leaves.count(last) != 0) {
        return Kind::kSecret;
    }
    if (m_skip_foreign && std::any_of(names.begin(), names.end(), is_foreign)) {
        return last.starts_with("@xmlns") || last == "@" ? Kind::kOther : Kind::kForeign;
    }
    // Where an entry is put is told by its key, or its value.
    return m_text_leaves.count(last) != 0 || last == "@key" || last == "@value" ? Kind::kText
                                                                                : Kind::kOther;
}

void Scrubber::note(const std::string &text)
{
    rewritten(text, [this](const std::vector<std::string> &names, std::string value) {
        if (kind_of(names) == Kind::kSecret) {
            m_secrets.add(value);
        }
        return value;
    });
}

std::string Scrubber::scrubbed(const std::string &text)
{
    return rewritten(text, [this](const std::vector<std::string> &names, std::string value) {
        switch (kind_of(names)) {
        case Kind::kSecret:
            return m_secrets.replaced(value);
        case Kind::kText:
            return m_secrets.replaced_within(std::move(value));
        case Kind::kForeign:
            return blanked(std::move(value));
        case Kind::kOther:
            break;
        }
        return value;
    });
}

} // namespace host
