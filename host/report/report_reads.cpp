#include "report/report_reads.h"

#include "report/printable.h"

#include <algorithm>
#include <map>
#include <ostream>
#include <set>
#include <tuple>

namespace host
{
namespace
{

using engine::Read;
using engine::ReadExtent;
using engine::ReadSide;

/** What is told of reads: where, of which side, and how much of it. */
using ReadName = std::tuple<std::string, ReadSide, ReadExtent>;
/** How often: different places. */
using Reads = std::map<ReadName, std::set<engine::PlaceId>>;

const char *words_for(ReadExtent extent)
{
    switch (extent) {
    case ReadExtent::kEntry:
        return ", with its contents";
    case ReadExtent::kSubtree:
        return ", with all below";
    default:
        return "";
    }
}

Reads reads_of(const Outcome &outcome, const std::string &rule, bool in_full)
{
    Reads reads;
    for (const auto &run : outcome.runs) {
        if (run.rule != rule) {
            continue;
        }
        for (const Read &read : run.answer.reads) {
            if (read.extent != ReadExtent::kAbove) {
                const std::string path =
                    in_full && !read.path.empty() ? read.path : engine::schema_path(read);
                reads[{path, read.side, read.extent}].insert(read.place);
            }
        }
    }
    return reads;
}

} // namespace

void print_reads(std::ostream &out, const Outcome &outcome, bool in_full)
{
    const bool is_noted = std::any_of(outcome.runs.begin(), outcome.runs.end(),
                                      [](const RuleRun &run) { return run.answer.is_logged; });
    if (!is_noted) {
        return;
    }
    out << "Reads:\n";
    for (const auto &summary : summarise(outcome.runs)) {
        out << "  " << summary.rule << '\n';
        for (const auto &[name, places] : reads_of(outcome, summary.rule, in_full)) {
            const auto &[path, side, extent] = name;
            out << "    " << printable(path) << words_for(extent)
                << (side == ReadSide::kCommitted ? ", as committed" : "");
            if (places.size() > 1) {
                out << " (" << places.size() << " places)";
            }
            out << '\n';
        }
    }
}

nlohmann::ordered_json json_reads(const Outcome &outcome, const std::string &rule)
{
    auto array = nlohmann::ordered_json::array();
    for (const auto &[name, places] : reads_of(outcome, rule, false)) {
        const auto &[path, side, extent] = name;
        array.push_back({{"path", path},
                         {"committed", side == ReadSide::kCommitted},
                         {"extent", extent == ReadExtent::kNode    ? "node"
                                    : extent == ReadExtent::kEntry ? "entry"
                                                                   : "subtree"},
                         {"places", places.size()}});
    }
    return array;
}

} // namespace host
