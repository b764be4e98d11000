/**
 * @file
 * Whether the rules' declared dependencies are what the rules depend on.
 */
#pragma once

#include "checker/outcome.h"

#include <compare>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace host
{

/** Something about a rule that is worth a look. */
struct AuditFinding {
    enum class Kind {
        kUncovered, /**< It was read, and no dependency covers it: a change there slips through. */
        kUnread     /**< It is a dependency, and nothing of it was ever read: it only costs time. */
    };

    Kind kind = Kind::kUncovered;
    std::string rule;
    std::string point; /**< Node that the rule sits on. */
    std::string path;  /**< What was read, or is declared. */

    // NOLINTNEXTLINE(modernize-use-nullptr): there is no pointer here.
    auto operator<=>(const AuditFinding &) const = default;
};

/**
 * Compares what requests read with the dependencies of their points. What was never asked for is
 * not known: the more configurations and changes, the better the answer.
 */
class Audit
{
public:
    /** Adds what the requests of a check read. */
    void add(const std::vector<RuleRun> &runs);

    /** Of all points that were asked, in their order. */
    std::vector<AuditFinding> findings() const;
    /** Points that were asked. */
    std::size_t points() const { return m_reads.size(); }

private:
    /** What was read of a node. */
    struct NodeRead {
        const engine::SchemaNode *node;
        engine::ReadExtent extent;
        engine::ReadSide side;
        // NOLINTNEXTLINE(modernize-use-nullptr): there is no pointer here.
        auto operator<=>(const NodeRead &) const = default;
    };

    std::map<const engine::ValidationPoint *, std::set<NodeRead>> m_reads;
};

/** The word for it in JSON. */
const char *word_for(AuditFinding::Kind kind);

/** Why a finding is no fault, where that is known: see audit.json. Empty: it is not. */
const std::string &reason_for(const AuditFinding &finding);

/** All findings that are known to be none of a fault. */
std::vector<AuditFinding> known_findings();

} // namespace host
