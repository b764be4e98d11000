/**
 * @file
 * What a check found, in one shape for every kind of report.
 */
#pragma once

#include "checker/outcome.h"

#include <string>
#include <vector>

namespace host
{

enum class Severity { kNote, kWarning, kError };

/** One thing that a report tells of. */
struct Finding {
    enum class Kind {
        kRejection,
        kWarning,
        kProblem,       /**< A fault of an input. */
        kDeath,         /**< The plug-in came to an end that it should not have come to. */
        kUncheckedLink, /**< A link that no bandwidth check looks at. */
        kSkipped        /**< Nodes of another model in an input. */

    };

    Kind kind = Kind::kProblem;
    Severity severity = Severity::kError;
    /** Opaque key of a rule, identifier of a fault, or the kind's own name; never empty. */
    std::string id;
    std::string path;      /**< Node in the card; may be empty. */
    std::string text;      /**< As the card says it; never empty. */
    std::string help;      /**< The way to resolve it; may be empty. */
    std::string about;     /**< What all of this id have in common; may be empty. */
    std::string culprit{}; /**< Of a problem: the attribute or missing node that it names. */
    Evidence evidence;
};

/** All that a report of this outcome tells of, in the order of telling. */
std::vector<Finding> findings_of(const Outcome &outcome);

/** What called for a remark, such as `because it changed: 1 → 2`; may be empty. */
std::string cause_of(const Finding &finding);

/** Whether the running configuration draws it as well. */
bool is_known(const Finding &finding);

/**
 * The way to resolve a remark, by the rule's texts: what varies in them stands in braces.
 * @return Empty when no text of the rule fits.
 */
std::string resolution_of(const std::string &rule, const std::string &text);

/** The rule's text that a remark is one of, with braces; the remark itself when none fits. */
std::string pattern_of(const std::string &rule, const std::string &text);

} // namespace host
