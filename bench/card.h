/** The cards that are measured, and the changes that are made to them. */
#pragma once

#include "engine/data/datastore.h"
#include "generator/card_generator.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace bench
{

/** Sizes of a card in PON links; each has 128 ONUs. */
inline constexpr std::uint32_t kLinks[] = {1, 2, 4, 8, 16};
inline constexpr std::uint32_t kFullCard = 16;

/** Profiles and service ports in proportion: 512 line profiles, 4096 service ports at full size. */
host::CardShape shape_of(std::uint32_t links, std::uint64_t seed);

/** The data model as it is shipped, loaded once. */
std::shared_ptr<const engine::Schema> schema();

/** A generated card and two edits of it. */
class Card
{
public:
    explicit Card(std::uint32_t links);

    std::uint32_t links() const { return m_links; }
    /** The running configuration as XML, and parsed and checked. */
    const engine::Source &text() const { return m_text; }
    const engine::Datastore &running() const { return m_running; }

    /** Gives one ONU another line profile. */
    engine::Source everyday_edit() const;
    /**
     * Puts another card in the place of this one. All rules accept it or warn: bandwidth and
     * service profiles and service ports, which may not be edited, come under other names.
     */
    engine::Source rewriting_edit() const;

    /** What an edit makes of the card, checked. */
    engine::Datastore candidate(const engine::Source &edit) const;

private:
    std::uint32_t m_links;
    engine::Source m_text;
    engine::Datastore m_running;
};

/** Of that size. Only the last one is kept: a full card takes some ten megabytes. */
const Card &card(std::uint32_t links);

} // namespace bench
