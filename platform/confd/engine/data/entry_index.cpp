#include "engine/data/entry_index.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string_view>

namespace engine
{
namespace
{

std::size_t mix(std::size_t hash, std::string_view key)
{
    constexpr std::size_t kFactor = 31;
    return hash * kFactor + std::hash<std::string_view>()(key);
}

std::size_t hash_of(const lyd_node *entry)
{
    std::size_t hash = 0;
    for (const lyd_node *key = lyd_child(entry); key != nullptr && lysc_is_key(key->schema);
         key = key->next) {
        hash = mix(hash, lyd_get_value(key));
    }
    return hash;
}

bool has_keys(const lyd_node *entry, const std::vector<std::string> &keys)
{
    const lyd_node *leaf = lyd_child(entry);
    for (const std::string &key : keys) {
        const char *value = leaf != nullptr ? lyd_get_value(leaf) : nullptr;
        if (value == nullptr || *value != *key.c_str() || std::strcmp(value, key.c_str()) != 0) {
            return false;
        }
        leaf = leaf->next;
    }
    return true;
}

/** Looks at some entries, one after the other. @param end  Where it stopped; null: at the end. */
const lyd_node *find_among_first(const lyd_node *first, const std::vector<std::string> &keys,
                                 const lyd_node *&end)
{
    constexpr int kMax = 8;
    end = first;
    for (int i = 0; i < kMax && end != nullptr; ++i) {
        if (has_keys(end, keys)) {
            return end;
        }
        end = next_instance(end);
    }
    return nullptr;
}

std::size_t count_entries(const lyd_node *first)
{
    std::size_t count = 0;
    for (const lyd_node *entry = first; entry != nullptr; entry = next_instance(entry)) {
        ++count;
    }
    return count;
}

/** So many entries are indexed in the time that libyang takes to find one: measured. */
constexpr std::size_t kEntriesPerLookup = 50;
/** Until then the entries are not even counted: thousands of them lie far apart in the memory. */
constexpr std::size_t kFewLookups = 8;

} // namespace

const lyd_node *EntryIndex::find_first(const lyd_node *siblings, const SchemaNode &node)
{
    constexpr unsigned int kAlignment = 6; // Of addresses: the bits below tell nothing.
    const std::size_t hash =
        (reinterpret_cast<std::uintptr_t>(siblings) >> kAlignment) ^ node.number;
    First &first = m_firsts[hash % kFirsts];
    if (first.siblings != siblings || first.node != &node) {
        first = {siblings, &node, engine::find_first(siblings, node)};
    }
    return first.found;
}

const lyd_node *EntryIndex::find(const lyd_node *first, const Path::Step &step)
{
    Entries &entries = m_lists[first];
    if (entries.last != nullptr && has_keys(entries.last, step.keys)) {
        return entries.last;
    }
    const lyd_node *next = entries.is_walked ? next_instance(entries.last) : nullptr;
    const lyd_node *found =
        next != nullptr && has_keys(next, step.keys) ? next : search(entries, first, step);
    if (found != nullptr) {
        entries.is_walked = entries.last != nullptr && entries.last->next == found;
        entries.last = found;
    }
    return found;
}

const lyd_node *EntryIndex::search(Entries &entries, const lyd_node *first, const Path::Step &step)
{
    if (!entries.places.empty()) {
        return find_in(entries, step.keys);
    }
    if (entries.lookups == 0) {
        const lyd_node *end = nullptr;
        const lyd_node *found = find_among_first(first, step.keys, end);
        if (found != nullptr || end == nullptr) {
            return found;
        }
    }
    ++entries.lookups;
    if (entries.lookups == kFewLookups) {
        entries.count = count_entries(first);
    }
    if (entries.lookups < std::max(kFewLookups, entries.count / kEntriesPerLookup)) {
        return find_entry(first, step);
    }
    fill(entries, first);
    return find_in(entries, step.keys);
}

const lyd_node *EntryIndex::find_in(const Entries &entries, const std::vector<std::string> &keys)
{
    std::size_t hash = 0;
    for (const std::string &key : keys) {
        hash = mix(hash, key);
    }
    const std::size_t last = entries.places.size() - 1;
    for (std::size_t at = hash & last; entries.places[at] != nullptr; at = (at + 1) & last) {
        if (has_keys(entries.places[at], keys)) {
            return entries.places[at];
        }
    }
    return nullptr;
}

void EntryIndex::fill(Entries &entries, const lyd_node *first)
{
    std::size_t size = 1;
    while (size < 2 * entries.count) {
        size *= 2;
    }
    entries.places.assign(size, nullptr);
    for (const lyd_node *entry = first; entry != nullptr; entry = next_instance(entry)) {
        std::size_t at = hash_of(entry) & (size - 1);
        while (entries.places[at] != nullptr) {
            at = (at + 1) & (size - 1);
        }
        entries.places[at] = entry;
    }
}

} // namespace engine
