#include "twin/datastores.h"

#include "engine/data/defaults.h"
#include "engine/data/path.h"
#include "engine/edit/edit.h"

namespace host::twin
{
namespace
{

using engine::Datastore;
using engine::Source;

Source made(const std::string &edit)
{
    return {"change", edit};
}

/** Two nodes in the place of one: there is no edit that makes such a tree. */
void require_no_duplicates(const Datastore &tree, const Source &source)
{
    std::vector<engine::Problem> problems;
    for (const lyd_node *top = tree.root(); top != nullptr; top = top->next) {
        const lyd_node *node = nullptr;
        LYD_TREE_DFS_BEGIN(top, node)
        {
            lyd_node *first = nullptr;
            if (lyd_find_sibling_first(node, node, &first) == LY_SUCCESS && first != node) {
                problems.push_back({engine::Fault::kDuplicate, source.name, 0,
                                    engine::path_text(node), "Duplicate node",
                                    "a configuration names a node once"});
            }
            LYD_TREE_DFS_END(top, node);
        }
    }
    if (!problems.empty()) {
        throw engine::InputError(std::move(problems));
    }
}

Datastore parsed(const Datastore &running, const Source &configuration)
{
    auto tree = Datastore::parse(running.schema_ptr(), configuration, &running);
    require_no_duplicates(tree, configuration);
    engine::add_defaults(tree);
    return tree;
}

/** The edit that makes `after` of `before`, wherever they may differ. */
TreeEdit difference(const Datastore &before, const Datastore &after)
{
    Touched anywhere;
    anywhere.add_everything();
    return edit_between(before, after, anywhere);
}

} // namespace

Datastores::Datastores(Datastore running) : m_running(std::move(running)) {}

void Datastores::read_running(const Read &read) const
{
    const std::shared_lock<FairLock> lock(m_running_lock);
    read(m_running);
}

void Datastores::read_candidate(const Read &read) const
{
    {
        const std::shared_lock<FairLock> lock(m_candidate_lock);
        if (m_candidate) {
            read(*m_candidate);
            return;
        }
    }
    read_running(read);
}

/** @pre  m_edit and m_candidate_lock are held. */
Datastore &Datastores::candidate()
{
    if (!m_candidate) {
        m_candidate = m_running.copy();
    }
    return *m_candidate;
}

void Datastores::edit_candidate(const Source &edit)
{
    const std::lock_guard editing(m_edit);
    const std::unique_lock<FairLock> lock(m_candidate_lock);
    engine::UndoLog log(candidate());
    engine::apply_edit(log, edit);
    m_touched.add(log);
    log.keep();
    ++m_generation;
}

std::vector<engine::Problem> Datastores::edit_candidate_where_possible(const Source &edit)
{
    const std::lock_guard editing(m_edit);
    const std::unique_lock<FairLock> lock(m_candidate_lock);
    engine::UndoLog log(candidate());
    auto misfits = engine::apply_what_fits(log, edit);
    m_touched.add(log);
    log.keep();
    ++m_generation;
    return misfits;
}

void Datastores::replace_candidate(const Source &configuration)
{
    const std::lock_guard editing(m_edit);
    auto tree = parsed(m_running, configuration);
    const std::unique_lock<FairLock> lock(m_candidate_lock);
    m_candidate = std::move(tree);
    m_touched.add_everything();
    ++m_generation;
}

void Datastores::discard()
{
    const std::lock_guard editing(m_edit);
    const std::unique_lock<FairLock> lock(m_candidate_lock);
    if (!m_touched.empty()) {
        m_candidate.reset();
        m_touched.clear();
        ++m_generation;
    }
}

bool Datastores::is_modified() const
{
    const std::shared_lock<FairLock> lock(m_candidate_lock);
    return !m_touched.empty();
}

Datastores::Plan Datastores::plan_commit()
{
    const std::lock_guard editing(m_edit);
    return {m_candidate ? edit_between(m_running, *m_candidate, m_touched) : TreeEdit(),
            m_generation};
}

Datastores::Plan Datastores::plan_trial(const Source &edit)
{
    const std::lock_guard editing(m_edit);
    const Datastore trial = engine::apply_edit(m_candidate ? *m_candidate : m_running, edit);
    return {difference(m_running, trial)};
}

Datastores::Plan Datastores::plan_edit(const Source &edit)
{
    const std::lock_guard editing(m_edit);
    return {difference(m_running, engine::apply_edit(m_running, edit))};
}

Datastores::Plan Datastores::plan_edit_where_possible(const Source &edit,
                                                      std::vector<engine::Problem> &misfits)
{
    const std::lock_guard editing(m_edit);
    Datastore changed = m_running.copy();
    engine::UndoLog log(changed);
    misfits = engine::apply_what_fits(log, edit);
    log.keep();
    return {difference(m_running, changed)};
}

Datastores::Plan Datastores::plan_replacement(const Source &configuration)
{
    const std::lock_guard editing(m_edit);
    return {difference(m_running, parsed(m_running, configuration))};
}

Datastores::Plan Datastores::plan_replacement(const Datastore &configuration)
{
    const std::lock_guard editing(m_edit);
    return {difference(m_running, configuration)};
}

void Datastores::commit(const Plan &plan)
{
    const std::lock_guard editing(m_edit);
    const auto apply = [&plan](Datastore &tree) {
        if (plan.edit.text.empty()) {
            return;
        }
        engine::UndoLog log(tree);
        engine::apply_edit(log, made(plan.edit.text));
        log.keep();
    };
    {
        const std::unique_lock<FairLock> lock(m_running_lock);
        apply(m_running);
        ++m_running_generation;
    }
    const std::unique_lock<FairLock> lock(m_candidate_lock);
    if (plan.candidate == m_generation) {
        m_touched.clear();
    } else if (m_touched.empty() && m_candidate) {
        apply(*m_candidate); // It goes on being what is running.
    } else if (!m_touched.empty() && !plan.edit.text.empty()) {
        m_touched.add_everything();
    }
}

} // namespace host::twin
