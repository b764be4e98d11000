/**
 * @file
 * The cards of a fleet, and where their files are.
 */
#pragma once

#include "engine/data/source.h"

#include <cstddef>
#include <string>
#include <vector>

namespace host
{

/** A card that is to be checked. */
struct FleetCard {
    std::string name;
    std::string running; /**< Files as the list names them. */
    std::string card;    /**< Empty: the default card. */
    std::string edit;    /**< Empty: what all cards without one of their own get. */
    unsigned line = 0;   /**< In the list; 0: it was found in a folder. */
};

/** Cards in the order of the list. No name occurs twice. */
struct CardList {
    std::string source; /**< File or folder, for messages. */
    std::vector<FleetCard> cards;

    /** Where a card is named, such as `cards.tsv:12`. */
    std::string place_of(const FleetCard &card) const;
};

/**
 * Reads a list: on each line a JSON object with the members name, running, card and edit, or the
 * same separated by tabs; card and edit may be left out. Blank lines and those that begin with # do
 * not count.
 * @throws engine::InputError  With all that is wrong, each with its line.
 */
CardList parse_card_list(const engine::Source &list);

/**
 * The cards whose files are in folders of this folder: running.xml or running.json, and where they
 * exist card.json, and change.xml or change.json. A card has the name of its folder.
 * @throws engine::InputError  There is none, or which file to take is not clear.
 */
CardList find_cards(const std::string &folder);

/** One of several parts of equal size. */
struct Shard {
    std::size_t number = 1; /**< From 1. */
    std::size_t count = 1;

    bool has(std::size_t position) const { return position % count == number - 1; }
};

/** The cards of one part, in the order of the list: every so many-th, so that parts are alike. */
CardList cards_of(CardList list, const Shard &shard);

} // namespace host
