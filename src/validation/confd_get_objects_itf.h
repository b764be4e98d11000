/**
 * @file
 * Reads a configuration list in bulk: a fixed number of entries per request.
 */
#pragma once

#include <confd_maapi.h>

#include <cstdint>
#include <memory>
#include <string>

/**
 * Reader of a list of the transaction. Every value of an entry lies in one flat array, entry after
 * entry, each entry's values in schema order: value v of entry i is entry(i)[v].
 *
 * The values of the last successful getObjects() belong to the caller, who frees those that own
 * memory before the next call overwrites them: validation::ObjectsChunk does.
 */
class ConfdGetObjsItf
{
public:
    /**
     * Opens the list; a list that cannot be opened reads as empty.
     * @param object_size       Values per entry.
     * @param objects_per_call  Most entries fetched by one getObjects().
     * @param keypath           Absolute path of the list. It is handed on as a format: no `%`.
     * @param tctx              The transaction; borrowed.
     * @param check_size        Compare object_size with the loaded schema. A difference ends the
     *                          process with a fault report: every read by position would be wrong.
     * @throws std::bad_array_new_length  The array would be too large to address.
     */
    ConfdGetObjsItf(std::uint32_t object_size, std::uint32_t objects_per_call, std::string keypath,
                    int maapi_sock, confd_trans_ctx *tctx, bool check_size);
    ~ConfdGetObjsItf();
    ConfdGetObjsItf(const ConfdGetObjsItf &) = delete;
    ConfdGetObjsItf &operator=(const ConfdGetObjsItf &) = delete;

    /**
     * Fetches the next entries.
     * @return The number of entries; 0 at the end; -1 when they cannot be read or do not have
     *         object_size values. Then there is nothing to free.
     */
    int getObjects();

    /**
     * Frees what the values of the first `count` entries of the last getObjects() own. A value that
     * the caller has freed is C_NOEXISTS.
     */
    void freeObjects(int count) const { free_values(count, object_size); }

    /** The values of an entry of the last getObjects(). */
    confd_value_t *entry(int index) const
    {
        return values.get() + static_cast<std::size_t>(index) * object_size;
    }

private:
    void check_object_size() const;
    void free_values(int entries, std::uint32_t values_per_entry) const;

    std::uint32_t object_size;
    std::uint32_t objects_per_call;
    std::string keypath;
    std::int32_t maapi_sock;
    confd_trans_ctx *tctx;
    maapi_cursor cursor;
    std::unique_ptr<confd_value_t[]> values;
};

namespace validation
{

/** The next entries of a bulk read; frees what is left of their values. */
class ObjectsChunk
{
public:
    explicit ObjectsChunk(ConfdGetObjsItf &reader) : m_reader(reader), m_size(reader.getObjects())
    {
    }
    ~ObjectsChunk() { m_reader.freeObjects(m_size); }
    ObjectsChunk(const ObjectsChunk &) = delete;
    ObjectsChunk &operator=(const ObjectsChunk &) = delete;

    /** As getObjects() answers. */
    int size() const { return m_size; }
    confd_value_t *entry(int index) const { return m_reader.entry(index); }

private:
    const ConfdGetObjsItf &m_reader;
    int m_size;
};

} // namespace validation
