/** Upstream bandwidth of PON links, and the T-CONT counts of line profiles. */
#include "trial.h"

#include <platform_settings.h>

namespace fuzz
{
namespace
{

/** All sums are unsigned and have 32 bits, as the card's. */
using Rate = std::uint32_t;

struct BandwidthProfile {
    int type = 1;
    Rate fixed = 0;
    Rate assured = 0;
    Rate maximum = 0;

    bool has_fixed() const { return type == 1 || type == 5; }
    bool has_assured() const { return type == 2 || type == 3 || type == 5; }
    bool has_maximum() const { return type >= 3; }

    Rate fixed_rate() const { return has_fixed() ? fixed : 0; }
    Rate total_rate() const
    {
        if (type == 1) {
            return fixed;
        }
        return has_assured() ? assured : 0;
    }
    bool is_static() const { return fixed_rate() != 0 && fixed_rate() == total_rate(); }

    std::string xml(std::size_t number) const
    {
        const std::string rates = (has_fixed() ? element("fixed", fixed) : "") +
                                  (has_assured() ? element("assured", assured) : "") +
                                  (has_maximum() ? element("maximum", maximum) : "");
        return element("bandwidth-profile",
                       element("name", "b" + std::to_string(number)) +
                           element("traffic", element("type-" + std::to_string(type), rates)));
    }
};

/** T-CONTs, each by the number of its bandwidth profile. */
using LineProfile = std::vector<std::size_t>;

struct Link {
    std::uint32_t port = 0;
    std::vector<std::string> line_profiles; /**< One for each ONU; empty: it refers to none. */
};

struct Card {
    std::vector<BandwidthProfile> bandwidth_profiles;
    std::map<std::string, LineProfile> line_profiles;
    std::vector<Link> links;
    bool does_check = true;
    std::size_t chunk = 0; /**< ONUs that are read at a time. */

    std::string xml() const;
    Verdict judge(const Link &link) const;
    std::vector<Verdict> judge_tconts() const;
};

std::string Card::xml() const
{
    std::string all;
    for (std::size_t i = 0; i < bandwidth_profiles.size(); ++i) {
        all += bandwidth_profiles[i].xml(i);
    }
    for (const auto &[name, tconts] : line_profiles) {
        std::string inside = element("name", name);
        for (std::size_t i = 0; i < tconts.size(); ++i) {
            inside +=
                element("tcont", element("id", static_cast<std::uint32_t>(i + 1)) +
                                     element("bandwidth-profile", "b" + std::to_string(tconts[i])));
        }
        all += element("line-profile", inside);
    }
    std::string interfaces;
    for (const Link &link : links) {
        std::string onus;
        for (std::uint32_t i = 0; i < link.line_profiles.size(); ++i) {
            const std::string &name = link.line_profiles[i];
            onus += element("onu", element("onu-id", i + 1) +
                                       (name.empty() ? ""
                                                     : element("profile-references",
                                                               element("line-profile", name))));
        }
        interfaces += pon_link(link.port, onus);
    }
    return profiles(all) + element("interface", interfaces);
}

/** ONUs without a known line profile are told up to the end of the first chunk that has one. */
std::string unknown_line_profiles(const Card &card, const Link &link)
{
    std::string text;
    for (std::size_t i = 0; i < link.line_profiles.size(); ++i) {
        if (i % card.chunk == 0 && !text.empty()) {
            break;
        }
        if (card.line_profiles.count(link.line_profiles[i]) == 0) {
            text += "Line profile " + link.line_profiles[i] + " doesn't not exist.";
        }
    }
    return text;
}

Verdict Card::judge(const Link &link) const
{
    constexpr Rate kOverhead = 560;
    std::string text = unknown_line_profiles(*this, link);
    if (!text.empty()) {
        return rejected(text);
    }
    Rate fixed = 0;
    Rate total = 0;
    for (const auto &name : link.line_profiles) {
        total += kOverhead;
        for (const std::size_t tcont : line_profiles.at(name)) {
            fixed += bandwidth_profiles[tcont].fixed_rate();
            total += bandwidth_profiles[tcont].total_rate();
        }
    }
    const std::string place = " bandwidth exceeds GPON interface 1/1/" + std::to_string(link.port);
    if (total > 1107504) {
        text += "Total" + place + " capacity (1107504 kbits/s)\n";
    }
    if (fixed > 442752) {
        text += "Fixed" + place + " capacity (442752 kbits/s)\n";
    }
    return text.empty() ? accepted() : rejected(text);
}

/** Of several line profiles with too many T-CONTs any one may be named. */
std::vector<Verdict> Card::judge_tconts() const
{
    std::vector<Verdict> verdicts;
    const long most_dynamic = does_check ? 3 : 4;
    for (const auto &[name, tconts] : line_profiles) {
        long statics = 0;
        for (const std::size_t tcont : tconts) {
            statics += bandwidth_profiles[tcont].is_static() ? 1 : 0;
        }
        const long dynamics = static_cast<long>(tconts.size()) - statics;
        const std::string begin = "Line Profile " + name + " cannot have more than ";
        if (dynamics > most_dynamic) {
            verdicts.push_back(rejected(begin + std::to_string(most_dynamic) +
                                        " TCONTs with bandwidth traffic type 2 to 5."));
        } else if (statics > 3) {
            verdicts.push_back(rejected(begin + "3 TCONTs with bandwidth traffic type 1."));
        }
    }
    return verdicts;
}

/** Rates at which the sums of a few ONUs meet the limits. */
Rate some_rate(ByteReader &bytes)
{
    constexpr std::array<Rate, 14> kRates{0,      1,      2,      100,     276316,  553192, 553193,
                                          442751, 442752, 442753, 1106943, 1106944, 221376, 368608};
    return bytes.one_in(32) ? bytes.word() : bytes.pick(kRates);
}

BandwidthProfile some_bandwidth_profile(ByteReader &bytes)
{
    BandwidthProfile profile;
    profile.type = 1 + static_cast<int>(bytes.below(5));
    std::array<Rate, 3> rates{some_rate(bytes), some_rate(bytes), some_rate(bytes)};
    if (profile.type != 1) {
        std::sort(rates.begin(), rates.end());
    }
    profile.fixed = rates[0];
    profile.assured = profile.type == 5 && bytes.one_in(3) ? rates[0] : rates[1];
    profile.maximum = rates[2];
    return profile;
}

Card some_card(ByteReader &bytes)
{
    constexpr std::array<std::uint32_t, 4> kChunks{2, 1, 128, 0};
    constexpr std::array<const char *, 6> kReferences{"l0", "l1", "l0", "l1", "l2", ""};
    constexpr std::size_t kDefaultChunk = 100;
    Card card;
    card.does_check = !bytes.one_in(8);
    set_do_bw_check(card.does_check);
    const std::uint32_t chunk = bytes.pick(kChunks);
    set_num_onus_per_ponlink(chunk);
    card.chunk = chunk != 0 ? chunk : kDefaultChunk;
    for (std::size_t count = 1 + bytes.below(3); count > 0; --count) {
        card.bandwidth_profiles.push_back(some_bandwidth_profile(bytes));
    }
    for (const char *name : {"l0", "l1"}) {
        // Read six at a time.
        LineProfile tconts(bytes.one_in(4) ? bytes.below(9) : bytes.below(3));
        for (auto &tcont : tconts) {
            tcont = bytes.below(card.bandwidth_profiles.size());
        }
        card.line_profiles[name] = tconts;
    }
    for (std::uint32_t port = 1 + bytes.byte() % 3U; card.links.size() < 3; port += 9) {
        Link link{port, std::vector<std::string>(bytes.below(6))};
        for (auto &name : link.line_profiles) {
            name = kReferences.at(bytes.one_in(4) ? bytes.below(6) : bytes.below(2));
        }
        card.links.push_back(link);
        if (port > 7 || bytes.one_in(2)) {
            break;
        }
    }
    return card;
}

} // namespace

Trial try_pon_link_bandwidth(ByteReader &bytes)
{
    const Card card = some_card(bytes);
    Trial trial{"onu_bw_check", card.xml(), {}};
    std::string settings = element("card", "1/1");
    for (const Link &link : card.links) {
        settings += element("pon-link", element("port", link.port));
        trial.allowed["/config/gpon{1/1}/pon-link{" + std::to_string(link.port) + "}/upstream"] = {
            card.does_check ? card.judge(link) : accepted()};
    }
    trial.card += element("gpon", settings);
    return trial;
}

Trial try_card_bandwidth(ByteReader &bytes)
{
    const Card card = some_card(bytes);
    std::vector<Verdict> verdicts = card.judge_tconts();
    if (verdicts.empty()) {
        verdicts = {accepted()};
        for (const Link &link : card.links) {
            if (card.does_check && verdicts.front() == accepted()) {
                verdicts = {card.judge(link)};
            }
        }
    }
    return {"ponlink_bw_check",
            card.xml(),
            {{"/config/profile/gpon/bandwidth-profile", verdicts},
             {"/config/profile/gpon/line-profile", verdicts}}};
}

} // namespace fuzz
