/**
 * @file
 * Client library of the configuration framework: reads inside a transaction (MAAPI).
 *
 * `sock` is a MAAPI socket, `th` the handle of a transaction. Path syntax: see confd_lib.h.
 * Calls that return int give CONFD_OK on success where nothing else is said, and CONFD_ERR with
 * confd_errno and confd_lasterr() set on failure. IPv4 addresses come in network byte order.
 * A leaf that is not set reads as its default; without one the read fails with
 * CONFD_ERR_NOEXISTS.
 */
#pragma once

#include "confd_lib.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Single nodes -------------------------------------------------------------------- */

/** @return 1 if the node exists (a leaf with a default always does), 0 if not, or CONFD_ERR. */
int maapi_exists(int sock, int th, const char *fmt, ...);

/** @return The number of entries of a list, or CONFD_ERR. */
int maapi_num_instances(int sock, int th, const char *fmt, ...);

/** Reads a leaf of any type. The caller frees what the value owns with confd_free_value. */
int maapi_get_elem(int sock, int th, confd_value_t *v, const char *fmt, ...);

/**
 * Reads a text leaf into a buffer of n bytes, NUL-terminated.
 * Too small a buffer fails with CONFD_ERR_PROTOUSAGE.
 */
int maapi_get_str_elem(int sock, int th, char *buf, int n, const char *fmt, ...);

int maapi_get_u_int32_elem(int sock, int th, uint32_t *rval, const char *fmt, ...);
int maapi_get_bool_elem(int sock, int th, int *rval, const char *fmt, ...);
int maapi_get_ipv4_elem(int sock, int th, struct in_addr *rval, const char *fmt, ...);
int maapi_get_ipv4_and_plen_elem(int sock, int th, struct confd_ipv4_prefix *rval, const char *fmt,
                                 ...);
int maapi_get_enum_value_elem(int sock, int th, int32_t *rval, const char *fmt, ...);

/**
 * Reads a leaf-list.
 * @param values  Receives a malloc'ed array. The caller frees each element with
 *                confd_free_value and the array with free.
 * @param n       Receives the number of elements.
 */
int maapi_get_list_elem(int sock, int th, confd_value_t **values, int *n, const char *fmt, ...);

/* ---- Lists --------------------------------------------------------------------------- */

/** Position in a list: before an entry that is still to come, or at an entry. */
struct maapi_cursor {
    int n;                         /**< Keys of the present entry; 0 when there is none. */
    confd_value_t keys[MAXKEYLEN]; /**< Owned by the cursor until the next call on it. */
    int sock;
    int th;
    void *internal; /**< The library's own. */
};

/**
 * Starts a walk over a list. System-ordered lists come in key order (numbers by value),
 * user-ordered lists in their order. `n` is not 0 afterwards, so that maapi_get_objects may
 * follow at once; the keys are valid only after maapi_get_next. After a failure `n` is 0 and
 * destroying the cursor is harmless. A cursor that is never destroyed is released with its
 * transaction.
 */
int maapi_init_cursor(int sock, int th, struct maapi_cursor *mc, const char *fmt, ...);

/** Goes on to the next entry; `n` becomes 0 after the last one, and after a failure. */
int maapi_get_next(struct maapi_cursor *mc);

/** Releases a cursor. Harmless on one that was destroyed already. */
void maapi_destroy_cursor(struct maapi_cursor *mc);

/**
 * Reads up to `*nobj` entries after the cursor's, n values each: entry i from values[i * n].
 *
 * Value array of an entry, depth first in schema order: a leaf its value, C_NOEXISTS when
 * unset; an `empty` leaf C_XMLTAG; a leaf-list one C_LIST; a sub-list one C_NOEXISTS; a
 * container without presence always C_XMLTAG and then its children; an absent presence
 * container one C_NOEXISTS without children. Choices and cases add nothing, the nodes of every
 * case are in. The caller frees what the values own.
 *
 * @param nobj  In: entries wanted. Out: entries delivered; when fewer than wanted, the cursor's
 *              `n` becomes 0.
 * @return The highest number of values of an entry, or CONFD_ERR.
 */
int maapi_get_objects(struct maapi_cursor *mc, confd_value_t *values, int n, int *nobj);

/**
 * Reads chosen leaves below a node. The array names them in tagged form: C_XMLBEGIN and
 * C_XMLEND around a container's nodes, C_NOEXISTS for a leaf to read, ns 0 for the namespace of
 * the node above. Positions stay; an unset leaf stays C_NOEXISTS. The caller frees what the
 * values own.
 */
int maapi_get_values(int sock, int th, confd_tag_value_t *values, int n, const char *fmt, ...);

/* ---- XPath --------------------------------------------------------------------------- */

enum confd_query_result_type {
    CONFD_QUERY_STRING = 0,
    CONFD_QUERY_HKEYPATH = 1,
    CONFD_QUERY_HKEYPATH_VALUE = 2,
    CONFD_QUERY_TAG_VALUE = 3
};

/** One chunk of a query's results. */
struct confd_query_result {
    enum confd_query_result_type type;
    int offset;    /**< Number of the chunk's first result, counted from 1. */
    int nresults;  /**< Results in this chunk; 0 at the end. */
    int nelements; /**< Selected values per result. */
    union {
        char **str;
        confd_hkeypath_t *hkp;
        struct {
            confd_hkeypath_t hkp;
            confd_value_t val;
        } * kv;
        confd_tag_value_t *tv;
    } * results;
    void *__internal;
};

/**
 * Starts a query.
 * @param expr            XPath of the nodes; unprefixed names are the model's.
 * @param context_node    Path of the context node, or null for the root.
 * @param chunk_size      Results per maapi_query_result; 0 is the library's default.
 * @param initial_offset  First result wanted; 1 is the first one.
 * @param select          nselect expressions, relative to each node. One that matches nothing
 *                        gives C_NOEXISTS as a tag-value.
 * @param sort            nsort expressions to order the results by; without any they come in
 *                        key order.
 * @return A query handle, or negative.
 */
int maapi_query_start(int sock, int th, const char *expr, const char *context_node, int chunk_size,
                      int initial_offset, enum confd_query_result_type result_as, int nselect,
                      const char *select[], int nsort, const char *sort[]);

/** Fetches the next chunk; on failure `*qrs` is null. */
int maapi_query_result(int sock, int qh, struct confd_query_result **qrs);

/** Frees a chunk with all it owns. Null is harmless. */
int maapi_query_free_result(struct confd_query_result *qrs);

int maapi_query_stop(int sock, int qh);

/**
 * Evaluates an expression: a node set (its first node's value), a count, a string or a boolean.
 * Anything beyond fails with CONFD_ERR_XPATH.
 * @param res      Receives the result as malloc'ed text; null on failure.
 * @param trace    May be null.
 * @param fmtpath  Path of the context node, or null for the root.
 */
int maapi_xpath_eval_expr(int sock, int th, const char *expr, char **res, void (*trace)(char *),
                          const char *fmtpath, ...);

/* ---- Changes ------------------------------------------------------------------------- */

enum confd_iter_op {
    MOP_CREATED = 1,
    MOP_DELETED = 2,
    MOP_MODIFIED = 3,
    MOP_VALUE_SET = 4,
    MOP_MOVED_AFTER = 5,
    MOP_ATTR_SET = 6
};
#define maapi_iter_op confd_iter_op

enum maapi_iter_ret { ITER_STOP = 1, ITER_RECURSE = 2, ITER_CONTINUE = 3 };

typedef enum maapi_iter_ret maapi_diff_iter_t(confd_hkeypath_t *kp, enum confd_iter_op op,
                                              confd_value_t *oldv, confd_value_t *newv,
                                              void *state);

/**
 * Walks the transaction's changes at and below a path.
 *
 * List entries, presence containers and leaves of type empty are reported created or deleted;
 * a list entry with a change below it, modified; a leaf with a new value, MOP_VALUE_SET with
 * `newv`; a leaf that lost its value and has no default, deleted; a user-ordered entry that
 * moved, MOP_MOVED_AFTER. `oldv` is always null. Plain containers and list nodes themselves are
 * never reported. The keypath and values live for the time of the callback only.
 *
 * @param iter  ITER_RECURSE goes into the children, ITER_CONTINUE past them, ITER_STOP ends the
 *              walk with CONFD_OK.
 * @param flags 0.
 */
int maapi_keypath_diff_iterate(int sock, int th, maapi_diff_iter_t *iter, int flags,
                               void *initstate, const char *fmtpath, ...);

/* ---- Encrypted values ---------------------------------------------------------------- */

/** Fetches the keys that confd_decrypt needs, once per process. */
int maapi_install_crypto_keys(int sock);

#ifdef __cplusplus
}
#endif
