#include "engine/data/text_length.h"

#include "engine/data/error.h"
#include "engine/data/path.h"
#include "engine/data/problems.h"
#include "engine/data/text_places.h"

#include <cstring>
#include <utility>
#include <vector>

namespace engine
{
namespace
{

constexpr std::size_t kMaxFaults = 20;

void find_long_texts(const lyd_node *siblings, const Source &source, const TextPlaces &places,
                     std::vector<Problem> &found)
{
    for (; siblings != nullptr && found.size() < kMaxFaults; siblings = siblings->next) {
        const auto *schema = Schema::of(siblings);
        const std::uint32_t limit = schema != nullptr ? schema->type_storage.max_bytes : 0;
        if (limit != 0) {
            const char *text = lyd_get_value(siblings);
            const std::size_t length = std::strlen(text);
            if (length > limit) {
                found.push_back({Fault::kInvalidValue, source.name, 0, path_text(siblings),
                                 "Too long: " + std::to_string(length) + " bytes in UTF-8",
                                 hint_of_values(*schema)});
                TextPlaces::put(found.back(), places.of_written(siblings));
            }
        }
        find_long_texts(lyd_child(siblings), source, places, found);
    }
}

} // namespace

void require_short_texts(const Schema &schema, const lyd_node *siblings, const Source &source)
{
    std::vector<Problem> found;
    find_long_texts(siblings, source, TextPlaces(schema, source), found);
    if (!found.empty()) {
        throw InputError(std::move(found));
    }
}

} // namespace engine
