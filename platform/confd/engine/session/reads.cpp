#include "engine/session/reads.h"

#include <algorithm>
#include <iterator>

namespace engine
{
namespace
{

/** A request that reads more places of one schema node counts as having read them all. */
constexpr unsigned int kMaxPlaces = 64;
constexpr std::size_t kKinds = 2 * kReadExtents; // On either side.

std::size_t kind_of(ReadSide side, ReadExtent extent)
{
    return static_cast<std::size_t>(side) * kReadExtents + static_cast<std::size_t>(extent);
}

/** Whether a node is there by itself, so that what is below it depends on it. */
bool can_be_absent(const Path::Step &step)
{
    return step.node->is_list() || step.node->is_presence();
}

/** The path's first steps, as a person knows them. */
std::string text_of(const Path &path, std::size_t steps)
{
    Path part;
    part.steps.assign(path.steps.begin(), path.steps.begin() + static_cast<std::ptrdiff_t>(steps));
    return part.text();
}

} // namespace

ReadLog &ReadLog::instance()
{
    static ReadLog log;
    return log;
}

void ReadLog::begin()
{
    ++m_request;
    m_is_in_request = true;
    m_has_installed_keys = false;
    forget_counts();
    m_reads.clear();
    if (m_seen.empty()) {
        constexpr std::size_t kFirstSize = 1024;
        m_seen.resize(kFirstSize);
    }
}

std::vector<Read> ReadLog::end()
{
    m_is_in_request = false;
    const auto is_in_others = [this](const Read &read) {
        return read.node != nullptr && count_of(*read.node, read.side, read.extent) > kMaxPlaces &&
               read.place != place_of(*read.node);
    };
    std::vector<Read> reads;
    std::remove_copy_if(m_reads.begin(), m_reads.end(), std::back_inserter(reads), is_in_others);
    return reads;
}

void ReadLog::forget_counts()
{
    for (const Read &read : m_reads) {
        if (read.node != nullptr) {
            count_of(*read.node, read.side, read.extent) = 0;
        }
    }
}

void ReadLog::note(ReadSide side, const Path &path, ReadExtent extent)
{
    const std::size_t last = path.steps.size() - 1;
    for (std::size_t i = 0; i < last; ++i) {
        if (can_be_absent(path.steps[i])) {
            add(side, *path.steps[i].node, path.steps[i].place, ReadExtent::kAbove, &path, i + 1);
        }
    }
    add(side, *path.steps[last].node, path.steps[last].place, extent, &path, last + 1);
}

void ReadLog::note(ReadSide side, const SchemaNode &node, PlaceId place, ReadExtent extent)
{
    add(side, node, place, extent, nullptr, 0);
}

void ReadLog::note_everything(ReadSide side)
{
    if (is_new(mix_place(kRootPlace, kind_of(side, ReadExtent::kSubtree)))) {
        m_reads.push_back({nullptr, kRootPlace, ReadExtent::kSubtree, side, "/"});
    }
}

void ReadLog::add(ReadSide side, const SchemaNode &node, PlaceId place, ReadExtent extent,
                  const Path *path, std::size_t steps)
{
    if (static_cast<int>(extent) == m_forgotten) {
        return;
    }
    unsigned int &count = count_of(node, side, extent);
    if (count > kMaxPlaces || !is_new(mix_place(place, kind_of(side, extent)))) {
        return;
    }
    if (++count > kMaxPlaces) {
        const PlaceId all = place_of(node);
        if (all != place && is_new(mix_place(all, kind_of(side, extent)))) {
            m_reads.push_back({&node, all, extent, side, node.path()});
        }
        return;
    }
    m_reads.push_back({&node, place, extent, side, {}});
    if (m_mode == Mode::kPaths) {
        m_reads.back().path = path != nullptr ? text_of(*path, steps) : node.path();
    }
}

bool ReadLog::is_new(PlaceId id)
{
    if (4 * m_reads.size() > m_seen.size()) {
        grow();
    }
    const std::size_t last = m_seen.size() - 1;
    std::size_t at = static_cast<std::size_t>(id) & last;
    while (m_seen[at].request == m_request && m_seen[at].id != id) {
        at = (at + 1) & last;
    }
    const bool is_it = m_seen[at].request != m_request;
    m_seen[at] = {id, m_request};
    return is_it;
}

void ReadLog::grow()
{
    std::vector<Seen> seen(2 * m_seen.size());
    std::swap(seen, m_seen);
    for (const Seen &each : seen) {
        if (each.request == m_request) {
            std::size_t at = static_cast<std::size_t>(each.id) & (m_seen.size() - 1);
            while (m_seen[at].request == m_request) {
                at = (at + 1) & (m_seen.size() - 1);
            }
            m_seen[at] = each;
        }
    }
}

unsigned int &ReadLog::count_of(const SchemaNode &node, ReadSide side, ReadExtent extent)
{
    const std::size_t index = node.number * kKinds + kind_of(side, extent);
    if (index >= m_counts.size()) {
        m_counts.resize(index + kKinds);
    }
    return m_counts[index];
}

std::string schema_path(const Read &read)
{
    return read.node != nullptr ? read.node->path() : "/";
}

} // namespace engine
