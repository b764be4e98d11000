#include "checker/running_faults.h"

#include "engine/data/path.h"
#include "engine/data/text_places.h"
#include "engine/data/yang_check.h"

#include <algorithm>
#include <string_view>

namespace host
{
namespace
{

using engine::Problem;

std::vector<Problem> faults_of(const engine::Datastore &running, const engine::Source &source)
{
    auto copy = running.copy();
    try {
        engine::check_yang(copy, source);
    } catch (const engine::InputError &failure) {
        return failure.problems();
    }
    return {};
}

bool is_same(const Problem &a, const Problem &b)
{
    return a.fault == b.fault && a.path == b.path && a.message == b.message;
}

/** Whether a path is another one, or leads to a place below it. */
bool is_at_or_below(std::string_view path, std::string_view above)
{
    return path.substr(0, above.size()) == above &&
           (path.size() == above.size() || path[above.size()] == '/' || path[above.size()] == '{');
}

bool is_touched(const std::string &path, const std::vector<std::string> &touched)
{
    return std::any_of(touched.begin(), touched.end(), [&path](const std::string &one) {
        return is_at_or_below(path, one) || is_at_or_below(one, path);
    });
}

void collect(const std::vector<engine::Change> &changes, std::vector<std::string> &paths)
{
    for (const auto &change : changes) {
        if (change.kind != engine::ChangeKind::kInside) {
            paths.push_back(engine::path_text(change.node()));
        }
        collect(change.children, paths);
    }
}

} // namespace

std::vector<Problem> name_running_faults(std::vector<Problem> faults,
                                         const engine::Datastore &running,
                                         const engine::Source &source,
                                         const std::vector<std::string> &touched)
{
    const auto before = faults_of(running, source);
    const engine::TextPlaces places(running.schema(), source);
    for (Problem &fault : faults) {
        const auto known = std::find_if(before.begin(), before.end(),
                                        [&fault](const auto &one) { return is_same(one, fault); });
        if (known != before.end()) {
            fault = *known;
        } else if (!before.empty() && fault.fault != engine::Fault::kDanglingReference &&
                   !is_touched(fault.path, touched)) {
            // Of faults other than leafrefs the check tells the first one only.
            fault.source = source.name;
            engine::TextPlaces::put(fault, places.of(fault.path));
        } else {
            continue;
        }
        fault.message = "Already in the running configuration: " + fault.message;
    }
    return faults;
}

std::vector<std::string> touched_paths(const std::vector<engine::Change> &changes)
{
    std::vector<std::string> paths;
    collect(changes, paths);
    return paths;
}

} // namespace host
