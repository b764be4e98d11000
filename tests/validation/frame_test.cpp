#include "fixture.h"

#include "elapsed_time.h"
#include "engine/data/keypath.h"
#include "trace.h"

#include <fm_host.h>

#include <chrono>
#include <thread>

extern "C" int host_in_c_finds_the_point(void);

namespace
{

using testing::ElementsAre;

PlatformSettings settings_after(const fm::Card &card)
{
    fm::use_card(card);
    EXPECT_EQ(lib_init(), 0);
    fm::use_card(fm::default_card());
    return platform_settings;
}

std::vector<std::int64_t> figures(const PlatformSettings &settings)
{
    return {settings.do_bw_check,          settings.max_tconts_bw_type_2_to_5,
            settings.max_tconts_bw_type_1, settings.num_onus_per_ponlink,
            settings.num_ponlinks,         settings.num_manageable_ponlinks};
}

class Frame : public CardTest
{
};

TEST_F(Frame, holds_defaults_until_the_platform_is_read)
{
    EXPECT_THAT(figures(platform_settings), ElementsAre(1, 3, 3, 128, 8, 8));
}

TEST_F(Frame, reads_the_capacities_of_the_card)
{
    fm::Card full;
    full.do_bw_check = false;
    full.max_onus_per_pon_link = 64;
    full.max_pon_links = 16;
    full.manageable_pon_links = 12;
    EXPECT_THAT(figures(settings_after(full)), ElementsAre(0, 4, 3, 64, 16, 12));
    // As the host reads them.
    EXPECT_FALSE(get_do_bw_check());
    EXPECT_EQ(get_num_onus_per_ponlink(), 64);
    EXPECT_EQ(get_num_ponlinks(), 16);
    EXPECT_EQ(get_num_manageable_ponlinks(), 12U);

    // A board that does not tell gives zeros; the switch stays on.
    EXPECT_THAT(figures(settings_after(fm::Card{})), ElementsAre(1, 3, 3, 0, 0, 0));

    // Without a figure of its own, every PON link is manageable.
    fm::Card links_only;
    links_only.max_pon_links = 4;
    EXPECT_THAT(figures(settings_after(links_only)), ElementsAre(1, 3, 3, 0, 4, 4));
}

TEST_F(Frame, says_what_fails_and_keeps_the_defaults_when_the_platform_fails)
{
    struct Case {
        int init_result;
        int local_slot_result;
        const char *text;
    };
    for (const Case &failing :
         {Case{1, 0, "Cannot initialize gpond confd validation lib. Error in fm_init\n"},
          Case{0, 7, "Cannot initialize gpond confd validation lib. Error in fm_local_slot\n"}}) {
        fm::Card card;
        card.max_pon_links = 4;
        card.init_result = failing.init_result;
        card.local_slot_result = failing.local_slot_result;
        fm::use_card(card);
        testing::internal::CaptureStderr();
        EXPECT_EQ(lib_init(), -1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), failing.text);
        EXPECT_THAT(figures(platform_settings), ElementsAre(1, 3, 3, 128, 8, 8));
    }
    fm::use_card(fm::default_card());
}

TEST_F(Frame, tcont_limits_follow_the_switch_both_ways)
{
    set_do_bw_check(false);
    EXPECT_THAT(figures(platform_settings), ElementsAre(0, 4, 3, 128, 8, 8));
    set_do_bw_check(true);
    EXPECT_THAT(figures(platform_settings), ElementsAre(1, 3, 3, 128, 8, 8));
}

TEST_F(Frame, names_its_validation_point_cut_to_the_buffer)
{
    char name[64] = {};
    EXPECT_EQ(get_validation_point(name, sizeof(name)), 0);
    EXPECT_STREQ(name, "gpon_validation_check");
    EXPECT_EQ(get_validation_point(name, 5), 0);
    EXPECT_STREQ(name, "gpon");
    EXPECT_EQ(host_in_c_finds_the_point(), 1);
}

TEST_F(Frame, accepts_an_unknown_key_without_asking_the_framework)
{
    given("");
    char key[] = "onu_bw_check_";
    tctx()->validate_opaque = key;
    confd_hkeypath_t keypath{};
    EXPECT_EQ(take_outcome(validate(tctx(), &keypath, nullptr)), accepted());
    EXPECT_THAT(engine::Hooks::instance().counts(), testing::IsEmpty());
    EXPECT_THAT(trace_lines(), testing::IsEmpty());
}

TEST_F(Frame, hands_a_request_to_the_validator_of_its_key)
{
    given("<interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>2</port-id>"
          "</gpon></interface><gpon><card>1/1</card><pon-link><port>2</port></pon-link></gpon>");
    char key[] = "onu_bw_check";
    tctx()->validate_opaque = key;
    confd_hkeypath_t keypath = keypath_of("/config/gpon{1/1}/pon-link{2}/port");
    EXPECT_EQ(take_outcome(validate(tctx(), &keypath, nullptr)), accepted());
    EXPECT_THAT(trace(kTraceDecision),
                testing::Contains("BW check: pl 2, fxd=0, total=0, overhead=0 (num_onus=0)"));
    engine::free_keypath(keypath);
}

TEST_F(Frame, trace_lines_carry_category_file_and_function)
{
    given("");
    set_do_bw_check(false);
    char key[] = "onu_bw_check";
    tctx()->validate_opaque = key;
    confd_hkeypath_t keypath{};
    EXPECT_EQ(take_outcome(validate(tctx(), &keypath, nullptr)), accepted());
    ASSERT_EQ(trace_lines().size(), 1U);
    const auto &line = trace_lines().front();
    EXPECT_EQ(line.category, "gpon-valid");
    EXPECT_EQ(line.file, "src/validation/gpon_bw_limit");
    EXPECT_EQ(line.function, "validate_max_bandwidth_ponlink");
    EXPECT_EQ(line.level, 12);
    EXPECT_EQ(line.text, "Bandwidth check disabled for this platform.");
}

TEST(FaultReport, names_the_fault_and_ends_the_process)
{
    EXPECT_EXIT(report_fault_and_exit("Reader", "src/validation/reader", 37, "size %d", 14),
                testing::ExitedWithCode(1), "Reader.*src/validation/reader.*37.*size 14");
    EXPECT_EXIT(report_fault_and_exit("f", "g", 1, "%s", std::string(400, 'x').c_str()),
                testing::ExitedWithCode(1), "[^x]x{349}[^x]");
}

TEST(Stopwatch, runs_until_it_is_stopped_and_starts_anew)
{
    using namespace std::chrono_literals;
    cl_ElapsedTime stopwatch;
    const auto begin = std::chrono::steady_clock::now();
    const int first = stopwatch.get_elapsed_time_usec();
    while (std::chrono::steady_clock::now() - begin < 3ms) {
    }
    EXPECT_GE(stopwatch.get_elapsed_time_usec(), first + 2000);
    EXPECT_GE(stopwatch.get_elapsed_time_msec(), 3);
    EXPECT_EQ(stopwatch.get_elapsed_time_sec(), 0);

    stopwatch.stop();
    const int frozen = stopwatch.get_elapsed_time_usec();
    const auto stopped_at = stopwatch.get_stop_time();
    while (std::chrono::steady_clock::now() - begin < 5ms) {
    }
    EXPECT_EQ(stopwatch.get_elapsed_time_usec(), frozen);
    EXPECT_EQ(stopwatch.get_elapsed_time_msec(), frozen / 1000);
    EXPECT_EQ(stopwatch.get_elapsed_time_sec(), frozen / 1000000);
    EXPECT_EQ(stopwatch.get_stop_time(), stopped_at);

    const auto restart = std::chrono::steady_clock::now();
    stopwatch.start();
    const int anew = stopwatch.get_elapsed_time_usec();
    EXPECT_LE(std::chrono::microseconds(anew), std::chrono::steady_clock::now() - restart);
}

} // namespace
