/** Chosen leaves below a node, in tagged form. */
#include "confd_maapi.h"

#include "api/guard.h"
#include "api/output.h"
#include "api/reads.h"
#include "api/session.h"
#include "engine/data/error.h"

#include <algorithm>
#include <vector>

using engine::Error;
using engine::SchemaNode;

namespace
{

/** A node and its data, which may be absent. */
struct Place {
    const SchemaNode *schema;
    const lyd_node *node;
    engine::PlaceId id;
};

/** Follows the array through the containers that it names. */
class TagReader
{
public:
    explicit TagReader(Place base) : m_places{base} {}

    /** What an element asks for; C_NOEXISTS when it asks for nothing or for what is not set. */
    engine::OwnedValue read(const confd_tag_value_t &element)
    {
        switch (element.v.type) {
        case C_XMLBEGIN:
            enter(child(element.tag));
            return engine::OwnedValue(element.v);
        case C_XMLEND:
            leave(element.tag);
            return engine::OwnedValue(element.v);
        case C_NOEXISTS:
            return engine::OwnedValue(read_node(child(element.tag), element.v));
        default:
            throw Error(CONFD_ERR_PROTOUSAGE, "an element below " + here() +
                                                  " is neither a begin, an end nor C_NOEXISTS");
        }
    }

    void finish() const
    {
        if (m_places.size() != 1) {
            throw Error(CONFD_ERR_PROTOUSAGE, here() + " has a begin but no end");
        }
    }

private:
    std::string here() const { return m_places.back().schema->path(); }

    Place child(const xml_tag &tag) const
    {
        const auto [above, above_node, above_id] = m_places.back();
        const SchemaNode *node = above->first_child();
        while (node != nullptr && (node->tag != tag.tag || (tag.ns != 0 && node->ns != tag.ns))) {
            node = node->next_sibling();
        }
        if (node == nullptr) {
            throw Error(CONFD_ERR_BADPATH,
                        "below " + here() + " nothing has the tag " + std::to_string(tag.tag));
        }
        return {node,
                above_node != nullptr ? engine::first_instance(nullptr, above_node, *node)
                                      : nullptr,
                engine::place_below(above_id, *node)};
    }

    void enter(Place place)
    {
        if (!place.schema->is_container()) {
            throw Error(CONFD_ERR_BADTYPE, place.schema->path() + " is not a container");
        }
        m_places.push_back(place);
    }

    void leave(const xml_tag &tag)
    {
        if (m_places.size() == 1 || m_places.back().schema->tag != tag.tag) {
            throw Error(CONFD_ERR_PROTOUSAGE, "an end with the tag " + std::to_string(tag.tag) +
                                                  " does not end " + here());
        }
        m_places.pop_back();
    }

    static void note(const Place &place)
    {
        auto &log = engine::ReadLog::instance();
        if (log.is_on()) {
            log.note(engine::ReadSide::kCandidate, *place.schema, place.id,
                     engine::ReadExtent::kNode);
        }
    }

    static confd_value_t read_node(Place place, const confd_value_t &unset)
    {
        const SchemaNode &schema = *place.schema;
        if (schema.is_list() || (schema.is_container() && !schema.is_presence())) {
            throw Error(CONFD_ERR_BADTYPE, schema.path() + " holds no value");
        }
        note(place);
        if (place.node == nullptr) {
            return unset;
        }
        if (schema.is_leaf_list()) {
            return engine::list_value_of(place.node);
        }
        return schema.is_leaf() ? engine::value_of(place.node) : engine::tag_value_of(schema);
    }

    std::vector<Place> m_places; /**< From the base to the innermost begin. */
};

Place find_base(const api::View &view, const engine::Path &path)
{
    const SchemaNode &schema = *path.schema();
    if (!schema.is_container() && !schema.is_list()) {
        throw Error(CONFD_ERR_BADTYPE, path.text() + " is not a container or list entry");
    }
    if (!api::exists(view, path, engine::ReadExtent::kAbove)) {
        api::fail_absent(view, path);
    }
    return {&schema, view.find_node(path), path.steps.back().place};
}

void get_values(const api::View &view, const engine::Path &path, confd_tag_value_t *values, int n)
{
    TagReader reader(find_base(view, path));
    // All is read before anything is written: after a failure the client frees nothing.
    std::vector<engine::OwnedValue> results;
    results.reserve(static_cast<std::size_t>(std::max(n, 0)));
    for (int i = 0; i < n; ++i) {
        results.push_back(reader.read(values[i]));
    }
    reader.finish();
    for (engine::OwnedValue &result : results) {
        (values++)->v = api::hand_out(std::move(result));
    }
}

} // namespace

extern "C" int maapi_get_values(int sock, int th, confd_tag_value_t *values, int n, const char *fmt,
                                ...)
{
    va_list args;
    va_start(args, fmt);
    const int result = api::guarded("maapi_get_values", CONFD_ERR, [&] {
        const auto view = api::candidate_of(sock, th);
        get_values(view, *view.path(fmt, args), values, n);
        return CONFD_OK;
    });
    va_end(args);
    return result;
}
