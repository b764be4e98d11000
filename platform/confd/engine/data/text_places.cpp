#include "engine/data/text_places.h"

#include "engine/data/path.h"
#include "engine/data/path_reader.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace engine
{

/** What a node of the text is recognised by. */
struct TextPlaces::Step {
    const SchemaNode *schema = nullptr;
    std::string_view name;
    std::vector<std::string> keys; /**< Of an entry, canonical; empty: any. */
    /** Of a node that libyang could not make one of the model's: as they are written. */
    std::optional<std::string> value;
    std::vector<std::pair<std::string, std::string>> below;
    std::size_t number = 0; /**< How many such nodes stand before it. */
};

/** How far a search has come. */
struct TextPlaces::Search {
    std::size_t wanted = 0; /**< Whole matches to pass over. */
    std::size_t depth = 0;  /**< Of the best match. */
    std::uint32_t best = TextNode::kNone;
};

namespace
{

/** Whether a value may be written in another way than the canonical one, as far as one sees. */
bool may_be_written_otherwise(const SchemaNode &schema, std::string_view written)
{
    const confd_type &type = schema.type_storage;
    switch (type.yang != nullptr ? type.yang->basetype : LY_TYPE_UNKNOWN) {
    case LY_TYPE_STRING:
        return type.vtype != C_BUF;
    case LY_TYPE_ENUM:
    case LY_TYPE_BOOL:
    case LY_TYPE_UNKNOWN:
        return false;
    default:
        return written.size() != 1 &&
               (written.empty() || written.front() == '0' ||
                written.find_first_not_of("0123456789") != std::string_view::npos);
    }
}

std::optional<std::string> canonical_of(const SchemaNode &schema, std::string_view written)
{
    ly_ctx *context = schema.yang->module->ctx;
    const char *canonical = nullptr;
    const auto result = lyd_value_validate(context, schema.yang, written.data(), written.size(),
                                           nullptr, nullptr, &canonical);
    if (result != LY_SUCCESS && result != LY_EINCOMPLETE) {
        ly_err_clean(context, nullptr);
        return std::nullopt;
    }
    std::string text = canonical;
    lydict_remove(context, canonical);
    return text;
}

const lyd_node_opaq &as_opaque(const lyd_node *node)
{
    return *reinterpret_cast<const lyd_node_opaq *>(node);
}

std::string written_value(const lyd_node *node)
{
    const char *value = node->schema != nullptr ? lyd_get_value(node) : as_opaque(node).value;
    return value != nullptr ? value : "";
}

/** Of what stands below a node that libyang could not make one of the model's. */
std::vector<std::pair<std::string, std::string>> written_below(const lyd_node *node)
{
    std::vector<std::pair<std::string, std::string>> below;
    for (const auto *one = lyd_child(node); one != nullptr; one = one->next) {
        below.emplace_back(LYD_NAME(one), written_value(one));
    }
    return below;
}

} // namespace

const TextNodes &TextPlaces::text() const
{
    if (!m_text) {
        m_text = read_text_nodes(m_schema, m_source);
        m_hints.assign(m_text->nodes.size() + 1, TextNode::kNone);
        const auto text = without_mark(m_source.text);
        m_lines = {0};
        m_lines.reserve(m_hints.size()); // Few texts have more than a node in each.
        for (auto end = text.find('\n'); end != std::string_view::npos;
             end = text.find('\n', end + 1)) {
            m_lines.push_back(end + 1);
        }
    }
    return *m_text;
}

TextPlace TextPlaces::place(std::size_t offset) const
{
    const auto line = std::upper_bound(m_lines.begin(), m_lines.end(), offset) - 1;
    const auto text = without_mark(m_source.text);
    return {static_cast<unsigned>(line - m_lines.begin()) + 1,
            place_of(text.substr(*line), offset - *line).column};
}

TextPlace TextPlaces::of_root() const
{
    const auto &nodes = text().nodes;
    const auto root = std::find_if(nodes.begin(), nodes.end(),
                                   [](const TextNode &node) { return node.schema != nullptr; });
    return root != nodes.end() ? place(*root) : nodes.empty() ? kNowhere : place(nodes.front());
}

TextPlace TextPlaces::of(const lyd_node *node) const
{
    return find(steps_to(node, false), 0);
}

TextPlace TextPlaces::of_duplicate(const lyd_node *node) const
{
    return find(steps_to(node, false), 1);
}

TextPlace TextPlaces::of(const std::string &path) const
{
    std::vector<Step> steps;
    try {
        for (const auto &step : read_path(m_schema, path)->steps) {
            steps.push_back({step.node, step.node->name, step.keys, {}, {}, 0});
        }
    } catch (const Error &) {
        return kNowhere;
    }
    return find(steps, 0);
}

TextPlace TextPlaces::of_written(const lyd_node *node) const
{
    return find(steps_to(node, true), 0);
}

namespace
{

/** Whether two siblings are the same to one who looks for them by name, keys and value. */
bool look_the_same(const lyd_node *a, const lyd_node *b)
{
    if (a->schema != b->schema || std::strcmp(LYD_NAME(a), LYD_NAME(b)) != 0) {
        return false;
    }
    return a->schema != nullptr
               ? key_texts(a) == key_texts(b)
               : written_value(a) == written_value(b) && written_below(a) == written_below(b);
}

std::size_t count_before(const lyd_node *node)
{
    lyd_node *first = nullptr;
    const bool is_entry =
        node->schema != nullptr && (node->schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
    if (is_entry && lyd_find_sibling_first(node, node, &first) == LY_SUCCESS && first == node) {
        return 0;
    }
    std::size_t count = 0;
    for (const auto *one = lyd_first_sibling(node); one != node; one = one->next) {
        count += look_the_same(one, node) ? 1U : 0U;
    }
    return count;
}

} // namespace

/** What stands around the data is not above it here. */
bool TextPlaces::is_envelope(const lyd_node *node) const
{
    if (node->schema != nullptr ||
        (lyd_parent(node) != nullptr && !is_envelope(lyd_parent(node)))) {
        return false;
    }
    const auto &opaque = as_opaque(node);
    const bool is_xml = opaque.format == LY_VALUE_XML;
    const char *space = is_xml ? opaque.name.module_ns : opaque.name.module_name;
    const char *own = is_xml ? m_schema.module()->ns : m_schema.module()->name;
    return space == nullptr || std::strcmp(space, own) != 0 ||
           m_schema.top(opaque.name.name) == nullptr;
}

/** @param is_written  The node is of a tree that was parsed from this text. */
std::vector<TextPlaces::Step> TextPlaces::steps_to(const lyd_node *node, bool is_written) const
{
    std::vector<Step> steps;
    for (; node != nullptr && (steps.empty() || !is_envelope(node)); node = lyd_parent(node)) {
        Step step;
        step.schema = Schema::of(node);
        step.name = LYD_NAME(node);
        if (node->schema != nullptr) {
            step.keys = key_texts(node);
        } else {
            step.value = written_value(node);
            step.below = written_below(node);
        }
        step.number = is_written ? count_before(node) : 0;
        steps.push_back(std::move(step));
    }
    std::reverse(steps.begin(), steps.end());
    return steps;
}

TextPlace TextPlaces::find(const std::vector<Step> &steps, std::size_t wanted) const
{
    const auto &nodes = text().nodes;
    if (nodes.empty()) {
        return kNowhere;
    }
    Search state;
    state.wanted = wanted;
    if (!steps.empty()) {
        search(steps, 0, TextNode::kNone, state);
    }
    if (state.best == TextNode::kNone) {
        return place(nodes.front());
    }
    const auto *last = steps.back().schema;
    if (state.depth + 1 == steps.size() && last != nullptr && last->is_leaf_list()) {
        // Another entry is closer than what is above.
        if (const auto *entry = child(state.best, *last)) {
            return place(*entry);
        }
    }
    return place(nodes[state.best]);
}

/**
 * Looks for a step's node right below another one, and for the next steps' below that.
 * @return Whether the search is over.
 */
bool TextPlaces::search(const std::vector<Step> &steps, std::size_t depth, std::uint32_t above,
                        Search &state) const
{
    const auto &nodes = text().nodes;
    const bool is_top = above == TextNode::kNone;
    const std::uint32_t first = is_top ? 0 : above + 1;
    const auto end = is_top ? static_cast<std::uint32_t>(nodes.size()) : nodes[above].end;
    std::uint32_t &hint = m_hints[is_top ? nodes.size() : above];
    if (hint != TextNode::kNone && state.wanted == 0 && steps[depth].number == 0) {
        // Who asks for many asks for them in their order.
        const std::uint32_t next = nodes[hint].end;
        for (const std::uint32_t at : {hint, next}) {
            if (at < end && search_at(steps, depth, at, state)) {
                hint = at;
                return true;
            }
        }
    }
    std::size_t number = steps[depth].number;
    for (std::uint32_t at = first; at < end; at = nodes[at].end) {
        if (number > 0 && fits(nodes[at], at, steps[depth])) {
            --number;
        } else if (search_at(steps, depth, at, state)) {
            hint = at;
            return true;
        }
    }
    return false;
}

bool TextPlaces::search_at(const std::vector<Step> &steps, std::size_t depth, std::uint32_t at,
                           Search &state) const
{
    if (!fits(text().nodes[at], at, steps[depth])) {
        return false;
    }
    if (depth + 1 > state.depth) {
        state.depth = depth + 1;
        state.best = at;
    }
    if (depth + 1 < steps.size()) {
        return search(steps, depth + 1, at, state);
    }
    state.best = at;
    return state.wanted-- == 0;
}

bool TextPlaces::fits(const TextNode &node, std::uint32_t number, const Step &step) const
{
    if (step.schema != nullptr ? node.schema != step.schema : m_text->name_of(node) != step.name) {
        return false;
    }
    if (step.value) {
        const bool has_value =
            node.schema == nullptr || node.schema->is_leaf() || node.schema->is_leaf_list();
        const bool is_inner = !has_value || number + 1 < node.end || !step.below.empty();
        return is_inner ? has_below(number, step.below) : m_text->value_of(node) == *step.value;
    }
    if (step.keys.empty()) {
        return true;
    }
    if (step.schema->is_leaf_list()) {
        return has_value(node, step.keys.front());
    }
    for (std::size_t i = 0; i < step.keys.size() && i < step.schema->key_nodes.size(); ++i) {
        const TextNode *key = child(number, *step.schema->key_nodes[i]);
        if (key == nullptr || !has_value(*key, step.keys[i])) {
            return false;
        }
    }
    return true;
}

/** Whether what stands right below a node is just that, in its order. */
bool TextPlaces::has_below(std::uint32_t number, const std::vector<Written> &below) const
{
    const auto &nodes = m_text->nodes;
    auto next = below.begin();
    for (std::uint32_t at = number + 1; at < nodes[number].end; at = nodes[at].end, ++next) {
        const bool is_inner = at + 1 < nodes[at].end;
        if (next == below.end() || m_text->name_of(nodes[at]) != next->first ||
            (!is_inner && m_text->value_of(nodes[at]) != next->second)) {
            return false;
        }
    }
    return next == below.end();
}

const TextNode *TextPlaces::child(std::uint32_t number, const SchemaNode &schema) const
{
    const auto &nodes = m_text->nodes;
    for (std::uint32_t at = number + 1; at < nodes[number].end; at = nodes[at].end) {
        if (nodes[at].schema == &schema) {
            return &nodes[at];
        }
    }
    return nullptr;
}

bool TextPlaces::has_value(const TextNode &node, const std::string &canonical) const
{
    const auto written = m_text->value_of(node);
    return written == canonical || (may_be_written_otherwise(*node.schema, written) &&
                                    canonical_of(*node.schema, written) == canonical);
}

void TextPlaces::put(Problem &problem, TextPlace place)
{
    problem.line = place.line;
    problem.column = static_cast<unsigned>(place.column);
}

void TextPlaces::add_column(Problem &problem) const
{
    if (problem.line == 0 || problem.column != 0) {
        return;
    }
    const auto &nodes = text().nodes;
    if (const auto failure = m_text->failure;
        problem.fault == Fault::kMalformed && failure && place(*failure).line == problem.line) {
        put(problem, place(*failure));
        return;
    }
    if (problem.line > m_lines.size()) {
        return;
    }
    const auto from = [&](std::size_t offset) {
        return std::lower_bound(
            nodes.begin(), nodes.end(), offset,
            [](const TextNode &node, std::size_t wanted) { return node.offset < wanted; });
    };
    const auto first = from(m_lines[problem.line - 1]);
    const auto end = problem.line < m_lines.size() ? from(m_lines[problem.line]) : nodes.end();
    const auto name = problem.path.substr(problem.path.rfind('/') + 1);
    const TextNode *best = nullptr;
    for (auto node = first; node != end; ++node) {
        const bool is_unknown = node->schema == nullptr && node->parent != TextNode::kNone;
        if (problem.fault == Fault::kUnknownNode ? is_unknown : m_text->name_of(*node) == name) {
            best = &*node;
            if (is_unknown) {
                break;
            }
        }
    }
    if (best == nullptr && end - first == 1) {
        best = &*first;
    }
    if (best != nullptr) {
        put(problem, place(*best));
    }
}

} // namespace engine
