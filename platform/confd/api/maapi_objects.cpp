/** Whole list entries as arrays of values. */
#include "confd_maapi.h"

#include "api/cursor.h"
#include "api/guard.h"
#include "api/output.h"
#include "engine/data/error.h"
#include "engine/data/path.h"

#include <algorithm>

using engine::SchemaNode;

namespace
{

/**
 * The client's array while it is being filled. What was read so far is taken back if the reading
 * fails, since a client frees nothing after a failure.
 */
class ValueArray
{
public:
    ValueArray(confd_value_t *values, std::size_t size) : m_values(values), m_size(size)
    {
        std::fill_n(m_values, m_size, engine::no_value());
    }
    ~ValueArray()
    {
        if (!m_is_complete) {
            std::for_each(m_values, m_values + m_size, api::take_back);
        }
    }
    ValueArray(const ValueArray &) = delete;
    ValueArray &operator=(const ValueArray &) = delete;

    void set(std::size_t index, engine::OwnedValue value)
    {
        m_values[index] = api::hand_out(std::move(value));
    }
    void complete() { m_is_complete = true; }

private:
    confd_value_t *m_values;
    std::size_t m_size;
    bool m_is_complete = false;
};

/** Writes the value array of one entry, depth first in schema order. */
class EntryWriter
{
public:
    EntryWriter(ValueArray &array, std::size_t begin, int size)
        : m_array(array), m_begin(begin), m_size(size)
    {
    }

    /** @param node  Data of that schema node; null when it has none. */
    void write_children(const SchemaNode &schema, const lyd_node *node)
    {
        const SchemaNode *child = schema.first_child();
        for (; child != nullptr; child = child->next_sibling()) {
            write(*child,
                  node != nullptr ? engine::first_instance(nullptr, node, *child) : nullptr);
        }
    }

    /** Values of the entry, those that the array had no room for included. */
    int count() const { return m_count; }

private:
    void write(const SchemaNode &schema, const lyd_node *node)
    {
        const bool is_there = node != nullptr && !schema.is_list();
        if (schema.is_container() && (is_there || !schema.is_presence())) {
            add([&] { return engine::tag_value_of(schema); });
            write_children(schema, node);
        } else if (is_there && schema.is_leaf_list()) {
            add([&] { return engine::list_value_of(node); });
        } else if (is_there && schema.is_leaf()) {
            add([&] { return engine::value_of(node); });
        } else {
            add(engine::no_value);
        }
    }

    /** Values behind the array's end are counted but not made. */
    template <typename Make>
    void add(Make make)
    {
        if (m_count < m_size) {
            m_array.set(m_begin + static_cast<std::size_t>(m_count), engine::OwnedValue(make()));
        }
        ++m_count;
    }

    ValueArray &m_array;
    const std::size_t m_begin;
    const int m_size;
    int m_count = 0;
};

int get_objects(maapi_cursor &cursor, confd_value_t *values, int n, int &nobj)
{
    if (n < 1 || nobj < 1) {
        throw engine::Error(CONFD_ERR_PROTOUSAGE, "maapi_get_objects: no room for any entry");
    }
    auto &position = api::cursor_of(&cursor);
    position.note(engine::ReadExtent::kEntry);
    const auto size = static_cast<std::size_t>(n);
    ValueArray array(values, size * static_cast<std::size_t>(nobj));
    int delivered = 0;
    int highest = 0;
    for (; delivered < nobj; ++delivered) {
        const lyd_node *entry = position.advance();
        if (entry == nullptr) {
            break;
        }
        EntryWriter writer(array, size * static_cast<std::size_t>(delivered), n);
        writer.write_children(position.list(), entry);
        highest = std::max(highest, writer.count());
    }
    array.complete();
    nobj = delivered;
    position.show(cursor);
    return highest;
}

} // namespace

extern "C" int maapi_get_objects(struct maapi_cursor *mc, confd_value_t *values, int n, int *nobj)
{
    return api::guarded("maapi_get_objects", CONFD_ERR,
                        [&] { return get_objects(*mc, values, n, *nobj); });
}
