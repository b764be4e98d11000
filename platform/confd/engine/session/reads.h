/**
 * @file
 * What a request read of the configuration: what its answer depends on.
 */
#pragma once

#include "engine/data/path.h"
#include "engine/data/place.h"

#include <cstdint>
#include <string>
#include <vector>

namespace engine
{

/** How much of a place an answer depends on. */
enum class ReadExtent : std::uint8_t {
    /** Whether it is there, because what was read stands below it. */
    kAbove,
    /** Whether it is there, its value, and the order among all entries of a list. */
    kNode,
    /** Of an entry: that, and all inside it but for what is in lists. */
    kEntry,
    /** It, and all below. */
    kSubtree
};

constexpr unsigned int kReadExtents = 4;

enum class ReadSide : std::uint8_t { kCandidate, kCommitted };

/** One thing that was read, or found to be absent. */
struct Read {
    const SchemaNode *node = nullptr; /**< Null: the configuration as a whole. */
    PlaceId place = kRootPlace;
    ReadExtent extent = ReadExtent::kNode;
    ReadSide side = ReadSide::kCandidate;
    std::string path; /**< Where it was asked for: see ReadLog::start. */
};

/**
 * Writes down what the client library's calls read for one request at a time. Process-wide; off
 * until it is switched on. A call may tell more than it looked at, never less: absence is a read,
 * too, and so is what stands above a node, since it decides what is reported of an absence.
 */
class ReadLog
{
public:
    static ReadLog &instance();

    enum class Mode { kOff, kPlaces, kPaths /**< With a text for each read. */ };
    void set_mode(Mode mode) { m_mode = mode; }
    bool is_on() const { return m_mode != Mode::kOff && m_is_in_request; }

    /** A request begins. */
    void begin();
    /** It ends: what it read, each once. */
    std::vector<Read> end();
    /** Of the present request: what outlives a request notes what it reads once in each. */
    std::uint64_t request() const { return m_request; }

    /** What a path leads to, in so far as `extent` says, and whether all above it is there. */
    void note(ReadSide side, const Path &path, ReadExtent extent);
    /** The same for a place of a schema node, without what is above it. */
    void note(ReadSide side, const SchemaNode &node, PlaceId place, ReadExtent extent);
    /** Anything whatever: for what cannot be told more exactly. */
    void note_everything(ReadSide side);

    /** The request calls for keys that another request may have installed. */
    void note_crypto_keys()
    {
        if (is_on() && !m_has_installed_keys) {
            note_everything(ReadSide::kCandidate);
        }
    }
    void note_installed_keys() { m_has_installed_keys = true; }

    /** For a test: what one extent notes is dropped, as if the call had forgotten to tell. */
    void forget(ReadExtent extent) { m_forgotten = static_cast<int>(extent); }
    void forget_nothing() { m_forgotten = kNothing; }

private:
    static constexpr int kNothing = -1;

    struct Seen {
        PlaceId id = 0;
        std::uint64_t request = 0;
    };

    void add(ReadSide side, const SchemaNode &node, PlaceId place, ReadExtent extent,
             const Path *path, std::size_t steps);
    void forget_counts();
    bool is_new(PlaceId id);
    void grow();
    unsigned int &count_of(const SchemaNode &node, ReadSide side, ReadExtent extent);

    Mode m_mode = Mode::kOff;
    bool m_is_in_request = false;
    bool m_has_installed_keys = false; /**< In this request. */
    int m_forgotten = kNothing;
    std::uint64_t m_request = 0;
    std::vector<Read> m_reads;
    std::vector<Seen> m_seen;           /**< By hash; a power of two of places. */
    std::vector<unsigned int> m_counts; /**< Places by schema node, side and extent. */
};

/** Path of what was read without keys, such as /config/interface/gpon/onu. */
std::string schema_path(const Read &read);

} // namespace engine
