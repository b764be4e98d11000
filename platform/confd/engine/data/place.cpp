#include "engine/data/place.h"

namespace engine
{

PlaceId place_of_key(PlaceId place, std::string_view key)
{
    constexpr std::uint64_t kOffset = 0xcbf29ce484222325U;
    constexpr std::uint64_t kPrime = 0x100000001b3U;
    std::uint64_t hash = kOffset;
    for (const char c : key) {
        hash = (hash ^ static_cast<unsigned char>(c)) * kPrime;
    }
    return mix_place(place, hash);
}

PlaceId entry_place(PlaceId list, const lyd_node *entry)
{
    PlaceId place = list;
    for (const lyd_node *key = lyd_child(entry); key != nullptr && lysc_is_key(key->schema);
         key = key->next) {
        place = place_of_key(place, lyd_get_value(key));
    }
    return place;
}

PlaceId place_of(const lyd_node *node)
{
    if (node == nullptr) {
        return kRootPlace;
    }
    const SchemaNode &schema = *Schema::of(node);
    const PlaceId place = place_below(place_of(lyd_parent(node)), schema);
    return schema.is_list() ? entry_place(place, node) : place;
}

PlaceId place_of(const SchemaNode &node)
{
    return place_below(node.up() != nullptr ? place_of(*node.up()) : kRootPlace, node);
}

} // namespace engine
