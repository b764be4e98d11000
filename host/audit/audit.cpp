#include "audit/audit.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace host
{

extern const char *const kAuditJson; // audit.json, built in

namespace
{

using engine::Dependency;
using engine::ReadExtent;
using engine::ReadSide;
using engine::SchemaNode;

bool is_same_or_above(const SchemaNode *above, const SchemaNode *node)
{
    while (node != nullptr && node != above) {
        node = node->up();
    }
    return node != nullptr;
}

bool is_key_of(const SchemaNode &leaf, const SchemaNode &list)
{
    return leaf.is_key() && leaf.up() == &list;
}

/** Keys come and go with their entry. */
const SchemaNode &entry_of(const SchemaNode &node)
{
    return node.is_key() ? *node.up() : node;
}

/** Whether a change of what was read of a node is one at or below the dependency. */
bool covers(const SchemaNode &dependency, const SchemaNode &node, ReadExtent extent)
{
    if (is_same_or_above(&dependency, &node)) {
        return true;
    }
    const SchemaNode &read = entry_of(node);
    const bool is_by_key = read.is_list() && is_key_of(dependency, read) && !read.is_user_ordered();
    return is_by_key && extent == ReadExtent::kNode;
}

/** Whether all leaves that belong to a node and can change by themselves are covered. */
bool covers_contents(const std::vector<Dependency> &dependencies, const SchemaNode &node,
                     ReadExtent extent)
{
    for (const auto *child = node.first_child(); child != nullptr; child = child->next_sibling()) {
        if (child->is_list() && extent == ReadExtent::kEntry) {
            continue;
        }
        const bool is_covered =
            std::any_of(dependencies.begin(), dependencies.end(), [child](const Dependency &each) {
                return covers(*each.target, *child, ReadExtent::kNode);
            });
        const bool is_plain_container = child->is_container() && !child->is_presence();
        const bool needs_cover = !is_plain_container && !child->is_key();
        if ((needs_cover && !is_covered) || !covers_contents(dependencies, *child, extent)) {
            return false;
        }
    }
    return true;
}

bool is_covered(const std::vector<Dependency> &dependencies, const SchemaNode &node,
                ReadExtent extent)
{
    const bool is_node_covered =
        std::any_of(dependencies.begin(), dependencies.end(), [&](const Dependency &each) {
            return covers(*each.target, node, ReadExtent::kNode);
        });
    const bool is_whole_covered =
        std::any_of(dependencies.begin(), dependencies.end(),
                    [&](const Dependency &each) { return covers(*each.target, node, extent); });
    return is_whole_covered || (extent != ReadExtent::kNode && is_node_covered &&
                                covers_contents(dependencies, node, extent));
}

/** Whether what was read of a node is something of the dependency. */
bool is_of(const SchemaNode &dependency, const SchemaNode &node, ReadExtent extent)
{
    if (is_same_or_above(&dependency, &node)) {
        return true;
    }
    const bool is_key = is_key_of(dependency, entry_of(node));
    return is_key || (extent != ReadExtent::kNode && is_same_or_above(&node, &dependency));
}

/** Known findings with their reasons. */
const std::map<AuditFinding, std::string> &reasons()
{
    static const auto known = [] {
        std::map<AuditFinding, std::string> map;
        for (const auto &each : nlohmann::json::parse(kAuditJson)) {
            const auto kind = each.at("finding") == "uncovered" ? AuditFinding::Kind::kUncovered
                                                                : AuditFinding::Kind::kUnread;
            map[{kind, each.at("rule"), each.at("point"), each.at("path")}] = each.at("reason");
        }
        return map;
    }();
    return known;
}

} // namespace

void Audit::add(const std::vector<RuleRun> &runs)
{
    for (const RuleRun &run : runs) {
        auto &reads = m_reads[run.point];
        for (const engine::Read &read : run.answer.reads) {
            if (read.extent != ReadExtent::kAbove) {
                reads.insert({read.node, read.extent, read.side});
            }
        }
    }
}

std::vector<AuditFinding> Audit::findings() const
{
    std::vector<AuditFinding> found;
    for (const auto &[point, reads] : m_reads) {
        const auto &dependencies = point->dependencies;
        const std::string place = point->node->path();
        std::set<std::string> uncovered;
        for (const auto &[node, extent, side] : reads) {
            // What is committed changes with no edit; a point without dependencies is asked always.
            const bool matters = side == ReadSide::kCandidate && !dependencies.empty();
            if (matters && (node == nullptr || !is_covered(dependencies, *node, extent))) {
                uncovered.insert(node != nullptr ? node->path() : "/");
            }
        }
        for (const std::string &path : uncovered) {
            found.push_back({AuditFinding::Kind::kUncovered, point->opaque, place, path});
        }
        for (const Dependency &dependency : dependencies) {
            const bool is_read =
                std::any_of(reads.begin(), reads.end(), [&dependency](const NodeRead &read) {
                    return read.node == nullptr ||
                           is_of(*dependency.target, *read.node, read.extent);
                });
            if (!is_read) {
                found.push_back(
                    {AuditFinding::Kind::kUnread, point->opaque, place, dependency.target->path()});
            }
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

const char *word_for(AuditFinding::Kind kind)
{
    return kind == AuditFinding::Kind::kUncovered ? "uncovered" : "unread";
}

const std::string &reason_for(const AuditFinding &finding)
{
    static const std::string kNone;
    const auto found = reasons().find(finding);
    return found != reasons().end() ? found->second : kNone;
}

std::vector<AuditFinding> known_findings()
{
    std::vector<AuditFinding> findings;
    for (const auto &[finding, reason] : reasons()) {
        findings.push_back(finding);
    }
    return findings;
}

} // namespace host
