/**
 * @file
 * Files of results: written line by line, and read again.
 */
#pragma once

#include "checker/descriptor.h"
#include "checker/outcome.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace host
{

/** Where a result stands in a file. */
struct StoredResult {
    std::string inputs;
    Result result = Result::kNotChecked;
    std::uint64_t offset = 0;
    std::uint64_t size = 0; /**< With its newline. */
    unsigned line = 0;
};

/** A file of results that is read. */
class ResultReader
{
public:
    using Take = std::function<void(const std::string &name, const StoredResult &result)>;

    /** @throws engine::InputError  As all that follows: it cannot be read. */
    explicit ResultReader(std::string path);

    /**
     * Tells of all lines in turn.
     * @return Size of the whole lines. What comes behind is the beginning of a line, which was
     *         being written when the writer ended.
     * @throws engine::InputError  With the places of lines that are none.
     */
    std::uint64_t read_all(const Take &take);
    /** The line of a result, with its newline. */
    std::string read(const StoredResult &result) const;
    const std::string &path() const { return m_path; }
    std::uint64_t size() const;

private:
    std::string m_path;
    Descriptor m_file;
};

/**
 * The results of a run while it goes on. A line is written whole, with one call, so that a process
 * that is killed leaves whole lines, and perhaps the beginning of one more. One process writes at a
 * time.
 */
class ResultFile
{
public:
    enum class Mode { kNew, kResume };
    using Stored = std::unordered_map<std::string, StoredResult>;

    /**
     * @param mode  kNew: there must be no such file. kResume: if there is one, its whole lines are
     *              kept, and what comes behind them is cut off.
     * @throws engine::InputError  As all that follows; the file is then as it was, but for that
     * cut.
     */
    ResultFile(const std::string &path, Mode mode);

    /** The results that were there already; of several with one name the last. */
    const Stored &stored() const { return m_stored; }
    /** Adds a line. What cannot be written whole is taken back. */
    StoredResult append(std::string_view line, Result result);
    const ResultReader &reader() const { return *m_reader; }
    /** Whether it holds these results in this order and nothing else. */
    bool holds_just(const std::vector<StoredResult> &results) const;

private:
    void lock();
    void load();
    [[noreturn]] void fail(int error) const;

    std::string m_path;
    Descriptor m_file;
    std::optional<ResultReader> m_reader;
    Stored m_stored;
    std::uint64_t m_size = 0;
};

} // namespace host
