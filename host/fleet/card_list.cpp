#include "fleet/card_list.h"

#include "fleet/problem_list.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>

namespace host
{
namespace
{

namespace fs = std::filesystem;
using engine::Fault;
using Json = nlohmann::json;

constexpr const char *kLineHint =
    "a line is NAME, RUNNING and perhaps CARD and EDIT, separated by tabs, or a JSON object with "
    "these members";

constexpr std::array<std::pair<const char *, std::string FleetCard::*>, 4> kMembers{
    {{"name", &FleetCard::name},
     {"running", &FleetCard::running},
     {"card", &FleetCard::card},
     {"edit", &FleetCard::edit}}};

/** What is wrong with one line. */
struct BadLine {
    Fault fault;
    std::string message;
};

FleetCard from_tabs(std::string_view line)
{
    FleetCard card;
    for (const auto &[name, member] : kMembers) {
        const auto end = line.find('\t');
        card.*member = line.substr(0, end);
        if (end == std::string_view::npos) {
            return card;
        }
        line.remove_prefix(end + 1);
    }
    throw BadLine{Fault::kMalformed, "there are more than four fields"};
}

FleetCard from_json(std::string_view line)
{
    const Json json = Json::parse(line, nullptr, false);
    if (!json.is_object()) {
        throw BadLine{Fault::kMalformed, "this is no JSON object"};
    }
    FleetCard card;
    for (const auto &[key, value] : json.items()) {
        const auto member =
            std::find_if(kMembers.begin(), kMembers.end(),
                         [&key = key](const auto &known) { return known.first == key; });
        if (member == kMembers.end()) {
            throw BadLine{Fault::kMalformed, "there is no member " + key};
        }
        if (!value.is_string()) {
            throw BadLine{Fault::kMalformed, "the member " + key + " must be a string"};
        }
        card.*(member->second) = value.get<std::string>();
    }
    return card;
}

FleetCard parse_line(std::string_view line)
{
    FleetCard card = line.front() == '{' ? from_json(line) : from_tabs(line);
    for (const auto &[name, member] : {kMembers[0], kMembers[1]}) {
        if ((card.*member).empty()) {
            throw BadLine{Fault::kIncomplete, std::string("the field ") + name + " is missing"};
        }
    }
    return card;
}

/** Nothing for a line that does not count. */
std::string_view content_of(std::string_view line)
{
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    const auto start = line.find_first_not_of(" \t");
    return start == std::string_view::npos || line[start] == '#' ? std::string_view()
           : line[start] == '{'                                  ? line.substr(start)
                                                                 : line;
}

/** The one of these files that exists; empty: none does. */
std::string file_in(const fs::path &folder, std::initializer_list<const char *> names,
                    ProblemList &problems)
{
    std::string found;
    for (const char *name : names) {
        std::error_code unknown;
        if (!fs::exists(folder / name, unknown)) {
            continue;
        }
        if (!found.empty()) {
            problems.add({Fault::kDuplicate, (folder / name).string(), 0, "",
                          "there is also " + found, "keep one of them"});
        }
        found = (folder / name).string();
    }
    return found;
}

std::vector<fs::path> folders_in(const std::string &folder)
{
    std::vector<fs::path> folders;
    std::error_code failure;
    for (auto entry = fs::directory_iterator(folder, failure);
         !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
        std::error_code unknown; // What cannot be looked at has no file that is found in it.
        if (entry->is_directory(unknown)) {
            folders.push_back(entry->path());
        }
    }
    if (failure) {
        throw engine::InputError({{Fault::kUnreadable, folder, 0, "",
                                   "cannot be read as a folder: " + failure.message(), ""}});
    }
    std::sort(folders.begin(), folders.end());
    return folders;
}

void require_cards(const CardList &list)
{
    if (list.cards.empty()) {
        throw engine::InputError(
            {{Fault::kNoConfiguration, list.source, 0, "", "there is no card in it", ""}});
    }
}

} // namespace

std::string CardList::place_of(const FleetCard &card) const
{
    return source + (card.line != 0 ? ":" + std::to_string(card.line) : "");
}

CardList parse_card_list(const engine::Source &list)
{
    engine::require_utf8(list);
    CardList parsed{list.name, {}};
    ProblemList problems;
    std::unordered_map<std::string, unsigned> lines;
    std::string_view rest = engine::without_mark(list.text);
    for (unsigned number = 1; !rest.empty(); ++number) {
        const auto end = std::min(rest.find('\n'), rest.size());
        const auto line = content_of(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (line.empty()) {
            continue;
        }
        try {
            FleetCard card = parse_line(line);
            card.line = number;
            if (const auto [known, is_new] = lines.emplace(card.name, number); !is_new) {
                throw BadLine{Fault::kDuplicate, "the name " + card.name + " is that of line " +
                                                     std::to_string(known->second)};
            }
            parsed.cards.push_back(std::move(card));
        } catch (const BadLine &bad) {
            problems.add({bad.fault, list.name, number, "", bad.message,
                          bad.fault == Fault::kDuplicate ? "" : kLineHint});
        }
    }
    problems.throw_if_any();
    require_cards(parsed);
    return parsed;
}

CardList find_cards(const std::string &folder)
{
    CardList found{folder, {}};
    ProblemList problems;
    for (const auto &path : folders_in(folder)) {
        FleetCard card;
        card.name = path.filename().string();
        card.running = file_in(path, {"running.xml", "running.json"}, problems);
        if (card.running.empty()) {
            continue;
        }
        engine::require_utf8({path.string(), path.string()});
        card.card = file_in(path, {"card.json"}, problems);
        card.edit = file_in(path, {"change.xml", "change.json"}, problems);
        found.cards.push_back(std::move(card));
    }
    problems.throw_if_any();
    require_cards(found);
    return found;
}

CardList cards_of(CardList list, const Shard &shard)
{
    std::size_t position = 0;
    std::erase_if(list.cards, [&](const FleetCard &) { return !shard.has(position++); });
    return list;
}

} // namespace host
