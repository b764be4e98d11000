#include "fm_host.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <stdexcept>

namespace fm
{

namespace
{

using nlohmann::json;

/** Invalid value of a member; the text says what is expected. */
class Unusable : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

bool to_bool(const json &value)
{
    if (!value.is_boolean()) {
        throw Unusable("true or false");
    }
    return value.get<bool>();
}

/** A whole number that fits the type, and is not below `lowest`. */
template <typename Number>
Number to_number(const json &value, Number lowest)
{
    constexpr Number kHighest = std::numeric_limits<Number>::max();
    // Numbers beyond 64 bits arrive as fractions, those beyond signed 64 bits as unsigned ones.
    const bool is_huge =
        value.is_number_unsigned() && value.get<std::uint64_t>() > std::uint64_t{kHighest};
    if (!value.is_number_integer() || is_huge || value.get<std::int64_t>() < std::int64_t{lowest}) {
        throw Unusable("a whole number from " + std::to_string(lowest) + " to " +
                       std::to_string(kHighest));
    }
    return value.get<Number>();
}

template <typename Number>
Number to_figure(const json &value)
{
    return to_number<Number>(value, 0);
}

int to_result(const json &value)
{
    return to_number<int>(value, std::numeric_limits<int>::min());
}

/** Each member by its name, and how it gets into the card. */
using Readers = std::map<std::string, std::function<void(Card &, const json &)>>;

const Readers &readers()
{
    static const Readers the_readers{
        {"do_bw_check", [](Card &card, const json &v) { card.do_bw_check = to_bool(v); }},
        {"manageable_pon_links",
         [](Card &card, const json &v) {
             card.manageable_pon_links = to_figure<std::uint32_t>(v);
         }},
        {"max_onus_per_pon_link",
         [](Card &card, const json &v) { card.max_onus_per_pon_link = to_figure<int>(v); }},
        {"max_pon_links",
         [](Card &card, const json &v) { card.max_pon_links = to_figure<int>(v); }},
        {"chassis", [](Card &card, const json &v) { card.chassis = to_figure<std::uint32_t>(v); }},
        {"slot", [](Card &card, const json &v) { card.slot = to_figure<std::uint32_t>(v); }},
        {"init_result", [](Card &card, const json &v) { card.init_result = to_result(v); }},
        {"local_slot_result",
         [](Card &card, const json &v) { card.local_slot_result = to_result(v); }},
    };
    return the_readers;
}

std::string known_names()
{
    std::string names;
    for (const auto &reader : readers()) {
        names += (names.empty() ? "" : ", ") + reader.first;
    }
    return names;
}

/** Parses a JSON object; of a duplicate member the library would silently keep the last. */
json parse_object(const std::string &text)
{
    std::set<std::string> names;
    const auto refuse_repeats = [&names](int depth, json::parse_event_t event, json &parsed) {
        if (event == json::parse_event_t::key && depth == 1 &&
            !names.insert(parsed.get<std::string>()).second) {
            throw std::runtime_error(parsed.get<std::string>() + ": duplicate member");
        }
        return true;
    };
    json object;
    try {
        object = json::parse(text, refuse_repeats);
    } catch (const json::exception &error) {
        // The library's text begins with its own error number, which helps no operator.
        const std::string reason = error.what();
        throw std::runtime_error(reason.substr(reason.find("] ") + 2));
    }
    if (!object.is_object()) {
        throw std::runtime_error("a card is a JSON object, such as { \"max_pon_links\": 16 }");
    }
    return object;
}

void read_member(Card &card, const std::string &name, const json &value)
{
    const auto reader = readers().find(name);
    if (reader == readers().end()) {
        throw std::runtime_error("unknown member " + name + "; known are " + known_names());
    }
    try {
        reader->second(card, value);
    } catch (const Unusable &expected) {
        throw std::runtime_error(name + " is " + value.dump() + "; it must be " + expected.what());
    }
}

} // namespace

Card parse_card(const std::string &text)
{
    Card card;
    const json object = parse_object(text);
    for (const auto &[name, value] : object.items()) {
        read_member(card, name, value);
    }
    return card;
}

} // namespace fm
