#include "engine/data/yang_check.h"

#include "engine/data/error.h"
#include "engine/data/normalise.h"
#include "engine/data/path.h"
#include "engine/data/problems.h"
#include "engine/data/reference_index.h"
#include "engine/data/text_places.h"
#include "engine/schema/schema_references.h"
#include "engine/schema/yang_log.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace engine
{
namespace
{

/** Checking again costs as much as checking: beyond so many faults the rest is told another time.
 */
constexpr std::size_t kMaxFaults = 20;

/** Schema node of a path with choices and cases; null when there is none. */
const lysc_node *find_schema(const lysc_module *module, const std::string &path)
{
    const lysc_node *siblings = module->data;
    const lysc_node *node = nullptr;
    std::size_t begin = 1;
    while (begin <= path.size()) {
        const auto end = std::min(path.find('/', begin), path.size());
        auto name = path.substr(begin, end - begin);
        name.erase(0, name.find(':') + 1); // From the start when there is no prefix.
        for (node = siblings; node != nullptr && name != node->name; node = node->next) {
        }
        if (node == nullptr) {
            return nullptr;
        }
        siblings = lysc_node_child(node);
        begin = end + 1;
    }
    return node;
}

bool is_inside(const lysc_node *node, const lysc_node *above)
{
    while (node != nullptr && node != above) {
        node = node->parent;
    }
    return node != nullptr;
}

std::size_t count_children(const lyd_node *parent, const lysc_node *schema)
{
    std::size_t count = 0;
    for (const auto *child = lyd_child(parent); child != nullptr; child = child->next) {
        count += is_inside(child->schema, schema) ? 1U : 0U;
    }
    return count;
}

std::size_t count_cases(const lyd_node *parent, const lysc_node *choice)
{
    std::size_t count = 0;
    for (const auto *one = lysc_node_child(choice); one != nullptr; one = one->next) {
        count += count_children(parent, one) > 0 ? 1U : 0U;
    }
    return count;
}

std::size_t least_count(const lysc_node *schema)
{
    switch (schema->nodetype) {
    case LYS_LIST:
        return reinterpret_cast<const lysc_node_list *>(schema)->min;
    case LYS_LEAFLIST:
        return reinterpret_cast<const lysc_node_leaflist *>(schema)->min;
    default:
        return 1;
    }
}

/** Whether a data node lacks the children that the schema demands, or has those of two cases. */
bool is_at_fault(const lyd_node *parent, const lysc_node *schema)
{
    if (schema->nodetype == LYS_CHOICE && count_cases(parent, schema) > 1) {
        return true;
    }
    const auto *around = schema->parent;
    if (around != nullptr && around->nodetype == LYS_CASE && count_children(parent, around) == 0) {
        return false; // Another case was chosen.
    }
    return count_children(parent, schema) < least_count(schema);
}

/** For faults of which libyang names the schema node only. */
void find_places(const lyd_node *siblings, const lysc_node *schema,
                 std::vector<const lyd_node *> &places)
{
    const auto *parent_schema = lysc_data_node(schema->parent);
    for (; siblings != nullptr; siblings = siblings->next) {
        if (siblings->schema == parent_schema && is_at_fault(siblings, schema)) {
            places.push_back(siblings);
        }
        find_places(lyd_child(siblings), schema, places);
    }
}

/** Finds the faults of a tree that it may change. */
class FaultFinder
{
public:
    FaultFinder(const Schema &schema, lyd_node *&root, const Source &source)
        : m_schema(schema), m_root(root), m_source(source), m_places(schema, source)
    {
    }

    /**
     * libyang stops at its first fault. After a reference to nothing the search goes on without
     * that leaf: there are often several. What comes after those may follow from the leaves that
     * are gone, so that it is told only when it comes first.
     */
    std::vector<Problem> find()
    {
        bool go_on = !is_valid();
        while (go_on) {
            add_problems();
            go_on = m_problems.size() < kMaxFaults && drop_dangling_reference() && !is_valid() &&
                    is_dangling(*ly_err_first(m_schema.context()));
        }
        if (m_problems.size() >= kMaxFaults) {
            m_problems.push_back(
                {Fault::kInvalidData, m_source.name, 0, "", "There may be more faults", ""});
        }
        ly_err_clean(m_schema.context(), nullptr);
        return std::move(m_problems);
    }

private:
    bool is_valid()
    {
        ly_err_clean(m_schema.context(), nullptr);
        return lyd_validate_all(&m_root, m_schema.context(), LYD_VALIDATE_NO_STATE, nullptr) ==
               LY_SUCCESS;
    }

    static bool is_dangling(const ly_err_item &item)
    {
        return fault_of(item) == Fault::kDanglingReference;
    }

    /** In front: libyang goes through references from the last one. */
    void add_problems()
    {
        std::vector<Problem> found;
        for (const auto *item = ly_err_first(m_schema.context()); item != nullptr;
             item = item->next) {
            auto problem = problem_of(m_schema, *item, m_source.name);
            if (is_dangling(*item)) {
                problem.hint = "create what it refers to, or name one that exists";
            }
            for (const auto *node : nodes_at_fault(read_location(item->path))) {
                found.push_back(problem);
                put_at(node, found.back());
            }
        }
        m_problems.insert(m_problems.begin(), found.begin(), found.end());
    }

    /** The nodes that a fault is about; of one whose place libyang does not tell, null. */
    std::vector<const lyd_node *> nodes_at_fault(const FaultLocation &location) const
    {
        if (!location.data.empty()) {
            return {find_data(location.data)};
        }
        std::vector<const lyd_node *> nodes;
        if (const auto *schema = find_schema(m_schema.module()->compiled, location.schema)) {
            find_places(m_root, schema, nodes);
        }
        return nodes.empty() ? std::vector<const lyd_node *>{nullptr} : nodes;
    }

    void put_at(const lyd_node *node, Problem &problem) const
    {
        if (node == nullptr) {
            return;
        }
        problem.path = path_text(node);
        const bool is_duplicate = problem.fault == Fault::kDuplicate;
        TextPlaces::put(problem, is_duplicate ? m_places.of_duplicate(node) : m_places.of(node));
    }

    lyd_node *find_data(const std::string &path) const
    {
        lyd_node *node = nullptr;
        return lyd_find_path(m_root, path.c_str(), 0, &node) == LY_SUCCESS ? node : nullptr;
    }

    bool drop_dangling_reference()
    {
        const auto *item = ly_err_first(m_schema.context());
        if (item == nullptr || item->next != nullptr || !is_dangling(*item)) {
            return false;
        }
        auto *leaf = find_data(read_location(item->path).data);
        if (leaf == nullptr || lysc_is_key(leaf->schema)) {
            return false;
        }
        lyd_free_tree(leaf);
        return true;
    }

    const Schema &m_schema;
    lyd_node *&m_root;
    const Source &m_source;
    TextPlaces m_places;
    std::vector<Problem> m_problems;
};

/** A failure that is none of the data's, such as one of memory, need not come again. */
Problem unexplained(const Source &source, LY_ERR result)
{
    return {Fault::kInternal,
            source.name,
            0,
            "",
            "the check against the model failed (libyang's code " + std::to_string(result) +
                "), and found no fault in a second run",
            ""};
}

} // namespace

void check_yang(Datastore &tree, const Source &source)
{
    const Schema &schema = tree.schema();
    auto *context = schema.context();
    const LY_ERR result = lyd_validate_all(&tree.m_root, context, LYD_VALIDATE_NO_STATE, nullptr);
    require_memory(result);
    ly_err_clean(context, nullptr);
    if (result != LY_SUCCESS || has_dangling_references(tree)) {
        const YangReferences by_libyang(schema);
        Datastore trial = tree.copy();
        auto problems = FaultFinder(schema, trial.m_root, source).find();
        if (problems.empty()) {
            problems.push_back(unexplained(source, result));
        }
        throw InputError(std::move(problems));
    }
    if (schema.has_leaf_list_defaults()) {
        order_by_keys(tree.m_root); // They come in the model's order.
    }
}

} // namespace engine
