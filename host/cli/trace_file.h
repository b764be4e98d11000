/**
 * @file
 * The file that the plug-in's traces go to.
 */
#pragma once

#include "cli/output_file.h"

#include <string>
#include <string_view>

namespace host
{

/**
 * Takes trace lines from this process and from those that it forks, and knows afterwards whether
 * one of them could not write.
 */
class TraceFile
{
public:
    /** @throws engine::InputError  Naming the file and the reason, as all that is thrown. */
    explicit TraceFile(const std::string &path);
    ~TraceFile();
    TraceFile(const TraceFile &) = delete;
    TraceFile &operator=(const TraceFile &) = delete;

    /** Never throws: the plug-in must not feel what becomes of its traces. */
    void write(std::string_view line) noexcept;
    /** Puts the file into its place. @throws engine::InputError  Not all lines are in it. */
    void commit();

private:
    OutputFile m_file;
    int *m_error; /**< The first error, in memory that forked processes share. */
};

} // namespace host
