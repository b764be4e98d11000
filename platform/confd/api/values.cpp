/** Printing and freeing of values. */
#include "api/guard.h"
#include "api/output.h"
#include "engine/data/error.h"
#include "engine/data/path.h"
#include "engine/data/value.h"
#include "engine/session/framework.h"

#include <algorithm>

using engine::SchemaNode;

namespace
{

/** The names of tags are the loaded model's; without one, tags are printed as numbers. */
const engine::Schema *loaded_schema()
{
    return engine::Framework::exists() ? &engine::Framework::current().schema() : nullptr;
}

/** A key by its leaf's type where that is known. */
std::string key_text(const SchemaNode *list, int index, const confd_value_t &key)
{
    const auto position = static_cast<std::size_t>(index);
    if (list != nullptr && position < list->key_nodes.size()) {
        if (const auto text = engine::text_by_type(loaded_schema(),
                                                   list->key_nodes[position]->type_storage, key)) {
            return *text;
        }
    }
    return engine::print_value(loaded_schema(), key);
}

std::string keys_text(const SchemaNode *list, const confd_value_t *element)
{
    std::vector<std::string> keys;
    for (int i = 0; i < MAXKEYLEN && element[i].type != C_NOEXISTS; ++i) {
        keys.push_back(key_text(list, i, element[i]));
    }
    return engine::braces(keys);
}

/** Node of a name below another, or at the top; null when there is none. */
const SchemaNode *node_below(const SchemaNode *above, bool is_first, const std::string &name)
{
    if (is_first) {
        const auto *schema = loaded_schema();
        return schema != nullptr ? schema->top(name) : nullptr;
    }
    return above != nullptr ? above->child(name) : nullptr;
}

std::string keypath_text(const confd_hkeypath_t &keypath)
{
    std::string text;
    const SchemaNode *node = nullptr;
    // A length that no keypath can have must not lead behind its elements.
    for (int i = std::min(keypath.len, MAXDEPTH) - 1; i >= 0; --i) {
        const confd_value_t *element = keypath.v[i];
        if (element[0].type != C_XMLTAG) {
            text += keys_text(node, element);
            continue;
        }
        const std::string name = engine::print_value(loaded_schema(), element[0]);
        node = node_below(node, text.empty(), name);
        text += "/" + name;
    }
    return text;
}

} // namespace

extern "C" {

int confd_pp_value(char *buf, int bufsiz, const confd_value_t *v)
{
    return api::shielded(0, [&] {
        return api::print_to(
            buf, bufsiz, v != nullptr ? engine::print_value(loaded_schema(), *v) : std::string());
    });
}

int confd_pp_kpath(char *buf, int bufsiz, const confd_hkeypath_t *kp)
{
    return api::shielded(0, [&] {
        return api::print_to(buf, bufsiz, kp != nullptr ? keypath_text(*kp) : std::string());
    });
}

int confd_val2str(struct confd_type *type, const confd_value_t *v, char *buf, int bufsiz)
{
    return api::guarded("confd_val2str", CONFD_ERR, [&] {
        const auto text = type != nullptr && v != nullptr
                              ? engine::text_by_type(loaded_schema(), *type, *v)
                              : std::optional<std::string>();
        if (!text) {
            throw engine::Error(
                CONFD_ERR_BADTYPE,
                "the value " +
                    (v != nullptr ? engine::print_value(loaded_schema(), *v) : "(null)") +
                    " does not fit the type of its node");
        }
        return api::print_to(buf, bufsiz, *text);
    });
}

void confd_free_value(confd_value_t *v)
{
    if (v != nullptr) {
        api::take_back(*v);
    }
}

} // extern "C"
