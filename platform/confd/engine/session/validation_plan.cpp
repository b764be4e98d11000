#include "engine/session/validation_plan.h"

#include "engine/data/path_reader.h"
#include "engine/session/plan_places.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
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

/** Goes through the nodes that a point must be asked about, in document order. */
class Collector
{
public:
    /** Gets each with its cause. @return Whether it wants more. */
    using Take = std::function<bool(const lyd_node *, Cause)>;

    Collector(const Datastore &candidate, const ValidationPoint &point, const Places &places)
        : m_candidate(candidate), m_places(places), m_chain(chain_to(instance_node(point)))
    {
    }

    void collect(const Take &take) const
    {
        visit({nullptr, &m_places.at(nullptr), 0, kNoCause, true}, take);
    }

private:
    struct Visit {
        const lyd_node *node;
        const Places::Place *place;
        std::size_t level;
        /** The first change that reaches all below the nodes above; kNoCause if none does. */
        Cause cause;
        /** Whether the places below are in document order, as far as the nodes above tell. */
        bool ordered;
    };

    bool visit(Visit visit, const Take &take) const;

    const Datastore &m_candidate;
    const Places &m_places;
    const std::vector<const SchemaNode *> m_chain; /**< To the nodes that requests are about. */
};

/** @return Whether more is wanted. */
bool Collector::visit(Visit here, const Take &take) const
{
    const Places::Place &place = *here.place;
    here.cause = std::min(here.cause, place.cause);
    here.ordered = here.ordered && place.ordered;
    if (here.level == m_chain.size()) {
        return here.cause == kNoCause || take(here.node, here.cause);
    }
    const auto descend = [&](const lyd_node *node) {
        return visit({node, &m_places.below(place, node), here.level + 1, here.cause, here.ordered},
                     take);
    };
    if (here.cause == kNoCause && here.ordered) {
        return std::all_of(place.below.begin(), place.below.end(), descend);
    }
    const SchemaNode &step = *m_chain[here.level];
    const lyd_node *node = first_instance(m_candidate.root(), here.node, step);
    while (node != nullptr && descend(node)) {
        node = step.is_leaf_list() ? nullptr : next_instance(node);
    }
    return node == nullptr;
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

    Collector collector(std::size_t index) const
    {
        const Datastore &candidate = transaction.candidate();
        return Collector(candidate, candidate.schema().points()[index], places[index]);
    }
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
    PlaceMarker marker(watches_of(points, places));
    marker.walk(transaction.changes());
    m_parts =
        std::make_unique<Parts>(Parts{transaction, std::move(places), CauseTexts(marker.causes())});
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
    CauseTexts &causes = m_parts->causes;
    std::vector<Request> requests;
    m_parts->collector(index).collect([&](const lyd_node *instance, Cause cause) {
        requests.push_back({&point(index), instance, causes.text(cause), causes.change(cause)});
        return true;
    });
    return requests;
}

std::size_t Plan::count_before(std::size_t index, const lyd_node *instance) const
{
    std::size_t count = 0;
    m_parts->collector(index).collect([&](const lyd_node *each, Cause) {
        const bool goes_on = each != instance;
        count += goes_on ? 1 : 0;
        return goes_on;
    });
    return count;
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
