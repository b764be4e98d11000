/**
 * @file
 * What the results of a fleet add up to.
 */
#pragma once

#include "fleet/result_line.h"
#include "report/style.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <iosfwd>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace host
{

struct CardTime;

class FleetSummary
{
public:
    void add(const ResultLine &line);

    /** The worst result of a card; accepted if there is none. */
    Result worst() const { return m_worst; }
    void print(std::ostream &out, const Style &style) const;
    nlohmann::ordered_json to_json() const;

private:
    /** Cards by who says it (a rule or kind of fault) and what it says. */
    using Remarks = std::map<std::pair<std::string, std::string>, std::size_t>;

    std::map<Result, std::size_t> m_cards;
    Result m_worst = Result::kAccepted;
    Remarks m_rejections;
    Remarks m_warnings;
    Remarks m_failures; /**< Why cards could not be checked, or the plug-in died. */
};

/** Prints the cards that took longest, if any were checked. */
void print_slowest(std::ostream &out, const std::vector<CardTime> &cards, const Style &style);

} // namespace host
