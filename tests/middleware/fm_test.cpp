#include <fm_gpond.h>
#include <fm_host.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace
{

using testing::HasSubstr;

/** All that the facility tells about a slot; what a call does not give is "-". */
std::string told_about(const fm_slot_t &slot)
{
    bool enabled = true;
    uint32_t count = 77;
    const bool has_switch = fm_scalar_card_gpond_do_bw_check(&slot, &enabled) == 0;
    const bool has_count = fm_scalar_card_gpond_manageable_pon_links(&slot, &count) == 0;
    EXPECT_TRUE(has_switch || enabled) << "an output stays when there is nothing to tell";
    EXPECT_TRUE(has_count || count == 77);
    auto *const onus = fm_oper_card_gpond_get_max_num_onu_per_ponlink_from_board(&slot);
    auto *const links = fm_oper_card_gpond_get_max_num_ponlink_from_board(&slot);
    const std::string none = "-";
    return (has_switch ? enabled ? "on" : "off" : none) + " " +
           (has_count ? std::to_string(count) : none) + " " +
           (onus != nullptr ? std::to_string(onus(0)) + "," + std::to_string(onus(3)) : none) +
           " " + (links != nullptr ? std::to_string(links()) : none);
}

class Facility : public testing::Test
{
protected:
    ~Facility() override { fm::use_card(fm::default_card()); }

    /** Makes this the card and initialises the facility. */
    static fm_slot_t start(const fm::Card &card)
    {
        fm::use_card(card);
        EXPECT_EQ(fm_init(), 0);
        fm_slot_t slot{};
        EXPECT_EQ(fm_local_slot(&slot), 0);
        return slot;
    }
};

constexpr const char *kNothing = "- - - -";

TEST_F(Facility, TellsWhatTheCardGivesAboutItsOwnSlot)
{
    const fm_slot_t slot = start(fm::parse_card(R"({"do_bw_check": false, "chassis": 2, "slot": 9,
        "manageable_pon_links": 4, "max_onus_per_pon_link": 64, "max_pon_links": 16})"));
    EXPECT_EQ(slot.chassis, 2U);
    EXPECT_EQ(slot.slot, 9U);
    EXPECT_EQ(told_about(slot), "off 4 64,64 16");
    EXPECT_EQ(told_about({2, 10}), kNothing);
    EXPECT_EQ(told_about({3, 9}), kNothing);
    EXPECT_EQ(told_about(start(fm::Card{})), kNothing);
}

TEST_F(Facility, TellsNothingUntilItIsInitialised)
{
    fm::use_card(fm::default_card());
    fm_slot_t slot = {7, 7};
    EXPECT_NE(fm_local_slot(&slot), 0);
    EXPECT_EQ(told_about({1, 1}), kNothing);

    auto card = fm::default_card();
    card.init_result = -5;
    fm::use_card(card);
    EXPECT_EQ(fm_init(), -5);
    EXPECT_NE(fm_local_slot(&slot), 0);
    EXPECT_EQ(told_about({1, 1}), kNothing);

    card.init_result = 0;
    card.local_slot_result = 3;
    fm::use_card(card);
    ASSERT_EQ(fm_init(), 0);
    EXPECT_EQ(fm_local_slot(&slot), 3);
    EXPECT_EQ(slot.chassis, 7U);
    EXPECT_EQ(slot.slot, 7U);
}

TEST(ReadCard, TakesWhatIsGivenAndLeavesTheRestOut)
{
    const auto card = fm::parse_card(R"({"manageable_pon_links": 4294967295,
        "max_onus_per_pon_link": 2147483647, "max_pon_links": 0,
        "init_result": -1, "local_slot_result": 5})");
    EXPECT_EQ(card.manageable_pon_links, 4294967295U);
    EXPECT_EQ(card.max_onus_per_pon_link, 2147483647);
    EXPECT_EQ(card.max_pon_links, 0);
    EXPECT_EQ(card.init_result, -1);
    EXPECT_EQ(card.local_slot_result, 5);
    EXPECT_EQ(card.chassis, 1U);
    EXPECT_EQ(card.slot, 1U);

    const auto bare = fm::parse_card("{}");
    EXPECT_FALSE(bare.do_bw_check || bare.manageable_pon_links || bare.max_onus_per_pon_link ||
                 bare.max_pon_links);
    EXPECT_EQ(bare.init_result, 0);
    EXPECT_EQ(bare.local_slot_result, 0);
}

/** What reading a card says about a text; empty when it takes it. */
std::string complaint_about(const std::string &text)
{
    try {
        fm::parse_card(text);
        return "";
    } catch (const std::runtime_error &error) {
        return error.what();
    }
}

TEST(ReadCard, RefusesWhatItWouldHaveToGuess)
{
    const struct {
        const char *text;
        const char *complaint;
    } cases[] = {
        {R"({"max_pon_link": 8})", "unknown member max_pon_link; known are chassis, do_bw_check"},
        {R"({"do_bw_check": 1})", "do_bw_check is 1; it must be true or false"},
        {R"({"max_pon_links": "8"})",
         "max_pon_links is \"8\"; it must be a whole number from 0 to 2147483647"},
        {R"({"max_pon_links": 8.5})", "max_pon_links is 8.5; it must be a whole number"},
        {R"({"max_pon_links": null})", "max_pon_links is null; it must be"},
        {R"({"max_onus_per_pon_link": -1})", "max_onus_per_pon_link is -1; it must be"},
        {R"({"max_pon_links": 2147483648})", "max_pon_links is 2147483648; it must be"},
        {R"({"manageable_pon_links": 4294967296})", "from 0 to 4294967295"},
        {R"({"manageable_pon_links": 18446744073709551615})", "is 18446744073709551615; it"},
        {R"({"manageable_pon_links": -1})", "manageable_pon_links is -1; it must be"},
        {R"({"slot": -1})", "slot is -1; it must be"},
        {R"({"init_result": 2147483648})", "from -2147483648 to 2147483647"},
        {R"({"slot": 1, "slot": 2})", "slot: duplicate member"},
        {"[]", "a card is a JSON object"},
        {"", "parse error at line 1"},
        {"{\n\"slot\": }", "parse error at line 2"},
        {"{} {}", "parse error at line 1"},
        {R"({"slot": 1e999})", "number overflow"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_THAT(complaint_about(c.text), HasSubstr(c.complaint));
    }
}

} // namespace
