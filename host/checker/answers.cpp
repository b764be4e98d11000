#include "checker/answers.h"

#include "engine/data/document_order.h"
#include "engine/data/path_reader.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>

namespace host
{

using engine::ChangeScan;
using engine::PlaceId;
using engine::ReadSide;
using engine::Request;

/** An answer that holds for the committed configuration. */
struct AnswerStore::Known {
    std::size_t point = 0;
    PlaceId place = engine::kRootPlace; /**< Of the instance. */
    std::string path;
    engine::Answer answer;                          /**< Without what it read. */
    std::array<std::vector<std::uint64_t>, 2> keys; /**< What it depends on, on either side. */

    bool is_remarkable() const { return answer.verdict != engine::Verdict::kAccepted; }
};

/** What is known of a point. */
struct AnswerStore::PointState {
    const engine::SchemaNode *instances_of = nullptr;
    /** Changes tell when an instance comes or goes. */
    bool is_countable = false;
    /** In the committed configuration; from then on `missing` has those without a known answer. */
    std::optional<std::size_t> instances;
    std::unordered_map<PlaceId, std::unique_ptr<Known>> known;
    std::unordered_map<PlaceId, std::string> missing; /**< With their paths. */
    std::unordered_set<const Known *> remarkable;
};

/** A request that is made, or whose known answer is worth telling. */
struct AnswerStore::Item {
    std::size_t point = 0;
    Request request;
    PlaceId place = engine::kRootPlace;
    const Known *known = nullptr; /**< Null: it is asked. */
};

struct AnswerStore::Choice {
    struct Point {
        std::size_t point = 0;
        std::size_t planned = 0;
        std::size_t first_item = 0;
        std::size_t items = 0;
        bool is_counted_now = false; /**< All instances were gone through for the first time. */
    };

    const engine::Transaction &transaction;
    const engine::Plan &plan;
    bool all;
    ChangeScan scan;
    std::unordered_set<const Known *> invalid;
    std::vector<Point> points;
    std::vector<Item> items; /**< In the order of asking. */
};

namespace
{

constexpr std::size_t index_of(ReadSide side)
{
    return static_cast<std::size_t>(side);
}

/** Whether each instance comes and goes with a change: not what is there by choice alone. */
bool is_told(const engine::SchemaNode *node)
{
    for (; node != nullptr; node = node->up()) {
        const bool is_plain_container = node->is_container() && !node->is_presence();
        const bool is_conditional =
            lysc_has_when(node->yang) != nullptr ||
            (node->yang->parent != nullptr && node->yang->parent->nodetype == LYS_CASE);
        if (is_plain_container && is_conditional) {
            return false;
        }
    }
    return true;
}

bool has_place(const std::vector<ChangeScan::Instance> &instances, PlaceId place)
{
    return std::any_of(instances.begin(), instances.end(),
                       [place](const ChangeScan::Instance &each) { return each.place == place; });
}

/** The instance that a request of this path is about; null when it is not in the candidate. */
const lyd_node *find_instance(const engine::Transaction &transaction,
                              const engine::ValidationPoint &point, const std::string &path)
{
    const auto &tree = transaction.candidate();
    const auto steps = engine::read_path(tree.schema(), path);
    return point.once ? engine::find_parent(tree.root(), *steps)
                      : engine::find_node(tree.root(), *steps);
}

} // namespace

AnswerStore::AnswerStore() = default;
AnswerStore::~AnswerStore() = default;

void AnswerStore::prepare(const engine::Schema &schema)
{
    if (!m_points.empty()) {
        return;
    }
    for (const auto &point : schema.points()) {
        PointState &state = m_points.emplace_back();
        state.instances_of = engine::instance_node(point);
        state.is_countable = state.instances_of != nullptr && is_told(state.instances_of);
        m_watched.insert(state.instances_of);
    }
}

std::vector<Request> AnswerStore::choose(const engine::Transaction &transaction,
                                         const engine::Plan &plan, bool all)
{
    prepare(transaction.candidate().schema());
    m_choice.reset(new Choice{
        transaction, plan, all, ChangeScan(transaction.changes(), m_watched), {}, {}, {}});
    m_choice->invalid = touched(m_choice->scan, ReadSide::kCandidate);
    for (std::size_t point = 0; point < plan.size(); ++point) {
        m_choice->points.push_back({point, 0, m_choice->items.size(), 0, false});
        if (plan.is_everywhere(point) && m_points[point].instances) {
            choose_from_counts(point);
        } else {
            choose_from_list(point);
        }
        m_choice->points.back().items = m_choice->items.size() - m_choice->points.back().first_item;
    }
    std::vector<Request> requests;
    for (const Item &item : m_choice->items) {
        if (item.known == nullptr) {
            requests.push_back(item.request);
        } else if (!all && item.known->answer.verdict == engine::Verdict::kRejected) {
            break; // Nothing behind it is asked.
        }
    }
    return requests;
}

void AnswerStore::choose_from_list(std::size_t point)
{
    const PointState &state = m_points[point];
    auto requests = m_choice->plan.requests(point);
    m_choice->points.back().planned = requests.size();
    m_choice->points.back().is_counted_now =
        m_choice->plan.is_everywhere(point) && state.is_countable;
    for (Request &request : requests) {
        const PlaceId place = engine::place_of(request.instance);
        const auto found = state.known.find(place);
        const bool is_known = found != state.known.end() && is_valid(*found->second) &&
                              found->second->path == path_of(request);
        if (!is_known) {
            m_choice->items.push_back({point, std::move(request), place, nullptr});
        } else if (found->second->is_remarkable()) {
            m_choice->items.push_back({point, std::move(request), place, found->second.get()});
        }
    }
}

void AnswerStore::choose_from_counts(std::size_t point)
{
    const PointState &state = m_points[point];
    const auto &changed = m_choice->scan.instances(*state.instances_of);
    const auto &went = changed.went;
    m_choice->points.back().planned = *state.instances + changed.came.size() - went.size();
    const auto &plan = m_choice->plan;
    const auto add = [&](PlaceId place, const std::string &path, const Known *known) {
        if (!has_place(went, place)) {
            const auto *instance = find_instance(m_choice->transaction, plan.point(point), path);
            if (instance == nullptr) {
                throw std::logic_error("the changes do not tell that " + path + " is gone");
            }
            m_choice->items.push_back({point, plan.request(point, instance), place, known});
        }
    };
    for (const Known *known : m_choice->invalid) {
        if (known->point == point) {
            add(known->place, known->path, nullptr);
        }
    }
    for (const auto &[place, path] : state.missing) {
        add(place, path, nullptr);
    }
    for (const Known *known : state.remarkable) {
        if (is_valid(*known)) {
            add(known->place, known->path, known);
        }
    }
    for (const ChangeScan::Instance &instance : changed.came) {
        m_choice->items.push_back(
            {point, plan.request(point, instance.node), instance.place, nullptr});
    }
    std::sort(m_choice->items.begin() +
                  static_cast<std::ptrdiff_t>(m_choice->points.back().first_item),
              m_choice->items.end(), [](const Item &a, const Item &b) {
                  return engine::stands_before(a.request.instance, b.request.instance);
              });
}

bool AnswerStore::is_valid(const Known &known) const
{
    return m_choice->invalid.count(&known) == 0;
}

/** The answers that depend on something that a change touches. */
std::unordered_set<const AnswerStore::Known *> AnswerStore::touched(const ChangeScan &scan,
                                                                    ReadSide side) const
{
    std::unordered_set<const Known *> answers;
    const Index &index = m_index[index_of(side)];
    for (const std::uint64_t key : scan.keys()) {
        const auto found = index.find(key);
        if (found != index.end()) {
            answers.insert(found->second.begin(), found->second.end());
        }
    }
    return answers;
}

std::size_t AnswerStore::planned() const
{
    std::size_t sum = 0;
    for (const auto &point : m_choice->points) {
        sum += point.planned;
    }
    return sum;
}

void AnswerStore::finish(Outcome &outcome)
{
    // A plug-in that cannot be asked gives no answer, and none is taken from before.
    if (outcome.completed || !outcome.runs.empty()) {
        const std::size_t end = merge_runs(outcome);
        tell_reused(end, outcome);
    }
    start_counting();
    m_choice.reset();
}

/**
 * @return The item at which the asking ended, because it was rejected or because nobody answered
 *         it; behind the last one when all that was planned is answered.
 */
std::size_t AnswerStore::merge_runs(Outcome &outcome)
{
    auto made = std::exchange(outcome.runs, {});
    auto next = made.begin();
    for (std::size_t i = 0; i < m_choice->items.size(); ++i) {
        const Item &item = m_choice->items[i];
        if (item.known != nullptr) {
            const Request &request = item.request;
            outcome.runs.push_back({request.point->opaque, item.known->path, request.cause,
                                    item.known->answer, request.point, true, std::nullopt,
                                    request.instance, request.change});
        } else if (next != made.end()) {
            keep(*next, item);
            outcome.runs.push_back(std::move(*next++));
        } else {
            return i;
        }
        if (!m_choice->all && outcome.runs.back().answer.verdict == engine::Verdict::kRejected) {
            return i;
        }
    }
    return m_choice->items.size();
}

/** @param end  The item at which the asking ended. */
void AnswerStore::tell_reused(std::size_t end, Outcome &outcome) const
{
    for (const auto &point : m_choice->points) {
        const bool is_last = end >= point.first_item && end < point.first_item + point.items;
        const std::size_t count = is_last ? silent_before(end) : point.planned - point.items;
        if (count > 0) {
            outcome.reused.push_back({m_choice->plan.point(point.point).opaque, count});
        }
        if (is_last) {
            return;
        }
    }
}

/** How many answers of an item's point are used again and stand before it, besides items. */
std::size_t AnswerStore::silent_before(std::size_t item) const
{
    const Item &last = m_choice->items[item];
    const std::size_t first_item = m_choice->points[last.point].first_item;
    return m_choice->plan.count_before(last.point, last.request.instance) - (item - first_item);
}

/** Keeps an answer if it holds for the committed configuration as well. */
void AnswerStore::keep(const RuleRun &run, const Item &item)
{
    PointState &state = m_points[item.point];
    if (state.instances_of != nullptr &&
        has_place(m_choice->scan.instances(*state.instances_of).came, item.place)) {
        return;
    }
    if (!run.answer.is_logged) {
        return; // It may depend on anything.
    }
    auto known = std::make_unique<Known>();
    for (const engine::Read &read : run.answer.reads) {
        const std::uint64_t key = engine::touch_key(read.place, read.extent);
        if (read.side == ReadSide::kCandidate && m_choice->scan.touches(key)) {
            return;
        }
        known->keys[index_of(read.side)].push_back(key);
    }
    const auto present = state.known.find(item.place);
    if (present != state.known.end()) {
        if (present->second->path != run.path) {
            return; // Another instance with the same number: this one is asked each time.
        }
        drop(*present->second);
    }
    known->point = item.point;
    known->place = item.place;
    known->path = run.path;
    known->answer = run.answer;
    known->answer.reads.clear();
    known->answer.calls.clear();
    known->answer.time = {};
    for (std::size_t side = 0; side < m_index.size(); ++side) {
        for (const std::uint64_t key : known->keys[side]) {
            m_index[side][key].push_back(known.get());
        }
    }
    if (known->is_remarkable()) {
        state.remarkable.insert(known.get());
    }
    state.missing.erase(item.place);
    state.known[item.place] = std::move(known);
}

/** From now on the instances of the points that were gone through are told by their changes. */
void AnswerStore::start_counting()
{
    for (const auto &chosen : m_choice->points) {
        PointState &state = m_points[chosen.point];
        if (!chosen.is_counted_now) {
            continue;
        }
        const auto &[came, went] = m_choice->scan.instances(*state.instances_of);
        if (!went.empty()) {
            continue; // Those are not in the candidate: another check will do.
        }
        state.instances = chosen.planned - came.size();
        for (std::size_t i = chosen.first_item; i < chosen.first_item + chosen.items; ++i) {
            const Item &item = m_choice->items[i];
            const auto found = state.known.find(item.place);
            std::string path = path_of(item.request);
            const bool is_known = found != state.known.end() && found->second->path == path;
            if (!is_known && !has_place(came, item.place)) {
                state.missing.emplace(item.place, std::move(path));
            }
        }
    }
}

void AnswerStore::drop(const Known &known)
{
    for (std::size_t side = 0; side < m_index.size(); ++side) {
        for (const std::uint64_t key : known.keys[side]) {
            const auto found = m_index[side].find(key);
            auto &answers = found->second;
            *std::find(answers.begin(), answers.end(), &known) = answers.back();
            answers.pop_back();
            if (answers.empty()) {
                m_index[side].erase(found);
            }
        }
    }
    PointState &state = m_points[known.point];
    if (state.instances) {
        state.missing.emplace(known.place, known.path);
    }
    state.remarkable.erase(&known);
    state.known.erase(known.place);
}

void AnswerStore::commit(const engine::Transaction &transaction)
{
    const ChangeScan scan(transaction.changes(), m_watched);
    for (const ReadSide side : {ReadSide::kCandidate, ReadSide::kCommitted}) {
        for (const Known *known : touched(scan, side)) {
            drop(*known);
        }
    }
    for (std::size_t point = 0; point < m_points.size(); ++point) {
        if (m_points[point].instances_of != nullptr) {
            commit_counts(point, transaction.candidate().schema().points()[point], scan);
        }
    }
}

void AnswerStore::commit_counts(std::size_t point, const engine::ValidationPoint &asked,
                                const ChangeScan &scan)
{
    PointState &state = m_points[point];
    const auto &[came, went] = scan.instances(*state.instances_of);
    for (const ChangeScan::Instance &instance : went) {
        if (const auto found = state.known.find(instance.place); found != state.known.end()) {
            drop(*found->second);
        }
        state.missing.erase(instance.place);
    }
    if (!state.instances) {
        return;
    }
    for (const ChangeScan::Instance &instance : came) {
        state.missing.emplace(instance.place, engine::path_of({&asked, instance.node, ""}));
    }
    *state.instances += came.size() - went.size();
}

} // namespace host
