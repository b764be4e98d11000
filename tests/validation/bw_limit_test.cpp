#include "fixture.h"

#include "engine/data/value.h"
#include "gpon_bw_limit.h"

#include <sstream>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

/** A bandwidth profile; `rates` are leaves of its traffic type, which 0 leaves out. */
std::string bandwidth(const std::string &name, int type = 0, const std::string &rates = "")
{
    const std::string tag = "type-" + std::to_string(type);
    const std::string traffic =
        type == 0 ? "" : "<traffic><" + tag + ">" + rates + "</" + tag + "></traffic>";
    return "<bandwidth-profile><name>" + name + "</name>" + traffic + "</bandwidth-profile>";
}

std::string fixed(int rate)
{
    return "<fixed>" + std::to_string(rate) + "</fixed>";
}
std::string assured(int rate)
{
    return "<assured>" + std::to_string(rate) + "</assured>";
}
std::string maximum(int rate)
{
    return "<maximum>" + std::to_string(rate) + "</maximum>";
}

std::string line(const std::string &name, const std::vector<std::string> &bandwidth_profiles)
{
    std::string xml = "<line-profile><name>" + name + "</name>";
    int id = 0;
    for (const auto &profile : bandwidth_profiles) {
        xml += "<tcont><id>" + std::to_string(++id) + "</id><bandwidth-profile>" + profile +
               "</bandwidth-profile></tcont>";
    }
    return xml + "</line-profile>";
}

std::string profiles(const std::string &inside)
{
    return "<profile><gpon>" + inside + "</gpon></profile>";
}

/** PON link 1/1/N with ONUs 1 to n of the given line profile. */
std::string link(int port, int onus, const std::string &line_profile)
{
    std::ostringstream xml;
    xml << "<gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>" << port << "</port-id>";
    for (int id = 1; id <= onus; ++id) {
        xml << "<onu><onu-id>" << id << "</onu-id><profile-references><line-profile>"
            << line_profile << "</line-profile></profile-references></onu>";
    }
    xml << "</gpon>";
    return xml.str();
}

std::string card(const std::string &profile_lists, const std::string &links)
{
    return profiles(profile_lists) + "<interface>" + links +
           "</interface><gpon><card>1/1</card><pon-link><port>3</port></pon-link></gpon>";
}

/** {total, fixed, static T-CONTs, dynamic T-CONTs} */
std::vector<unsigned> figures(const bandwidth_ctx &bandwidth)
{
    return {bandwidth.total, bandwidth.fixed, bandwidth.static_tconts, bandwidth.dynamic_tconts};
}

class BandwidthLimit : public CardTest
{
protected:
    void load()
    {
        bandwidth_profiles.clear();
        load_bws_result = loadAllBws(sock(), tctx());
        line_profiles.clear();
        EXPECT_EQ(loadAllLines(sock(), tctx()), 0);
    }
    Outcome ask_link()
    {
        return ask(validate_max_bandwidth_ponlink, "/config/gpon{1/1}/pon-link{3}/port");
    }
    Outcome ask_all()
    {
        return ask(validate_max_bandwidth_global, "/config/profile/gpon/line-profile");
    }

    int load_bws_result = 0;
};

TEST_F(BandwidthLimit, reduces_each_traffic_type_to_what_it_guarantees)
{
    given("",
          profiles(bandwidth("t1", 1, fixed(10)) + bandwidth("t2", 2, assured(20)) +
                   bandwidth("t3", 3, assured(30) + maximum(31)) + bandwidth("t4", 4, maximum(41)) +
                   bandwidth("t5", 5, fixed(50) + assured(51) + maximum(52))));
    load();
    EXPECT_EQ(load_bws_result, 0);
    EXPECT_THAT(figures(bandwidth_profiles.at("t1")), ElementsAre(10, 10, 0, 0));
    EXPECT_THAT(figures(bandwidth_profiles.at("t2")), ElementsAre(20, 0, 0, 0));
    EXPECT_THAT(figures(bandwidth_profiles.at("t3")), ElementsAre(30, 0, 0, 0));
    EXPECT_THAT(figures(bandwidth_profiles.at("t4")), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(figures(bandwidth_profiles.at("t5")), ElementsAre(51, 50, 0, 0));
    EXPECT_THAT(trace(10),
                ElementsAre("BW name: t1. type-1. fixed=10", "BW name: t2. type-2. assured=20",
                            "BW name: t3. type-3. assured=30 max=31", "BW name: t4. type-4. max=41",
                            "BW name: t5. type-5. fixed=50 assured=51 max=52",
                            HasSubstr("to load all bandwidth profiles from ConfD"),
                            HasSubstr("to load all line profiles from ConfD")));
    expect_nothing_held();
}

TEST_F(BandwidthLimit, a_profile_without_traffic_type_takes_the_rest_of_its_chunk_with_it)
{
    // 64 profiles are a chunk: the fault in the first hides b003 to b064, not b065.
    std::string xml = bandwidth("b001", 1, fixed(1)) + bandwidth("b002");
    for (int i = 3; i <= 65; ++i) {
        char name[8];
        std::snprintf(name, sizeof(name), "b%03d", i);
        xml += bandwidth(name, 1, fixed(i));
    }
    given("", profiles(xml));
    load();
    EXPECT_EQ(load_bws_result, 0) << "the last chunk was good";
    EXPECT_EQ(bandwidth_profiles.size(), 2U);
    EXPECT_THAT(bandwidth_profiles, Contains(testing::Key("b001")));
    EXPECT_THAT(bandwidth_profiles, Contains(testing::Key("b065")));
    expect_nothing_held();

    given("", profiles(bandwidth("only")));
    load();
    EXPECT_EQ(load_bws_result, -1);
    EXPECT_TRUE(bandwidth_profiles.empty());
    expect_nothing_held();
}

TEST_F(BandwidthLimit, sums_the_tconts_of_a_line_profile)
{
    given("", profiles(bandwidth("static", 1, fixed(100)) +
                       bandwidth("all-fixed", 5, fixed(100) + assured(100) + maximum(900)) +
                       bandwidth("mixed", 5, fixed(100) + assured(200) + maximum(900)) +
                       bandwidth("effort", 4, maximum(900)) + line("none", {}) +
                       line("all", {"static", "all-fixed", "mixed", "effort"}) +
                       line("eight", std::vector<std::string>(8, "static"))));
    load();
    EXPECT_THAT(figures(line_profiles.at("none")), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(figures(line_profiles.at("all")), ElementsAre(400, 300, 2, 2));
    EXPECT_THAT(figures(line_profiles.at("eight")), ElementsAre(800, 800, 8, 0));
    EXPECT_THAT(trace(10), Contains("Loading line all"));
    EXPECT_THAT(trace(10), Contains("tcont=3 bw=mixed"));
    EXPECT_THAT(trace(10), Contains("BW found! BW name: mixed. fixed=100 total=200"));
    EXPECT_THAT(trace(10), Contains("Line all has dynamic=2 static=2 TCONTs"));
    EXPECT_THAT(trace(10), Contains(HasSubstr("to load all tconts from ConfD (err=0)")));
    expect_nothing_held();
}

TEST_F(BandwidthLimit, an_unknown_bandwidth_profile_counts_as_dynamic_and_ends_with_its_chunk)
{
    // 6 T-CONTs are a chunk: the seventh is not read any more.
    given("", profiles(bandwidth("known", 1, fixed(100)) +
                       line("a", {"known", "gone", "known", "known", "known", "known", "known"})));
    load();
    EXPECT_THAT(figures(line_profiles.at("a")), ElementsAre(500, 500, 5, 1));
    EXPECT_THAT(trace(12), ElementsAre("BW NOT found! BW name: gone. fixed=0 total=0"));
    EXPECT_THAT(trace(10), Contains(HasSubstr("to load all tconts from ConfD (err=-1)")));
    expect_nothing_held();
}

TEST_F(BandwidthLimit, a_full_link_of_128_onus_fits_to_the_last_kbit)
{
    struct Case {
        int rate;      // of 127 ONUs
        int last_rate; // of the last one
        std::string text;
    };
    const std::string excess =
        "Total bandwidth exceeds GPON interface 1/1/3 capacity (1107504 kbits/s)\n";
    // 128 * 560 of overhead leave 1035824.
    for (const Case &full :
         {Case{8090, 8090, ""}, Case{8090, 8394, ""}, Case{8090, 8395, excess}}) {
        const std::string lists = bandwidth("b", 2, assured(full.rate)) +
                                  bandwidth("last", 2, assured(full.last_rate)) + line("a", {"b"}) +
                                  line("z", {"last"});
        std::string onus = link(3, 128, "a");
        onus.replace(onus.rfind(">a<"), 3, ">z<");
        given("", card(lists, onus));
        EXPECT_EQ(ask_link(), full.text.empty() ? accepted() : rejected(full.text))
            << full.last_rate;
        expect_nothing_held();
    }
}

TEST_F(BandwidthLimit, both_excesses_are_told_total_first)
{
    given("", card(bandwidth("b", 1, fixed(1107000)) + line("a", {"b"}), link(3, 1, "a")));
    EXPECT_EQ(ask_link(),
              rejected("Total bandwidth exceeds GPON interface 1/1/3 capacity (1107504 kbits/s)\n"
                       "Fixed bandwidth exceeds GPON interface 1/1/3 capacity (442752 kbits/s)\n"));
    EXPECT_THAT(trace(12), ElementsAre("Bandwidth check enabled for this platform. Do check now...",
                                       "BW check: pl 3, fxd=1107000, total=1107000, overhead=560 "
                                       "(num_onus=1)"));
    EXPECT_THAT(trace(10).back(), HasSubstr("msecs to check ponlink bandwidth limit."));
}

TEST_F(BandwidthLimit, chunks_of_any_size_give_the_same_sums)
{
    const std::string full =
        card(bandwidth("b", 1, fixed(10)) + line("a", {"b"}), link(3, 128, "a"));
    for (const unsigned chunk : {0U, 1U, 7U, 128U, 500U}) {
        given("", full);
        forget_trace();
        set_num_onus_per_ponlink(chunk);
        EXPECT_EQ(ask_link(), accepted());
        EXPECT_THAT(trace(12), Contains("BW check: pl 3, fxd=1280, total=1280, overhead=71680 "
                                        "(num_onus=128)"))
            << "chunk " << chunk;
    }
}

TEST_F(BandwidthLimit, unknown_line_profiles_are_told_up_to_the_end_of_their_chunk)
{
    given("", card("", link(3, 3, "gone")));
    set_num_onus_per_ponlink(2);
    EXPECT_EQ(ask_link(), rejected("Line profile gone doesn't not exist."
                                   "Line profile gone doesn't not exist."));
    EXPECT_THAT(trace(12),
                ElementsAre("Bandwidth check enabled for this platform. Do check now...",
                            "Line profile gone not found.", "Line profile gone not found.",
                            "There was some error during line-profile iteration (err=-1)"));
    expect_nothing_held();
}

TEST_F(BandwidthLimit, the_global_check_counts_tconts_before_it_looks_at_the_switch)
{
    const std::string lists = bandwidth("d", 4, maximum(1)) + line("a", {"d", "d", "d", "d"});
    given("", card(lists, link(1, 1, "gone")));
    EXPECT_EQ(ask_all(), rejected("Line Profile a cannot have more than 3 TCONTs with bandwidth "
                                  "traffic type 2 to 5."));
    set_do_bw_check(false);
    forget_trace();
    EXPECT_EQ(ask_all(), accepted());
    EXPECT_THAT(trace(12), ElementsAre("Bandwidth check disabled for this platform."));
}

TEST_F(BandwidthLimit, the_global_check_stops_at_the_first_link_that_fails)
{
    given("", card(bandwidth("b", 1, fixed(500000)) + line("a", {"b"}),
                   link(10, 1, "a") + link(2, 1, "a") + link(1, 0, "")));
    EXPECT_EQ(ask_all(), rejected("Fixed bandwidth exceeds GPON interface 1/1/2 capacity (442752 "
                                  "kbits/s)\n"));
    EXPECT_THAT(trace(10), Contains("Check ponlink 1 bandwidth"));
    EXPECT_THAT(trace(10), Contains("Check ponlink 2 bandwidth"));
    EXPECT_THAT(trace(10), testing::Not(Contains("Check ponlink 10 bandwidth")));
    EXPECT_THAT(trace(10).back(), HasSubstr("msecs to check all ponlink bandwidth limit."));
    expect_nothing_held();
}

TEST_F(BandwidthLimit, reads_again_at_every_check)
{
    given("", card(bandwidth("b", 1, fixed(500000)) + line("a", {"b"}), link(3, 1, "a")));
    EXPECT_EQ(ask_link().result, CONFD_ERR);
    given("", card("", link(3, 1, "a")));
    EXPECT_EQ(ask_link(), rejected("Line profile a doesn't not exist."));
}

TEST_F(BandwidthLimit, asks_the_framework_for_no_more_than_it_needs)
{
    const std::string lists = bandwidth("b", 4, maximum(1)) + line("a", {"b"}) + line("c", {});
    given("", card(lists, link(3, 2, "a")));
    EXPECT_EQ(ask_link(), accepted());
    const auto &counts = engine::Hooks::instance().counts();
    EXPECT_EQ(counts.at("maapi_get_objects"), 3U) << "bandwidth profiles, T-CONTs of a and of c";
    EXPECT_EQ(counts.at("maapi_get_next"), 3U) << "two line profiles and the end";
    EXPECT_EQ(counts.at("maapi_query_start"), 1U);
    EXPECT_EQ(counts.at("maapi_query_result"), 2U) << "the ONUs and the end";
    EXPECT_EQ(counts.count("maapi_get_elem"), 0U);
}

TEST_F(BandwidthLimit, a_query_that_cannot_start_rejects_without_a_text)
{
    given("", card("", link(3, 1, "gone")));
    auto &hooks = engine::Hooks::instance();
    // The query for the ONUs fails, and all after it.
    hooks.fail_call(1, CONFD_ERR_OS, true);
    EXPECT_EQ(take_outcome(validate_ponlink_bw(sock(), tctx(), "3")), rejected(""));
    EXPECT_THAT(trace(12), ElementsAre("query failed for onu. err=forced failure"));
    hooks.fail_no_more();
    expect_nothing_held();
}

TEST_F(BandwidthLimit, values_of_an_unexpected_type_are_programming_errors)
{
    std::string name;
    std::uint32_t total = 0;
    std::uint32_t fixed_rate = 0;
    confd_value_t values[15];
    const auto decode = [&](int position, confd_vtype type, const std::vector<int> &good = {}) {
        for (auto &value : values) {
            CONFD_SET_NOEXISTS(&value);
        }
        for (const int other : good) {
            CONFD_SET_UINT32(&values[other], 1);
        }
        values[BW_CONFD_VAL_OFFSET_NAME] = engine::make_text_value("b");
        values[position].type = type;
        loadBwProf(values, name, total, fixed_rate);
    };
    struct Case {
        int position;
        const char *assertion;
        std::vector<int> good; // read before it
    };
    EXPECT_DEATH(decode(0, C_UINT32), "src/validation/gpon_bw_limit:[0-9]+: int loadBwProf.*"
                                      "\\(&values\\[BW_CONFD_VAL_OFFSET_NAME\\]\\)->type == C_BUF");
    for (const Case &wrong : {Case{3, "FX_T1", {}}, Case{5, "AS_T2", {}}, Case{7, "AS_T3", {}},
                              Case{8, "MX_T3", {7}}, Case{10, "MX_T4", {}}, Case{12, "FX_T5", {}},
                              Case{13, "AS_T5", {12}}, Case{14, "MX_T5", {12, 13}}}) {
        EXPECT_DEATH(decode(wrong.position, C_INT32, wrong.good),
                     "\\(&values\\[BW_CONFD_VAL_OFFSET_" + std::string(wrong.assertion) +
                         "\\]\\)->type == C_UINT32");
    }
}

} // namespace
