/**
 * @file
 * What may stand at the end of a line.
 */
#pragma once

#include "shell/path_words.h"
#include "shell/session.h"
#include "shell/value_words.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace host::shell
{

struct Completion {
    std::size_t begin = 0; /**< Where the word that is being typed begins in the line. */
    std::vector<Candidate> candidates;
    std::size_t left_out = 0; /**< Candidates besides: there are too many. */
    std::string wanted;       /**< What else may stand there, such as "1..128"; may be empty. */
    std::string about;        /**< What the word is for; may be empty. */
};

/**
 * Looks at children of the node that the line leads to, and at what leafrefs refer to, never at the
 * whole configuration. A line that makes no sense has no candidates.
 * @param line  Up to the cursor.
 */
Completion complete(const Session &session, const PathSteps &base, std::string_view line);

/** What all candidates begin with. */
std::string common_start(const Completion &completion);

/** The candidates with their help, in lines of at most so many columns. Nothing in it steers a
 *  terminal. */
std::string help_text(const Completion &completion, std::size_t width);

} // namespace host::shell
