/**
 * @file
 * Values of the client interface: made from data nodes, printed, read from text, freed.
 */
#pragma once

#include "engine/schema/schema.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace engine
{

/** Value of a leaf or of one leaf-list entry. A text is a copy that free_value frees. */
confd_value_t value_of(const lyd_node *term);

/** Tag value of a node that holds no value, or of an `empty` leaf. */
confd_value_t tag_value_of(const SchemaNode &node);

/** A C_BUF that owns a copy of the text. */
confd_value_t make_text_value(std::string_view text);

/** A copy that owns its own memory. */
confd_value_t copy_value(const confd_value_t &value);

/** See confd_free_value. */
void free_value(confd_value_t &value);

/** A C_NOEXISTS. */
inline confd_value_t no_value()
{
    confd_value_t value{};
    CONFD_SET_NOEXISTS(&value);
    return value;
}

/** Frees its value unless its ownership is taken over. */
class OwnedValue
{
public:
    explicit OwnedValue(confd_value_t value) : m_value(value) {}
    OwnedValue(OwnedValue &&other) noexcept : m_value(other.release()) {}
    ~OwnedValue()
    {
        if (m_value.type == C_BUF || m_value.type == C_LIST) { // Most values own nothing.
            free_value(m_value);
        }
    }
    OwnedValue(const OwnedValue &) = delete;
    OwnedValue &operator=(const OwnedValue &) = delete;
    OwnedValue &operator=(OwnedValue &&) = delete;

    const confd_value_t &get() const { return m_value; }
    confd_value_t release() { return std::exchange(m_value, no_value()); }

private:
    confd_value_t m_value;
};

/** A C_LIST of these values, which it owns. */
confd_value_t make_list_value(std::vector<OwnedValue> elements);

/** A C_LIST of all entries of a leaf-list, from its first. */
confd_value_t list_value_of(const lyd_node *first);

/** A malloc'ed copy for a client to free. */
char *duplicate_text(std::string_view text);

/**
 * Text without type information (an enumeration as `enum<N>`).
 * @param schema  Knows the names of tags; null: a tag is printed as its number.
 */
std::string print_value(const Schema *schema, const confd_value_t &value);

/** Text by the type (an enumeration by its name); nothing when the value does not fit the type. */
std::optional<std::string> text_by_type(const Schema *schema, const confd_type &type,
                                        const confd_value_t &value);

/** Orders list keys: numbers, enumerations and addresses by value, texts bytewise.
 *  @return Negative, 0 or positive. Works on the stored nodes, without a copy. */
int compare_terms(const lyd_node *a, const lyd_node *b);

} // namespace engine
