#include "engine/data/datastore.h"

#include "engine/data/document.h"
#include "engine/data/error.h"
#include "engine/data/normalise.h"
#include "engine/data/path.h"
#include "engine/data/print_tree.h"
#include "engine/data/problems.h"
#include "engine/data/text_length.h"
#include "engine/data/text_places.h"

#include <stdexcept>
#include <utility>

namespace engine
{
namespace
{

LYD_FORMAT yang_format(Format format)
{
    return format == Format::kJson ? LYD_JSON : LYD_XML;
}

void require_one_root(const lyd_node *root, const Schema &schema, const Source &source)
{
    if (root == nullptr) {
        throw InputError({{Fault::kNoConfiguration, source.name, 0, "",
                           "There is no configuration in it", root_hint(schema)}});
    }
    for (; root->next != nullptr; root = root->next) {
        if (root->schema == root->next->schema && root->schema->nodetype == LYS_CONTAINER) {
            Problem problem{Fault::kDuplicate, source.name,      0,
                            path_text(root),   "Duplicate node", "a file holds one configuration"};
            TextPlaces::put(problem, TextPlaces(schema, source).of_duplicate(root));
            throw InputError({std::move(problem)});
        }
    }
}

} // namespace

Datastore::Datastore(std::shared_ptr<const Schema> schema) : m_schema(std::move(schema)) {}

Datastore::~Datastore()
{
    lyd_free_all(m_root);
}

Datastore::Datastore(Datastore &&other) noexcept
    : m_schema(std::move(other.m_schema)), m_root(std::exchange(other.m_root, nullptr))
{
}

Datastore &Datastore::operator=(Datastore &&other) noexcept
{
    std::swap(m_schema, other.m_schema);
    std::swap(m_root, other.m_root);
    return *this;
}

Datastore Datastore::parse(std::shared_ptr<const Schema> schema, const Source &source,
                           const Datastore *committed)
{
    Datastore tree(std::move(schema));
    auto *context = tree.m_schema->context();
    ly_err_clean(context, nullptr);
    const Document document(*tree.m_schema, source, Content::kConfiguration);
    if (document.parse(context, LYD_PARSE_STRICT, tree.m_root) != LY_SUCCESS) {
        auto problems = take_problems(*tree.m_schema, source.name);
        const TextPlaces places(*tree.m_schema, source);
        for (Problem &problem : problems) {
            places.add_column(problem);
        }
        throw InputError(std::move(problems));
    }
    if (tree.m_root == nullptr && document.envelope().is_answer()) {
        return tree;
    }
    require_one_root(tree.m_root, *tree.m_schema, source);
    require_short_texts(*tree.m_schema, tree.m_root, source);
    tree.normalise(committed);
    return tree;
}

Datastore Datastore::copy() const
{
    Datastore tree(m_schema);
    if (m_root != nullptr &&
        lyd_dup_siblings(m_root, nullptr, LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS, &tree.m_root) !=
            LY_SUCCESS) {
        throw std::runtime_error("the configuration cannot be copied");
    }
    return tree;
}

std::string Datastore::print(Format format) const
{
    const auto form = yang_format(format);
    auto text = print_tree(m_root, form, Siblings::kPrinted, 0);
    // An empty configuration would print as nothing, which could not be read again.
    const bool is_empty = text.find_first_not_of("{} \n") == std::string::npos;
    return is_empty ? print_tree(m_root, form, Siblings::kPrinted, LYD_PRINT_KEEPEMPTYCONT) : text;
}

void Datastore::normalise(const Datastore *committed)
{
    order_by_keys(m_root);
    const auto in_committed = [committed](const lyd_node *node) {
        return committed != nullptr ? find_same(committed->root(), node) : nullptr;
    };
    encrypt_leaves(m_root, in_committed);
}

} // namespace engine
