/**
 * @file
 * Where reports for programs point to, and how they tell one finding from another.
 */
#pragma once

#include "report/finding.h"

#include <map>
#include <string>
#include <string_view>

namespace host
{

/**
 * Where a finding is shown. Programs want a file and a line: where no place is known, it is the
 * first line of what was checked.
 * @return Without a file when there is none at all.
 */
FileLocation place_of(const Finding &finding, const Outcome &outcome);

/** A user's file name relative to the folder, if it leads into it; without `.` and `..` in it. */
std::string path_from(const std::string &folder, const std::string &file);

/** The whole path of a file that is named relative to the folder. */
std::string path_in(const std::string &folder, const std::string &file);

/** Whether a path leads out of the folder that it is relative to. */
bool leads_out(std::string_view path);

/** A text of several lines for a reader that shows only one. */
std::string on_one_line(const std::string &text);

/** A byte as `%` and two digits. */
std::string percent_encoded(char byte);

/** A path as the path of a URI. */
std::string uri_path(std::string_view path);

/**
 * Makes marks by which a finding is known again in the next run. They hold no line numbers: they
 * stay when the edit grows above.
 */
class Fingerprints
{
public:
    /** Of equal findings each has its own. @param file  In which it is shown. */
    std::string next(const Finding &finding, const std::string &file);

private:
    std::map<std::string, std::size_t> m_counts;
};

} // namespace host
