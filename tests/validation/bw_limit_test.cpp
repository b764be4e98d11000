#include "fixture.h"

#include "gpon_bw_limit.h"
#include "support/card_xml.h"

#include <locale>

namespace
{

using namespace test_support;
using testing::ElementsAre;

/** A bandwidth profile; without `rates` it has no traffic type. */
std::string bandwidth(const std::string &name, const std::string &type = "",
                      const std::string &rates = "")
{
    return named("bandwidth-profile", name, type.empty() ? "" : xml("traffic/" + type, rates));
}

std::string fixed(unsigned rate)
{
    return xml("fixed", std::to_string(rate));
}
std::string assured(unsigned rate)
{
    return xml("assured", std::to_string(rate));
}
std::string maximum(unsigned rate)
{
    return xml("maximum", std::to_string(rate));
}

std::string line(const std::string &name, const std::vector<std::string> &bandwidth_profiles)
{
    std::string tconts;
    int id = 0;
    for (const auto &profile : bandwidth_profiles) {
        tconts += xml("tcont", xml("id", std::to_string(++id)) + xml("bandwidth-profile", profile));
    }
    return named("line-profile", name, tconts);
}

/** {total, fixed, static T-CONTs, dynamic T-CONTs} */
std::vector<unsigned> figures(const bandwidth_ctx &bandwidth)
{
    return {bandwidth.total, bandwidth.fixed, bandwidth.static_tconts, bandwidth.dynamic_tconts};
}

class BandwidthLimit : public CardTest
{
protected:
    void load(const std::string &profiles)
    {
        given("", xml("profile/gpon", profiles));
        bandwidth_profiles.clear();
        load_bws_result = loadAllBws(sock(), tctx());
        line_profiles.clear();
        EXPECT_EQ(loadAllLines(sock(), tctx()), 0);
        expect_nothing_held();
    }
    int load_bws_result = 0;
};

TEST_F(BandwidthLimit, ReducesEachTrafficTypeToWhatItGuarantees)
{
    load(bandwidth("t1", "type-1", fixed(10)) + bandwidth("t2", "type-2", assured(20)) +
         bandwidth("t3", "type-3", assured(30) + maximum(31)) +
         bandwidth("t4", "type-4", maximum(41)) +
         bandwidth("t5", "type-5", fixed(50) + assured(51) + maximum(52)));
    EXPECT_EQ(load_bws_result, 0);
    EXPECT_THAT(figures(bandwidth_profiles.at("t1")), ElementsAre(10, 10, 0, 0));
    EXPECT_THAT(figures(bandwidth_profiles.at("t2")), ElementsAre(20, 0, 0, 0));
    EXPECT_THAT(figures(bandwidth_profiles.at("t3")), ElementsAre(30, 0, 0, 0));
    EXPECT_THAT(figures(bandwidth_profiles.at("t4")), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(figures(bandwidth_profiles.at("t5")), ElementsAre(51, 50, 0, 0));
    const auto lines = trace(10);
    EXPECT_THAT(std::vector(lines.begin(), lines.begin() + 5),
                ElementsAre("BW name: t1. type-1. fixed=10", "BW name: t2. type-2. assured=20",
                            "BW name: t3. type-3. assured=30 max=31", "BW name: t4. type-4. max=41",
                            "BW name: t5. type-5. fixed=50 assured=51 max=52"));
    EXPECT_TRUE(line_profiles.empty());
}

TEST_F(BandwidthLimit, AProfileWithoutTrafficTypeTakesTheRestOfItsChunkWithIt)
{
    // 64 profiles are a chunk: the fault in the second hides all up to b064, not b065.
    std::string profiles = bandwidth("b001", "type-1", fixed(1)) + bandwidth("b002");
    for (int i = 3; i <= 65; ++i) {
        char name[8];
        std::snprintf(name, sizeof(name), "b%03d", i);
        profiles += bandwidth(name, "type-1", fixed(1));
    }
    load(profiles);
    EXPECT_EQ(load_bws_result, 0) << "the last chunk was good";
    EXPECT_THAT(bandwidth_profiles,
                testing::UnorderedElementsAre(testing::Key("b001"), testing::Key("b065")));
    load(bandwidth("only"));
    EXPECT_EQ(load_bws_result, -1);
    EXPECT_TRUE(bandwidth_profiles.empty());
}

TEST_F(BandwidthLimit, SumsTheTcontsOfALineProfile)
{
    load(bandwidth("static", "type-1", fixed(100)) +
         bandwidth("all-fixed", "type-5", fixed(100) + assured(100) + maximum(900)) +
         bandwidth("mixed", "type-5", fixed(100) + assured(200) + maximum(900)) +
         bandwidth("effort", "type-4", maximum(900)) + line("none", {}) +
         line("all", {"static", "all-fixed", "mixed", "effort"}) +
         // 6 T-CONTs are a chunk: after one with an unknown profile no more are read.
         line("unknown", {"static", "gone", "static", "static", "static", "static", "static"}) +
         line("late", {"static", "static", "static", "static", "static", "static", "gone"}));
    EXPECT_THAT(figures(line_profiles.at("none")), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(figures(line_profiles.at("all")), ElementsAre(400, 300, 2, 2));
    EXPECT_THAT(figures(line_profiles.at("unknown")), ElementsAre(500, 500, 5, 1));
    EXPECT_THAT(figures(line_profiles.at("late")), ElementsAre(600, 600, 6, 1));
}

TEST_F(BandwidthLimit, ReadsAgainAtEveryCheck)
{
    const std::string onus =
        xml("interface", link(3, onu(1, xml("profile-references/line-profile", "a"))));
    const auto ask_link = [this] {
        return ask(validate_max_bandwidth_ponlink, "/config/gpon{1/1}/pon-link{3}/port").text;
    };
    const std::string settings = xml("gpon", xml("card", "1/1") + xml("pon-link/port", "3"));
    given("", xml("profile/gpon", bandwidth("b", "type-1", fixed(1)) + line("a", {"b"})) + onus +
                  settings);
    EXPECT_EQ(ask_link(), "");
    platform_settings.num_onus_per_ponlink = 1;
    client().results_too_many = 1000000; // Whoever looks at them leaves the array.
    EXPECT_EQ(ask_link(), "");
    // A rate is an unsigned number.
    given("", xml("profile/gpon", bandwidth("b", "type-1", fixed(2147483648)) + line("a", {"b"})) +
                  onus + settings);
    EXPECT_THAT(ask_link(), testing::StartsWith("Total bandwidth exceeds"));
    given("", onus + settings);
    EXPECT_EQ(ask_link(), "Line profile a doesn't not exist.");
}

TEST_F(BandwidthLimit, NumbersDoNotObeyTheLocaleOfTheHost)
{
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\1"; }
    };
    given("", xml("profile/gpon", bandwidth("b", "type-1", fixed(1200000)) + line("a", {"b"})) +
                  xml("interface", link(1, onu(1, xml("profile-references/line-profile", "a")))));
    const auto ask_all = [this] {
        return ask(validate_max_bandwidth_global, "/config/profile/gpon/line-profile").text;
    };
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    const std::string capacities = ask_all();
    platform_settings.max_tconts_bw_type_1 = 0;
    const std::string counts = ask_all();
    std::locale::global(before);
    EXPECT_EQ(capacities, "Total bandwidth exceeds GPON interface 1/1/1 capacity (1107504 kbits/s)"
                          "\nFixed bandwidth exceeds GPON interface 1/1/1 capacity (442752 "
                          "kbits/s)\n");
    EXPECT_EQ(counts, "Line Profile a cannot have more than 0 TCONTs with bandwidth traffic type "
                      "1.");
}

} // namespace
