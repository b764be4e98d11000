#include "engine/session/validation_plan.h"

#include "engine/data/path_reader.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <unordered_map>

namespace engine
{
namespace
{

/** Nodes above and including `node`, the top first. */
std::vector<const SchemaNode *> chain_to(const SchemaNode *node)
{
    std::vector<const SchemaNode *> chain;
    for (; node != nullptr; node = node->up()) {
        chain.push_back(node);
    }
    std::reverse(chain.begin(), chain.end());
    return chain;
}

/** Whether some node of `target` at or below `node` satisfies the predicate; stops at the first. */
template <typename Predicate>
bool any_instance(const lyd_node *node, const SchemaNode &target, const Predicate &predicate)
{
    const SchemaNode *here = Schema::of(node);
    if (here == &target) {
        return predicate(node);
    }
    const SchemaNode *step = &target;
    while (step->up() != here) {
        step = step->up();
    }
    for (const lyd_node *child = first_instance(nullptr, node, *step); child != nullptr;
         child = next_instance(child)) {
        if (any_instance(child, target, predicate)) {
            return true;
        }
    }
    return false;
}

/** Plain containers exist only by what is in them, all other nodes by themselves. */
bool has_content(const lyd_node *node)
{
    const SchemaNode *schema = Schema::of(node);
    if (!schema->is_container() || schema->is_presence()) {
        return true;
    }
    for (const lyd_node *child = lyd_child(node); child != nullptr; child = child->next) {
        if (has_content(child)) {
            return true;
        }
    }
    return false;
}

/** A change by its place in the order in which changes are met; a lower number came first. */
using Cause = std::size_t;
constexpr Cause kEveryCommit = 0;
constexpr Cause kNoCause = std::numeric_limits<Cause>::max();

/**
 * Where in the candidate a point must be asked: below which nodes, and why. The nodes make a tree
 * that reaches up to the root (null). They are met in document order, because changes are; only
 * several dependencies inside one created subtree break that order.
 */
class Places
{
public:
    bool has(const lyd_node *node) const { return at(node).cause != kNoCause; }

    void add(const lyd_node *node, Cause cause)
    {
        Place &place = reach(node);
        place.cause = std::min(place.cause, cause);
    }

    /** Nodes will be added below this one in any order. */
    void expect_disorder_below(const lyd_node *node) { reach(node).ordered = false; }

    struct Place {
        Cause cause = kNoCause;
        /** Nodes right below that are, or lead to, a place. */
        std::vector<const lyd_node *> below;
        /** Whether the nodes below, at all levels, are in document order. */
        bool ordered = true;
    };

    const Place &at(const lyd_node *node) const
    {
        static const Place kNone;
        const auto found = m_places.find(node);
        return found != m_places.end() ? found->second : kNone;
    }

private:
    Place &reach(const lyd_node *node)
    {
        const auto [found, is_new] = m_places.try_emplace(node);
        Place &place = found->second; // stays where it is when others are added
        if (is_new && node != nullptr) {
            reach(lyd_parent(node)).below.push_back(node);
        }
        return place;
    }

    std::unordered_map<const lyd_node *, Place> m_places;
};

/** A dependency of a point, prepared for the walk over the changes. */
struct Watch {
    Places *places = nullptr; /**< Of the point. */
    const SchemaNode *target = nullptr;
    const SchemaNode *common = nullptr; /**< Null: a change reaches all instances. */
    std::size_t depth = 0;              /**< Of `common`; the top is 0. */
};

/** Meets each change once and marks the places that it reaches. */
class ChangeWalk
{
public:
    explicit ChangeWalk(std::vector<Watch> watches) : m_watches(std::move(watches))
    {
        for (const Watch &watch : m_watches) {
            m_at[watch.target].push_back(&watch);
            for (const auto *above = watch.target->up(); above != nullptr; above = above->up()) {
                m_above[above].push_back(&watch);
            }
        }
    }

    ChangeWalk(const ChangeWalk &) = delete;
    ChangeWalk &operator=(const ChangeWalk &) = delete;

    void walk(const std::vector<Change> &changes)
    {
        for (const Change &change : changes) {
            visit(change);
        }
    }

    const std::vector<const Change *> &causes() const { return m_causes; }

private:
    using WatchMap = std::unordered_map<const SchemaNode *, std::vector<const Watch *>>;

    void visit(const Change &change);
    void touch(const Watch &watch);
    void touch_below(const Watch &watch, const Change &change);

    std::vector<Watch> m_watches;
    WatchMap m_at;    /**< By target. */
    WatchMap m_above; /**< By each node above the target. */

    std::vector<const Change *> m_path;  /**< The change being visited and those above it. */
    std::vector<const Watch *> m_active; /**< With a target on that path. */
    std::vector<const Change *> m_causes{nullptr}; /**< By Cause; none for kEveryCommit. */
};

void ChangeWalk::visit(const Change &change)
{
    const std::size_t active_above = m_active.size();
    const auto at = m_at.find(change.schema);
    if (at != m_at.end()) {
        m_active.insert(m_active.end(), at->second.begin(), at->second.end());
    }
    m_path.push_back(&change);
    if (change.kind != ChangeKind::kInside) {
        m_causes.push_back(&change);
        for (const Watch *watch : m_active) {
            touch(*watch);
        }
    }
    const auto above = m_above.find(change.schema);
    if (above != m_above.end() &&
        (change.kind == ChangeKind::kCreated || change.kind == ChangeKind::kDeleted)) {
        for (const Watch *watch : above->second) {
            touch_below(*watch, change);
        }
    }
    walk(change.children);
    m_path.pop_back();
    m_active.resize(active_above);
}

/** The change on the path is at or below the watch's target, and so below what both share. */
void ChangeWalk::touch(const Watch &watch)
{
    const lyd_node *shared = watch.common != nullptr ? m_path[watch.depth]->after : nullptr;
    if ((watch.common == nullptr || shared != nullptr) && !watch.places->has(shared)) {
        watch.places->add(shared, m_causes.size() - 1);
    }
}

/** A subtree came or went, in which the watch's target may be. */
void ChangeWalk::touch_below(const Watch &watch, const Change &change)
{
    const auto holds_target = [&watch](const lyd_node *node) {
        return any_instance(node, *watch.target, has_content);
    };
    if (watch.common == nullptr || watch.depth < m_path.size()) {
        const lyd_node *shared = watch.common != nullptr ? m_path[watch.depth]->after : nullptr;
        const bool nobody_asks = watch.common != nullptr && shared == nullptr;
        if (!nobody_asks && !watch.places->has(shared) && holds_target(change.node())) {
            touch(watch);
        }
        return;
    }
    if (change.after == nullptr) {
        return; // what shares the deleted entries is deleted as well
    }
    watch.places->expect_disorder_below(change.after);
    any_instance(change.after, *watch.common, [&](const lyd_node *shared) {
        if (holds_target(shared)) {
            watch.places->add(shared, m_causes.size() - 1);
        }
        return false;
    });
}

/** Paths of changes, each made once: one may call for many requests. */
class CauseTexts
{
public:
    explicit CauseTexts(std::vector<const Change *> causes) : m_causes(std::move(causes)) {}

    const std::string &text(Cause cause)
    {
        const auto [found, is_new] = m_texts.try_emplace(cause);
        const Change *change = m_causes[cause];
        if (is_new && change != nullptr) {
            const lyd_node *node = change->node();
            found->second = change->schema->is_leaf_list()
                                ? list_path_text(lyd_parent(node), *change->schema)
                                : path_text(node);
        }
        return found->second;
    }

    const Change *change(Cause cause) const { return m_causes[cause]; }

private:
    std::vector<const Change *> m_causes; /**< By Cause. */
    std::unordered_map<Cause, std::string> m_texts;
};

/** Turns a point's places into requests, in document order. */
class Collector
{
public:
    Collector(const Datastore &candidate, CauseTexts &causes, const ValidationPoint &point,
              const Places &places)
        : m_candidate(candidate), m_causes(causes), m_point(point), m_places(places),
          m_chain(chain_to(instance_node(point)))
    {
    }

    std::vector<Request> collect()
    {
        visit(nullptr, 0, kNoCause, true);
        return std::move(m_requests);
    }

private:
    void visit(const lyd_node *node, std::size_t level, Cause cause, bool ordered);

    const Datastore &m_candidate;
    CauseTexts &m_causes;
    const ValidationPoint &m_point;
    const Places &m_places;
    const std::vector<const SchemaNode *> m_chain; /**< To the nodes that requests are about. */
    std::vector<Request> m_requests;
};

/**
 * @param cause    The first change that reaches all below the nodes above; kNoCause if none does.
 * @param ordered  Whether the places below are in document order, as far as the nodes above tell.
 */
void Collector::visit(const lyd_node *node, std::size_t level, Cause cause, bool ordered)
{
    const auto &place = m_places.at(node);
    cause = std::min(cause, place.cause);
    ordered = ordered && place.ordered;
    if (level == m_chain.size()) {
        if (cause != kNoCause) {
            m_requests.push_back({&m_point, node, m_causes.text(cause), m_causes.change(cause)});
        }
        return;
    }
    if (cause == kNoCause && ordered) {
        for (const lyd_node *below : place.below) {
            visit(below, level + 1, cause, ordered);
        }
        return;
    }
    const SchemaNode &step = *m_chain[level];
    for (const lyd_node *below = first_instance(m_candidate.root(), node, step); below != nullptr;
         below = step.is_leaf_list() ? nullptr : next_instance(below)) {
        visit(below, level + 1, cause, ordered);
    }
}

} // namespace

std::string path_of(const Request &request)
{
    return request.point->once ? list_path_text(request.instance, *request.point->node)
                               : path_text(request.instance);
}

const SchemaNode *instance_node(const ValidationPoint &point)
{
    return point.once ? point.node->up() : point.node;
}

struct Plan::Parts {
    const Transaction &transaction;
    std::vector<Places> places; /**< By point. */
    CauseTexts causes;
};

namespace
{

std::vector<Watch> watches_of(const std::vector<ValidationPoint> &points,
                              std::vector<Places> &places)
{
    std::vector<Watch> watches;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (points[i].dependencies.empty()) {
            places[i].add(nullptr, kEveryCommit);
        }
        for (const Dependency &dependency : points[i].dependencies) {
            const SchemaNode *common = shared_by(points[i], dependency);
            const std::size_t depth = common != nullptr ? chain_to(common).size() - 1 : 0;
            watches.push_back({&places[i], dependency.target, common, depth});
        }
    }
    return watches;
}

} // namespace

Plan::Plan(const Transaction &transaction, bool everything)
{
    const auto &points = transaction.candidate().schema().points();
    std::vector<Places> places(points.size());
    for (Places &each : places) {
        if (everything) {
            each.add(nullptr, kEveryCommit);
        }
    }
    ChangeWalk walk(watches_of(points, places));
    walk.walk(transaction.changes());
    m_parts =
        std::make_unique<Parts>(Parts{transaction, std::move(places), CauseTexts(walk.causes())});
}

Plan::~Plan() = default;

std::size_t Plan::size() const
{
    return m_parts->places.size();
}

const ValidationPoint &Plan::point(std::size_t index) const
{
    return m_parts->transaction.candidate().schema().points()[index];
}

bool Plan::is_everywhere(std::size_t index) const
{
    return m_parts->places[index].has(nullptr);
}

std::vector<Request> Plan::requests(std::size_t index) const
{
    return Collector(m_parts->transaction.candidate(), m_parts->causes, point(index),
                     m_parts->places[index])
        .collect();
}

std::vector<Request> Plan::all_requests() const
{
    std::vector<Request> all;
    for (std::size_t i = 0; i < size(); ++i) {
        auto more = requests(i);
        std::move(more.begin(), more.end(), std::back_inserter(all));
    }
    return all;
}

Request Plan::request(std::size_t index, const lyd_node *instance) const
{
    const Places &places = m_parts->places[index];
    Cause cause = places.at(nullptr).cause;
    for (const lyd_node *node = instance; node != nullptr; node = lyd_parent(node)) {
        cause = std::min(cause, places.at(node).cause);
    }
    CauseTexts &causes = m_parts->causes;
    return {&point(index), instance, causes.text(cause), causes.change(cause)};
}

bool Plan::asks(const std::string &opaque, const std::string &path) const
{
    for (std::size_t i = 0; i < size(); ++i) {
        if (point(i).opaque != opaque) {
            continue;
        }
        if (is_everywhere(i) && !path.empty() && !point(i).once) {
            const auto &tree = m_parts->transaction.candidate();
            if (find_node(tree.root(), *read_path(tree.schema(), path)) != nullptr) {
                return true;
            }
            continue;
        }
        const auto requests = this->requests(i);
        if (std::any_of(requests.begin(), requests.end(), [&path](const Request &request) {
                return path.empty() || path_of(request) == path;
            })) {
            return true;
        }
    }
    return false;
}

std::vector<Request> plan(const Transaction &transaction)
{
    return Plan(transaction).all_requests();
}

} // namespace engine
