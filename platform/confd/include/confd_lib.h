/**
 * @file
 * Client library of the configuration framework: constants, values, schema and utilities.
 *
 * C linkage, usable from C and C++. The companion headers are confd_maapi.h (transactions)
 * and confd_cdb.h (committed configuration).
 *
 * Every function that ends in `const char *fmt, ...` takes a printf-style path:
 *
 *     /config/interface/gpon{1 1 3}/onu{5}/rg-profile
 *
 * Keys stand in braces, several are separated by one blank, a key with a blank inside is
 * quoted with `"`. A name may carry its module prefix (`/base:config`). One slash is accepted
 * at the end of the path and before a brace. Directives, usable anywhere in the text:
 *
 *     %d  int        %u  unsigned        %s  text
 *     %x  one `confd_value_t *`          %*x  int count and `confd_value_t *`
 *     %h  a whole `confd_hkeypath_t *`   %*h  int length and `confd_hkeypath_t *`: that many
 *                                             elements counted from the root
 *                                        (both forms of %h only at the start)
 *
 * A value printed by %x takes the form of the key leaf's own type (an enumeration by its name).
 */
#pragma once

#ifdef NDEBUG
#error "The type checks of the value macros are part of their behaviour: do not define NDEBUG."
#endif

#include <assert.h>
#include <netinet/in.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Results and errors -------------------------------------------------------------- */

#define CONFD_OK 0
#define CONFD_ERR (-1)
#define CONFD_EOF (-2)
#define CONFD_VALIDATION_WARN (-3)

#define CONFD_ERR_NOEXISTS 1
#define CONFD_ERR_ALREADY_EXISTS 2
#define CONFD_ERR_ACCESS_DENIED 3
#define CONFD_ERR_NOT_WRITABLE 4
#define CONFD_ERR_BADTYPE 5
#define CONFD_ERR_NOTCREATABLE 6
#define CONFD_ERR_NOTDELETABLE 7
#define CONFD_ERR_BADPATH 8
#define CONFD_ERR_NOSTACK 9
#define CONFD_ERR_LOCKED 10
#define CONFD_ERR_INUSE 11
#define CONFD_ERR_NOTSET 12
#define CONFD_ERR_NON_UNIQUE 13
#define CONFD_ERR_BAD_KEYREF 14
#define CONFD_ERR_TOO_FEW_ELEMS 15
#define CONFD_ERR_TOO_MANY_ELEMS 16
#define CONFD_ERR_BADSTATE 17
#define CONFD_ERR_INTERNAL 18
#define CONFD_ERR_EXTERNAL 19
#define CONFD_ERR_MALLOC 20
#define CONFD_ERR_PROTOUSAGE 21
#define CONFD_ERR_NOSESSION 22
#define CONFD_ERR_TOOMANYTRANS 23
#define CONFD_ERR_OS 24
#define CONFD_ERR_XPATH 25

/**
 * Code of the last failed call; to be read after a call returned CONFD_ERR. One for the process: as
 * all of this library it belongs to one thread.
 */
extern int confd_errno;

/**
 * Text of the last failed call: what failed, on which path or element.
 * @return Never null; owned by the library, valid until the next failing call.
 */
char *confd_lasterr(void);

#define MAXDEPTH 20
#define MAXKEYLEN 9

/* ---- Values -------------------------------------------------------------------------- */

enum confd_vtype {
    C_NOEXISTS = 1,
    C_XMLTAG = 2,
    C_SYMBOL = 3,
    C_STR = 4,
    C_BUF = 5,
    C_INT8 = 6,
    C_INT16 = 7,
    C_INT32 = 8,
    C_INT64 = 9,
    C_UINT8 = 10,
    C_UINT16 = 11,
    C_UINT32 = 12,
    C_UINT64 = 13,
    C_DOUBLE = 14,
    C_IPV4 = 15,
    C_IPV6 = 16,
    C_BOOL = 17,
    C_QNAME = 18,
    C_DATETIME = 19,
    C_DATE = 20,
    C_TIME = 23,
    C_DURATION = 27,
    C_ENUM_VALUE = 28,
    C_BIT32 = 29,
    C_BIT64 = 30,
    C_LIST = 31,
    C_XMLBEGIN = 32,
    C_XMLEND = 33,
    C_OBJECTREF = 34,
    C_UNION = 35,
    C_PTR = 36,
    C_CDBBEGIN = 37,
    C_OID = 38,
    C_BINARY = 39,
    C_IPV4PREFIX = 40,
    C_IPV6PREFIX = 41,
    C_DEFAULT = 42,
    C_DECIMAL64 = 43,
    C_IDENTITYREF = 44,
    C_XMLBEGINDEL = 45,
    C_DQUAD = 46,
    C_HEXSTR = 47,
    C_IPV4_AND_PLEN = 48,
    C_IPV6_AND_PLEN = 49,
    C_BITBIG = 50
};

/** Name of a node as a number, with its namespace. The numbers stand in base.h. */
struct xml_tag {
    uint32_t tag;
    uint32_t ns;
};

/** Bytes of a text. The text is NUL-terminated as well; `size` does not count the terminator. */
typedef struct confd_buf {
    unsigned int size;
    unsigned char *ptr;
} confd_buf_t;

struct confd_value;
struct confd_hkeypath;

struct confd_list {
    unsigned int size;
    struct confd_value *ptr;
};

/** An address in network byte order and its prefix length in bits, 0 to 32. */
struct confd_ipv4_prefix {
    struct in_addr ip;
    uint8_t len;
};

typedef struct confd_value {
    enum confd_vtype type;
    union {
        struct xml_tag xmltag;
        confd_buf_t buf;
        const char *s;
        int8_t i8;
        int16_t i16;
        int32_t i32;
        int64_t i64;
        uint8_t u8;
        uint16_t u16;
        uint32_t u32;
        uint64_t u64;
        double d;
        struct in_addr ip;
        struct in6_addr ip6;
        int boolean;
        int32_t enumvalue;
        struct confd_list list;
        struct confd_hkeypath *hkp;
        struct confd_ipv4_prefix ipv4prefix;
    } val;
} confd_value_t;

/**
 * Path of a node, in reverse order: `v[0]` is the last element. A list entry is an element of
 * its own that holds the key values, ended by a C_NOEXISTS; any other node is one C_XMLTAG.
 * `/servers/server{www}/ip` is v[0]=ip, v[1]=www, v[2]=server, v[3]=servers, len 4.
 */
typedef struct confd_hkeypath {
    int len;
    confd_value_t v[MAXDEPTH][MAXKEYLEN];
} confd_hkeypath_t;

/** A value with the name of its node. */
typedef struct confd_tag_value {
    struct xml_tag tag;
    confd_value_t v;
} confd_tag_value_t;

/*
 * Reading macros: they give the member and check the type. The check is an assertion whose text
 * names the argument as it is written, so the text of a failed one tells which value it was.
 */
#define CONFD_GET_XMLTAG(v) (assert((v)->type == C_XMLTAG), (v)->val.xmltag.tag)
#define CONFD_GET_XMLTAG_NS(v) (assert((v)->type == C_XMLTAG), (v)->val.xmltag.ns)
#define CONFD_GET_BUFPTR(v) (assert((v)->type == C_BUF), (v)->val.buf.ptr)
#define CONFD_GET_BUFSIZE(v) (assert((v)->type == C_BUF), (v)->val.buf.size)
#define CONFD_GET_INT8(v) (assert((v)->type == C_INT8), (v)->val.i8)
#define CONFD_GET_INT16(v) (assert((v)->type == C_INT16), (v)->val.i16)
#define CONFD_GET_INT32(v) (assert((v)->type == C_INT32), (v)->val.i32)
#define CONFD_GET_INT64(v) (assert((v)->type == C_INT64), (v)->val.i64)
#define CONFD_GET_UINT8(v) (assert((v)->type == C_UINT8), (v)->val.u8)
#define CONFD_GET_UINT16(v) (assert((v)->type == C_UINT16), (v)->val.u16)
#define CONFD_GET_UINT32(v) (assert((v)->type == C_UINT32), (v)->val.u32)
#define CONFD_GET_UINT64(v) (assert((v)->type == C_UINT64), (v)->val.u64)
#define CONFD_GET_IPV4(v) (assert((v)->type == C_IPV4), (v)->val.ip)
#define CONFD_GET_BOOL(v) (assert((v)->type == C_BOOL), (v)->val.boolean)
#define CONFD_GET_ENUM_VALUE(v) (assert((v)->type == C_ENUM_VALUE), (v)->val.enumvalue)
#define CONFD_GET_LIST(v) (assert((v)->type == C_LIST), (v)->val.list.ptr)
#define CONFD_GET_LISTSIZE(v) (assert((v)->type == C_LIST), (v)->val.list.size)
#define CONFD_GET_IPV4PREFIX(v) (assert((v)->type == C_IPV4PREFIX), (v)->val.ipv4prefix)
#define CONFD_GET_IPV4_AND_PLEN(v) (assert((v)->type == C_IPV4_AND_PLEN), (v)->val.ipv4prefix)

#define CONFD_GET_TAG_VALUE(tv) (&(tv)->v)
#define CONFD_GET_TAG_TAG(tv) ((tv)->tag.tag)

/* Writing macros. A text or list is not copied: the value borrows it. */
#define CONFD_SET_MEMBER_(v, vtype, member, x) ((v)->type = (vtype), (v)->val.member = (x))

#define CONFD_SET_NOEXISTS(v) ((v)->type = C_NOEXISTS)
#define CONFD_SET_XMLTAG(v, tag_, ns_)                                                             \
    ((v)->type = C_XMLTAG, (v)->val.xmltag.tag = (tag_), (v)->val.xmltag.ns = (ns_))
#define CONFD_SET_BUF(v, ptr_, size_)                                                              \
    ((v)->type = C_BUF, (v)->val.buf.ptr = (ptr_), (v)->val.buf.size = (size_))
#define CONFD_SET_INT8(v, x) CONFD_SET_MEMBER_(v, C_INT8, i8, x)
#define CONFD_SET_INT16(v, x) CONFD_SET_MEMBER_(v, C_INT16, i16, x)
#define CONFD_SET_INT32(v, x) CONFD_SET_MEMBER_(v, C_INT32, i32, x)
#define CONFD_SET_INT64(v, x) CONFD_SET_MEMBER_(v, C_INT64, i64, x)
#define CONFD_SET_UINT8(v, x) CONFD_SET_MEMBER_(v, C_UINT8, u8, x)
#define CONFD_SET_UINT16(v, x) CONFD_SET_MEMBER_(v, C_UINT16, u16, x)
#define CONFD_SET_UINT32(v, x) CONFD_SET_MEMBER_(v, C_UINT32, u32, x)
#define CONFD_SET_UINT64(v, x) CONFD_SET_MEMBER_(v, C_UINT64, u64, x)
#define CONFD_SET_IPV4(v, x) CONFD_SET_MEMBER_(v, C_IPV4, ip, x)
#define CONFD_SET_BOOL(v, x) CONFD_SET_MEMBER_(v, C_BOOL, boolean, x)
#define CONFD_SET_ENUM_VALUE(v, x) CONFD_SET_MEMBER_(v, C_ENUM_VALUE, enumvalue, x)
#define CONFD_SET_LIST(v, ptr_, size_)                                                             \
    ((v)->type = C_LIST, (v)->val.list.ptr = (ptr_), (v)->val.list.size = (size_))
#define CONFD_SET_IPV4PREFIX(v, x) CONFD_SET_MEMBER_(v, C_IPV4PREFIX, ipv4prefix, x)
#define CONFD_SET_IPV4_AND_PLEN(v, x) CONFD_SET_MEMBER_(v, C_IPV4_AND_PLEN, ipv4prefix, x)

#define CONFD_SET_TAG_(tv, tag_, ns_, vtype)                                                       \
    ((tv)->tag.tag = (tag_), (tv)->tag.ns = (ns_), (tv)->v.type = (vtype))
#define CONFD_SET_TAG_XMLBEGIN(tv, tag_, ns_) CONFD_SET_TAG_(tv, tag_, ns_, C_XMLBEGIN)
#define CONFD_SET_TAG_XMLEND(tv, tag_, ns_) CONFD_SET_TAG_(tv, tag_, ns_, C_XMLEND)
#define CONFD_SET_TAG_NOEXISTS(tv, tag_) CONFD_SET_TAG_(tv, tag_, 0, C_NOEXISTS)

/**
 * Prints a value without type information (an enumeration as `enum<N>`; C_NOEXISTS gives
 * nothing useful).
 * @param buf    Receives at most bufsiz - 1 characters and a NUL. May be null when bufsiz is 0.
 * @return The length wanted, as snprintf does; never negative.
 */
int confd_pp_value(char *buf, int bufsiz, const confd_value_t *v);

/**
 * Prints a keypath in brace notation, such as `/config/interface/gpon{1 1 3}/onu{5}`.
 * @return The length wanted, as snprintf does; never negative.
 */
int confd_pp_kpath(char *buf, int bufsiz, const confd_hkeypath_t *kp);

/**
 * Frees the memory that a value owns (a text, a list with its elements) and leaves it
 * C_NOEXISTS. A value that owns nothing, and a null pointer, are left as they are.
 */
void confd_free_value(confd_value_t *v);

/* ---- Schema -------------------------------------------------------------------------- */

/** Type of a leaf; opaque. */
struct confd_type;

struct confd_cs_node_info {
    uint32_t *keys;                /**< Tags of a list's keys, ended by 0; null for other nodes. */
    enum confd_vtype shallow_type; /**< Type of a leaf's values; C_XMLTAG for nodes without one. */
    struct confd_type *type;       /**< Null for nodes that hold no value. */
    int flags;                     /**< CS_NODE_ flags. */
};

#define CS_NODE_IS_LIST 0x1
#define CS_NODE_IS_LEAF_LIST 0x2
#define CS_NODE_IS_PRESENCE 0x4
#define CS_NODE_IS_USER_ORDERED 0x8

/** Node of the loaded schema. Choices and cases are not nodes: their nodes stand in their place. */
struct confd_cs_node {
    uint32_t tag;
    uint32_t ns;
    struct confd_cs_node_info info;
    struct confd_cs_node *parent;
    struct confd_cs_node *children;
    struct confd_cs_node *next;
};

/**
 * Text of a value by its node's type: an enumeration by its name.
 * @return The length wanted, as snprintf does; CONFD_ERR (CONFD_ERR_BADTYPE) when the value does
 *         not fit the type.
 */
int confd_val2str(struct confd_type *type, const confd_value_t *v, char *buf, int bufsiz);

/** Name of a tag; null if no node of the loaded schema has it. Owned by the library. */
char *confd_hash2str(uint32_t hash);

/**
 * Schema node of a path; keys may stand in the path or be left out, they are ignored.
 * @param start  Node from which a relative path goes; null for an absolute one.
 * @return Null (CONFD_ERR_BADPATH) if there is no such node. Owned by the library.
 */
struct confd_cs_node *confd_cs_node_cd(const struct confd_cs_node *start, const char *fmt, ...);

/**
 * Number of values in the value array of one entry (see maapi_get_objects).
 * @return CONFD_ERR for null.
 */
int confd_max_object_size(struct confd_cs_node *object);

/* ---- Transactions and encrypted values ----------------------------------------------- */

/** What confd_trans_seterr filled in: malloc'ed text, or null when none was set. */
struct confd_error {
    char *str;
};

/** A transaction as a validation callback sees it. */
struct confd_trans_ctx {
    int thandle;           /**< Handle for the maapi_ calls. */
    void *t_opaque;        /**< The host's own, per transaction. */
    void *vcb_opaque;      /**< Context word that the host registered with its callback. */
    char *validate_opaque; /**< Opaque string of the validation statement that is being served. */
    int validation_info;
    struct confd_error error;
};

/** Sets the text that the operator reads; a later call replaces an earlier one's. */
void confd_trans_seterr(struct confd_trans_ctx *tctx, const char *fmt, ...)
    __attribute__((format(printf, 2, 3)));

/**
 * Decrypts a stored value of type aes-cfb-128-encrypted-string (`$8$` and base64).
 * Needs the keys that maapi_install_crypto_keys brings first.
 * @param len     Length of the cipher text in bytes.
 * @param output  At least `len` bytes; receives the clear text, NUL-terminated.
 * @return 0, or CONFD_ERR.
 */
int confd_decrypt(const char *ciphertext, int len, char *output);

#ifdef __cplusplus
}
#endif
