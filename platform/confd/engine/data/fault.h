/**
 * @file
 * What can be wrong with an input: a code for each kind of fault.
 */
#pragma once

namespace engine
{

enum class Fault {
    kUnreadable,        /**< A file that cannot be opened, read or written. */
    kTooLarge,          /**< More than the limit for an input. */
    kMalformed,         /**< Text that is no XML or JSON, or not one document. */
    kNoConfiguration,   /**< A document without a configuration, or an edit, in it. */
    kUnknownNode,       /**< A name that the model does not know there. */
    kForeignNode,       /**< A node of another model. */
    kInvalidValue,      /**< A value that the type does not take. */
    kUnknownAttribute,  /**< An attribute or metadata that means nothing to us. */
    kInvalidAttribute,  /**< An operation or a place that an edit cannot ask for. */
    kDuplicate,         /**< A node that may be there once is there again. */
    kExclusive,         /**< Nodes of two cases of a choice. */
    kDataExists,        /**< `create` of what exists. */
    kDataMissing,       /**< `delete` of, or a way through, what does not exist. */
    kIncomplete,        /**< A mandatory node, a key or the least number of entries is missing. */
    kTooMany,           /**< More entries than max-elements. */
    kDanglingReference, /**< A leafref to nothing. */
    kNotUnique,         /**< A violated `unique`. */
    kConstraint,        /**< A violated `must` or `when`. */
    kInvalidData,       /**< Anything else that the model does not allow. */
    kInvalidOption,     /**< A word of the command line that makes no sense. */
    kInvalidCard,       /**< A file of card capabilities that makes no sense. */
    kUnusablePlugin,    /**< A plug-in that cannot be loaded or does not start. */
    kInternal           /**< A failure of ours or of the system. */
};

/** What a fault is called outside of the program. */
struct FaultNames {
    const char *identifier; /**< In reports, such as `unknown-node`; it never changes. */
    const char *error_tag;  /**< Of NETCONF (RFC 6241, appendix A). */
    const char *sentence;   /**< What such an input is, for people. */
};

FaultNames names_of(Fault fault);

} // namespace engine
