/**
 * @file
 * The loaded data model: nodes, types, tags and validation points.
 */
#pragma once

#include "confd_lib.h"
#include "engine/schema/yang.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/** Type of a leaf's values: the C interface's opaque type. */
struct confd_type {
    confd_vtype vtype = C_NOEXISTS;  /**< Of the values; C_UNION for a union. */
    const lysc_type *yang = nullptr; /**< A leafref's target type. */
    std::vector<confd_type> members; /**< Of a union, in order. */
    bool encrypted = false;          /**< aes-cfb-128-encrypted-string. */
    std::uint32_t max_bytes = 0;     /**< Of a text whose length counts in bytes; else 0. */
};

namespace engine
{

/** A module or submodule. */
struct YangText {
    std::string name;
    std::string yang;
};

struct SchemaNode;

/** A subtree whose change causes a validation point to be asked. */
struct Dependency {
    const SchemaNode *target = nullptr;
    /** Deepest node above (or equal to) both the point's node and the target, whose instances they
     *  share; null for an absolute path: it reaches all instances. */
    const SchemaNode *common = nullptr;
};

/** One `tailf:validate` statement. */
struct ValidationPoint {
    std::string name;   /**< Validation point, under which a callback is registered. */
    std::string opaque; /**< Opaque string. */
    const SchemaNode *node = nullptr;
    std::vector<Dependency> dependencies; /**< Empty: asked at every commit. A leaf's own is in. */
    bool once = false;
    int priority = 0;
    std::string description; /**< Of the node that it sits on. */
};

/**
 * Node whose instances a point and its dependency share: a change reaches the point's instances
 * below the changed node's. Null when it reaches all.
 */
const SchemaNode *shared_by(const ValidationPoint &point, const Dependency &dependency);

/**
 * What leafrefs refer to: the leaves of one schema node, below one instance of a node that the
 * leafref and they share.
 */
struct ReferenceTarget {
    const SchemaNode *target = nullptr;
    const SchemaNode *shared = nullptr; /**< Null: all leaves of the configuration. */
};

/** The type of leafrefs that the engine checks itself, with libyang's functions and ours. */
struct LeafrefType {
    lysc_type *type = nullptr;
    lyplg_type *libyang = nullptr;
    std::unique_ptr<lyplg_type> unchecked; /**< The same, but that it refers to nothing. */
};

struct FreeEntry {
    void operator()(lyd_node *entry) const { lyd_free_tree(entry); }
};
/** A list entry that stands in no configuration. */
using LooseEntry = std::unique_ptr<lyd_node, FreeEntry>;

/** A node of the schema; choices and cases are not nodes. Also reachable from libyang's node. */
struct SchemaNode : confd_cs_node {
    const lysc_node *yang = nullptr;
    std::string name;
    confd_type type_storage;                /**< info.type points here when the node has values. */
    std::vector<std::uint32_t> key_storage; /**< info.keys points here on a list. */
    std::vector<const SchemaNode *> key_nodes;
    int object_size = 0;      /**< Values in the value array of an entry. */
    std::uint32_t number = 0; /**< Its place among the schema's nodes. */
    /**
     * On a list: what entries are looked up with. libyang finds an entry by the hash of a ready
     * one; making that anew takes several times longer than changing the keys of the last one. Null
     * until the first lookup.
     */
    mutable LooseEntry probe;
    /** Instance as YANG supplies it where none is set, to make others from; null until the first.
     */
    mutable LooseEntry pattern;
    /** Children that YANG supplies, and choices between such. */
    std::vector<const lysc_node *> supplied;
    /** On a leafref that the engine checks itself; else null. */
    const ReferenceTarget *refers_to = nullptr;
    /** On a leaf that such leafrefs refer to. */
    std::vector<const ReferenceTarget *> referred_to_as;
    /** Whether the node, or one below it, is one of these. */
    bool leads_to_reference = false;
    /** Children that must be there, or be so many, and choices. */
    std::vector<const lysc_node *> constraints;
    bool has_musts = false;
    /** Whether a `must` of a node that is not above looks at it, above or below it. */
    bool is_read_afar = false;

    const SchemaNode *up() const { return static_cast<const SchemaNode *>(parent); }
    const SchemaNode *first_child() const { return static_cast<const SchemaNode *>(children); }
    const SchemaNode *next_sibling() const { return static_cast<const SchemaNode *>(next); }
    /** Child of that name; null if there is none. */
    const SchemaNode *child(std::string_view child_name) const;

    bool is_list() const { return yang->nodetype == LYS_LIST; }
    bool is_leaf() const { return yang->nodetype == LYS_LEAF; }
    bool is_leaf_list() const { return yang->nodetype == LYS_LEAFLIST; }
    bool is_container() const { return yang->nodetype == LYS_CONTAINER; }
    bool is_presence() const;
    bool is_empty_leaf() const { return is_leaf() && type_storage.vtype == C_XMLTAG; }
    bool is_user_ordered() const;
    bool is_key() const;

    /** Path without keys, such as /config/interface/gpon/onu. */
    std::string path() const;
};

/**
 * Whether what a leaf or leaf-list holds must not be shown: texts that are stored encrypted, and
 * those whose name says that they are a password, such as that of an ONU, which a model keeps as it
 * is.
 */
bool is_secret(const SchemaNode &node);

/** What stands in place of a secret value. */
inline constexpr const char *kMaskedValue = "***";

/** What a model demands, as far as it does not stand at its nodes. */
struct ModelRules {
    /**
     * Whether the engine's own check covers all statements of the model. It does not know `when`
     * and `unique`, leafrefs with predicates or in unions, instance identifiers, state data and
     * extensions with rules of their own: then libyang checks.
     */
    bool are_covered = false;
    std::vector<const lysc_node *> top_constraints; /**< As SchemaNode::constraints, at the top. */
};

class Schema
{
public:
    ~Schema();
    Schema(const Schema &) = delete;
    Schema &operator=(const Schema &) = delete;

    ly_ctx *context() const { return m_context; }
    const lys_module *module() const { return m_module; }
    std::uint32_t ns() const { return m_ns; }
    /** Of this schema, and of no other in this process. */
    std::uint64_t number() const { return m_number; }

    /** Top-level node of that name; null if there is none. */
    const SchemaNode *top(std::string_view name) const;
    const std::vector<const SchemaNode *> &tops() const { return m_tops; }
    /** The engine's node of libyang's. Null for nodes of other modules. */
    static const SchemaNode *of(const lysc_node *node)
    {
        return static_cast<const SchemaNode *>(node->priv);
    }
    static const SchemaNode *of(const lyd_node *node)
    {
        return node->schema ? of(node->schema) : nullptr;
    }

    /** The node of a number. @throws std::out_of_range */
    const SchemaNode &node(std::size_t number) const { return *m_nodes.at(number); }
    std::size_t node_count() const { return m_nodes.size(); }
    /** Name of a tag; null if no node has it. */
    const char *name_of(std::uint32_t tag) const;
    /** In the order in which they are asked: by priority, then as in the model. */
    const std::vector<ValidationPoint> &points() const { return m_points; }
    /** Whether nodes come and go with an expression, and with them defaults: `when` statements. */
    bool has_when() const { return m_has_when; }
    /** Whether the model has leaf-lists that YANG may fill in. */
    bool has_leaf_list_defaults() const { return m_has_leaf_list_defaults; }
    const ModelRules &rules() const { return m_rules; }

private:
    friend class YangReferences;
    friend class SchemaLoader;
    Schema();

    ly_ctx *m_context = nullptr;
    const lys_module *m_module = nullptr;
    std::string m_module_name;
    std::uint32_t m_ns = 0;
    std::uint64_t m_number = 0;
    std::vector<std::unique_ptr<SchemaNode>> m_nodes;
    std::vector<const SchemaNode *> m_tops;
    std::unordered_map<std::uint32_t, std::string> m_names;
    std::vector<ValidationPoint> m_points;
    std::vector<std::unique_ptr<ReferenceTarget>> m_targets;
    std::vector<LeafrefType> m_leafref_types;
    bool m_has_when = false;
    bool m_has_leaf_list_defaults = false;
    ModelRules m_rules;
    std::vector<YangText> m_texts; /**< libyang asks for imports by name. */
};

} // namespace engine
