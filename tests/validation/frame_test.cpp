#include "fixture.h"

#include "elapsed_time.h"
#include "engine/data/keypath.h"
#include "trace.h"

#include <fm_host.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>

extern "C" int host_in_c_finds_the_point(void);

namespace
{

using testing::ElementsAre;

PlatformSettings settings_after(const fm::Card &card)
{
    fm::use_card(card);
    EXPECT_EQ(lib_init(), 0);
    EXPECT_EQ(lib_finish(), 0);
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

TEST_F(Frame, HoldsDefaultsUntilThePlatformIsRead)
{
    EXPECT_THAT(figures(platform_settings), ElementsAre(1, 3, 3, 128, 8, 8));
}

TEST_F(Frame, ReadsTheCapacitiesOfTheCard)
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

TEST_F(Frame, SaysWhatFailsAndKeepsTheDefaultsWhenThePlatformFails)
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

TEST_F(Frame, StoresAnyNumber)
{
    set_num_onus_per_ponlink(4294967295);
    set_num_ponlinks(2147483648);
    set_num_manageable_ponlinks(4294967294);
    EXPECT_THAT(figures(platform_settings), ElementsAre(1, 3, 3, -1, -2147483648LL, 4294967294LL));
}

TEST_F(Frame, TcontLimitsFollowTheSwitchBothWays)
{
    platform_settings.max_tconts_bw_type_1 = 7;
    set_do_bw_check(false);
    EXPECT_THAT(figures(platform_settings), ElementsAre(0, 4, 3, 128, 8, 8));
    set_do_bw_check(true);
    EXPECT_THAT(figures(platform_settings), ElementsAre(1, 3, 3, 128, 8, 8));
}

TEST_F(Frame, NamesItsValidationPointCutToTheBuffer)
{
    char name[64] = {};
    EXPECT_EQ(get_validation_point(name, sizeof(name)), 0);
    EXPECT_STREQ(name, "gpon_validation_check");
    EXPECT_EQ(get_validation_point(name, 5), 0);
    EXPECT_STREQ(name, "gpon");
    EXPECT_EQ(host_in_c_finds_the_point(), 1);
}

TEST_F(Frame, AcceptsAnUnknownKeyWithoutAskingTheFramework)
{
    given("");
    char key[] = "onu_bw_check_";
    tctx()->validate_opaque = key;
    confd_hkeypath_t keypath{};
    EXPECT_EQ(take_outcome(validate(tctx(), &keypath, nullptr)), accepted());
    EXPECT_THAT(engine::Hooks::instance().counts(), testing::IsEmpty());
    EXPECT_THAT(trace_lines(), testing::IsEmpty());
}

TEST_F(Frame, LetsAnExceptionOutThatTheHostMayKnow)
{
    given("");
    client().xpath_text = "2147483648";
    char key[] = "onu_snmp_rt_warn";
    tctx()->validate_opaque = key;
    confd_hkeypath_t keypath{};
    EXPECT_THROW(validate(tctx(), &keypath, nullptr), std::out_of_range);
}

TEST(FaultReport, NamesTheFaultAndEndsTheProcess)
{
    EXPECT_EXIT(report_fault_and_exit("Reader", "src/validation/reader", 37, "size %d", 14),
                testing::ExitedWithCode(1), "Reader.*src/validation/reader.*37.*size 14");
    EXPECT_EXIT(report_fault_and_exit("f", "g", 1, "%s", std::string(400, 'x').c_str()),
                testing::ExitedWithCode(1), "[^x]x{349}[^x]");
}

// Suites of this name come first: the category is created once, when a process first traces.
TEST(TraceCategoryDeathTest, IsAskedForAgainUntilTheMiddlewareIsUp)
{
    const auto in_new_process = [](int mistakes) { std::_Exit(mistakes); };
    EXPECT_EXIT(
        {
            velconfd::set_singleton_available(false);
            const bool none = get_trace_cat() == nullptr && get_trace_cat() == nullptr;
            velconfd::set_singleton_available(true);
            const zlog_category_t *category = get_trace_cat();
            velconfd::set_singleton_available(false);
            in_new_process(none && category != nullptr && get_trace_cat() == category ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EXIT(
        {
            client().no_category = true;
            const bool none = get_trace_cat() == nullptr;
            client().no_category = false; // The middleware is not asked again.
            in_new_process(none && get_trace_cat() == nullptr ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

class Stopwatch : public CardTest
{
protected:
    using Times = std::vector<std::int32_t>;

    /** Seconds, milliseconds, microseconds. */
    static Times read(const cl_ElapsedTime &stopwatch)
    {
        return {stopwatch.get_elapsed_time_sec(), stopwatch.get_elapsed_time_msec(),
                stopwatch.get_elapsed_time_usec()};
    }
};

TEST_F(Stopwatch, RunsUntilItIsStoppedAndStartsAnew)
{
    using namespace std::chrono_literals;
    client().clock = 5s;
    cl_ElapsedTime stopwatch;
    EXPECT_EQ(read(stopwatch), (Times{0, 0, 0}));
    *client().clock += 999999ns;
    EXPECT_EQ(read(stopwatch), (Times{0, 0, 999}));
    *client().clock += 2999ms;
    EXPECT_EQ(read(stopwatch), (Times{2, 2999, 2999999}));
    stopwatch.stop();
    *client().clock += 1h;
    EXPECT_EQ(read(stopwatch), (Times{2, 2999, 2999999}));
    EXPECT_EQ(stopwatch.get_stop_time(), cl_ElapsedTime::time_point(8s - 1ns));
    stopwatch.start();
    *client().clock += 1h; // The low 32 bits.
    EXPECT_EQ(read(stopwatch), (Times{3600, 3600000, static_cast<std::int32_t>(3600000000)}));

    // An instant is looked up once: a stopwatch that begins is not one that was stopped.
    client().clock_step = 1s;
    const cl_ElapsedTime running;
    EXPECT_EQ(read(running), (Times{1, 2000, 3000000}));
}

} // namespace
