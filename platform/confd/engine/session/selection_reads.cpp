#include "engine/session/selection_reads.h"

#include "engine/data/xpath.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace engine
{
namespace
{

constexpr ReadSide kSide = ReadSide::kCandidate;

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

bool is_in_name(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-' || c == '.' ||
           is_digit(c);
}

/** A constant in an expression. */
struct Constant {
    std::string_view text;
    bool is_number = false;
};

/** A leaf that a predicate compares with a constant. */
struct Comparison {
    std::vector<const SchemaNode *> steps; /**< From the list's entry. */
    Constant constant;
};

/** A number without anything that could be left out of it. */
bool is_plain_number(std::string_view text)
{
    constexpr std::size_t kMaxDigits = 9; // Exact in any number type.
    return !text.empty() && text.size() <= kMaxDigits &&
           std::all_of(text.begin(), text.end(), is_digit) &&
           (text.front() != '0' || text.size() == 1);
}

/** Whether each value of the type has one text only: libyang compares canonical texts. */
bool is_plain_text(const lysc_type &type)
{
    constexpr std::string_view kStringPlugin = "libyang 2 - string";
    return std::string_view(type.plugin->id).substr(0, kStringPlugin.size()) == kStringPlugin;
}

/** Whether a key that equals the constant has the constant's text, and no other. */
bool is_key_text(const SchemaNode &key, const Constant &constant)
{
    switch (key.type_storage.vtype) {
    case C_BUF:
        return !constant.is_number && is_plain_text(*key.type_storage.yang);
    case C_INT8:
    case C_INT16:
    case C_INT32:
    case C_UINT8:
    case C_UINT16:
    case C_UINT32:
        return is_plain_number(constant.text);
    default:
        return false;
    }
}

/** Reads a plain path. Every member that reads returns false at the first thing that is not. */
class PlainPath
{
public:
    PlainPath(const Schema &schema, std::string_view expression)
        : m_schema(schema), m_left(expression)
    {
    }

    bool read(const SelectionPlace *context, SelectionPlace &place)
    {
        skip_blanks();
        const bool is_absolute = accept('/');
        if (!is_absolute && context == nullptr) {
            return false;
        }
        place = is_absolute ? SelectionPlace() : *context;
        do {
            if (place.node != nullptr && place.node->is_list()) {
                note(*place.node, place.place, ReadExtent::kAbove);
            }
            if (!read_step(place)) {
                return false;
            }
        } while (accept('/'));
        skip_blanks();
        return m_left.empty() && note_end(place);
    }

private:
    bool read_step(SelectionPlace &place)
    {
        const SchemaNode *node = read_node(place.node);
        if (node == nullptr) {
            return false;
        }
        m_above = place;
        m_has_predicate = false;
        place.node = node;
        place.place = place_below(place.place, *node);
        return node->is_leaf() || node->is_leaf_list() || read_predicates(place);
    }

    /** A name below a node; null when there is none. */
    const SchemaNode *read_node(const SchemaNode *above)
    {
        skip_blanks();
        const auto end = std::find_if_not(m_left.begin(), m_left.end(), is_in_name);
        const std::string_view name = take(static_cast<std::size_t>(end - m_left.begin()));
        skip_blanks();
        return above != nullptr ? above->child(name) : m_schema.top(name);
    }

    /** The predicates behind a list or container. */
    bool read_predicates(SelectionPlace &place)
    {
        std::vector<Comparison> comparisons;
        while (accept('[')) {
            do {
                if (!read_comparison(*place.node, comparisons.emplace_back())) {
                    return false;
                }
            } while (accept_and());
            if (!accept(']')) {
                return false;
            }
            skip_blanks();
        }
        if (place.node->is_list()) {
            place.is_exact = place.is_exact && go_to_entry(place, comparisons);
        }
        m_has_predicate = !comparisons.empty();
        std::for_each(comparisons.begin(), comparisons.end(),
                      [&](const Comparison &each) { note_leaf(place, each); });
        return true;
    }

    bool read_comparison(const SchemaNode &list, Comparison &comparison)
    {
        const SchemaNode *node = &list;
        do {
            node = read_node(node);
            if (node == nullptr || node->is_list()) {
                return false;
            }
            comparison.steps.push_back(node);
        } while (accept('/'));
        const bool has_value = node->is_leaf() || node->is_leaf_list();
        return has_value && accept('=') && read_constant(comparison.constant);
    }

    bool read_constant(Constant &constant)
    {
        skip_blanks();
        const char quote = m_left.empty() ? '\0' : m_left.front();
        if (quote == '\'' || quote == '"') {
            m_left.remove_prefix(1);
            const auto end = m_left.find(quote);
            if (end == std::string_view::npos) {
                return false;
            }
            constant.text = take(end);
            m_left.remove_prefix(1);
        } else {
            const auto end = std::find_if_not(m_left.begin(), m_left.end(), is_digit);
            constant.text = take(static_cast<std::size_t>(end - m_left.begin()));
            constant.is_number = true;
        }
        skip_blanks();
        return !constant.is_number || !constant.text.empty();
    }

    bool accept_and()
    {
        constexpr std::string_view kAnd = "and";
        const bool is_it = m_left.substr(0, kAnd.size()) == kAnd && m_left.size() > kAnd.size() &&
                           is_blank(m_left[kAnd.size()]);
        m_left.remove_prefix(is_it ? kAnd.size() : 0);
        return is_it;
    }

    /** @return False, and the place as it was: some key may have any value. */
    static bool go_to_entry(SelectionPlace &place, const std::vector<Comparison> &comparisons)
    {
        PlaceId entry = place.place;
        for (const SchemaNode *key : place.node->key_nodes) {
            const auto found =
                std::find_if(comparisons.begin(), comparisons.end(), [key](const Comparison &each) {
                    return each.steps.size() == 1 && each.steps.front() == key &&
                           is_key_text(*key, each.constant);
                });
            if (found == comparisons.end()) {
                return false;
            }
            entry = place_of_key(entry, found->constant.text);
        }
        place.place = entry;
        return true;
    }

    /** A key is decided by which entries there are. */
    static void note_leaf(const SelectionPlace &entry, const Comparison &comparison)
    {
        if (comparison.steps.back()->is_key()) {
            return;
        }
        PlaceId place = entry.place;
        for (const SchemaNode *step : comparison.steps) {
            place = place_below(place, *step);
        }
        note(*comparison.steps.back(), place, ReadExtent::kNode);
    }

    /** The nodes that are selected; whether a plain container is there, much may decide. */
    bool note_end(const SelectionPlace &place) const
    {
        if (!place.node->is_container() || place.node->is_presence()) {
            note(*place.node, place.place, ReadExtent::kNode);
            return true;
        }
        if (m_has_predicate) {
            return true; // Where the leaves are there that it compares, the container is.
        }
        if (m_above.node == nullptr) {
            return false;
        }
        note(*m_above.node, m_above.place, ReadExtent::kSubtree);
        return true;
    }

    static void note(const SchemaNode &node, PlaceId place, ReadExtent extent)
    {
        ReadLog::instance().note(kSide, node, place, extent);
    }

    void skip_blanks()
    {
        while (!m_left.empty() && is_blank(m_left.front())) {
            m_left.remove_prefix(1);
        }
    }
    bool accept(char c)
    {
        const bool is_it = !m_left.empty() && m_left.front() == c;
        m_left.remove_prefix(is_it ? 1 : 0);
        return is_it;
    }
    std::string_view take(std::size_t length)
    {
        const std::string_view taken = m_left.substr(0, length);
        m_left.remove_prefix(length);
        return taken;
    }

    const Schema &m_schema;
    std::string_view m_left;
    SelectionPlace m_above;       /**< Of the last step. */
    bool m_has_predicate = false; /**< The last step. */
};

} // namespace

std::optional<SelectionPlace> note_selection(const Schema &schema, const SelectionPlace *context,
                                             const std::string &expression)
{
    SelectionPlace place;
    if (PlainPath(schema, expression).read(context, place)) {
        return place;
    }
    ReadLog::instance().note_everything(kSide);
    return std::nullopt;
}

void note_evaluation(const Schema &schema, const SelectionPlace *context,
                     const std::string &expression)
{
    for (const char *function : {"count", "string"}) {
        if (const auto argument = argument_of(function, expression)) {
            note_evaluation(schema, context, *argument);
            return;
        }
    }
    note_selection(schema, context, expression);
}

} // namespace engine
