/** What is told to fit is what the bandwidth check takes; what golden cases cannot show of it. */
#include "program_runner.h"

#include "headroom/headroom_page.h"
#include "headroom/survey.h"
#include "support/card_xml.h"
#include "support/model.h"
#include "support/open_card.h"

#include <random>

using namespace test_support;
using testing::HasSubstr;
using testing::Not;

namespace
{

using Random = std::mt19937;

unsigned any(Random &random, unsigned least, unsigned most)
{
    return std::uniform_int_distribution(least, most)(random);
}

std::string rate(const char *name, unsigned kbps)
{
    return xml(name, std::to_string(kbps));
}

std::string numbered(const char *letter, unsigned number)
{
    return std::string(letter).append(std::to_string(number));
}

/** Any traffic type, with rates from next to nothing to more than a link has. */
std::string random_traffic(Random &random)
{
    unsigned rates[3];
    for (unsigned &each : rates) {
        each = 1U << any(random, 5, 19);
        each += any(random, 0, each);
    }
    std::sort(std::begin(rates), std::end(rates));
    const auto [least, middle, most] = rates;
    switch (any(random, 1, 5)) {
    case 1:
        return xml("type-1", rate("fixed", least));
    case 2:
        return xml("type-2", rate("assured", middle));
    case 3:
        return xml("type-3", rate("assured", least) + rate("maximum", most));
    case 4:
        return xml("type-4", rate("maximum", most));
    default:
        return xml("type-5",
                   rate("fixed", least) + rate("assured", middle) + rate("maximum", most));
    }
}

std::string random_onus(Random &random, unsigned first, unsigned count, unsigned lines)
{
    std::string onus;
    for (unsigned id = first; id < first + count; ++id) {
        onus += onu(static_cast<int>(id),
                    xml("profile-references/line-profile", numbered("l", any(random, 1, lines))));
    }
    return onus;
}

constexpr unsigned kLines = 6;
constexpr unsigned kLinks = 3;

/** A card whose links are empty, partly filled or overbooked. */
std::string random_card(Random &random)
{
    std::string profiles;
    for (unsigned i = 1; i <= kLines; ++i) {
        profiles +=
            named("bandwidth-profile", numbered("b", i), xml("traffic", random_traffic(random)));
    }
    for (unsigned i = 1; i <= kLines; ++i) {
        std::string tconts;
        for (unsigned id = any(random, 0, 3); id > 0; --id) {
            tconts += xml("tcont", rate("id", id) + xml("bandwidth-profile",
                                                        numbered("b", any(random, 1, kLines))));
        }
        profiles += named("line-profile", numbered("l", i), tconts);
    }
    std::string links;
    std::string settings;
    for (unsigned i = 1; i <= kLinks; ++i) {
        links += link(static_cast<int>(i), random_onus(random, 1, any(random, 0, 12), kLines));
        settings += xml("pon-link", rate("port", i));
    }
    return config_xml(xml("profile/gpon", profiles) + xml("interface", links) +
                      xml("gpon", xml("card", "1/1") + settings));
}

/** Whether onu_bw_check takes so many ONUs more, with the highest numbers. */
bool takes(host::Checker &checker, unsigned port, const std::string &line, unsigned more)
{
    std::string onus;
    for (unsigned i = 0; i < more; ++i) {
        onus += onu(static_cast<int>(128 - i), xml("profile-references/line-profile", line));
    }
    host::Policy policy;
    policy.in_process = true;
    policy.only = {
        {"onu_bw_check", "/config/gpon{1/1}/pon-link{" + std::to_string(port) + "}/upstream"}};
    host::CheckListener nobody;
    const host::Outcome outcome = checker.check(
        {host::ChangeForm::kEdit,
         {"more.xml", config_xml(xml("interface", link(static_cast<int>(port), onus))), {}}},
        policy, nobody);
    EXPECT_EQ(outcome.runs.size(), 1U) << full_report(outcome);
    return outcome.result() == host::Result::kAccepted;
}

TEST(Headroom, TellsWhatTheBandwidthCheckTakes)
{
    std::map<host::RoomLimit, int> told;
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        fm::Card card = fm::default_card();
        const auto checker = open_card(card, random_card(random));
        host::CheckListener nobody;
        const host::Figures figures = host::survey(*checker, {}, {}, nobody).figures;
        ASSERT_EQ(figures.links.size(), kLinks);
        const host::LinkFigures &link = figures.links[any(random, 0, kLinks - 1)];
        for (std::size_t line = 0; line < kLines; ++line) {
            const host::Room &room = link.room[line];
            SCOPED_TRACE(link.name + " " + figures.lines[line].name + " " +
                         std::to_string(room.more));
            ++told[room.limit];
            const bool is_full_already = !takes(*checker, link.port, "l1", 0);
            if (room.more > 0 || !is_full_already) {
                EXPECT_TRUE(takes(*checker, link.port, figures.lines[line].name, room.more));
            }
            if (room.limit == host::RoomLimit::kOnus) {
                EXPECT_EQ(link.onus + room.more, 128U);
                EXPECT_GT(room.by_bandwidth, room.more);
            } else {
                EXPECT_FALSE(takes(*checker, link.port, figures.lines[line].name, room.more + 1));
            }
        }
    }
    EXPECT_GT(told[host::RoomLimit::kGuaranteed], 20);
    EXPECT_GT(told[host::RoomLimit::kFixed], 10);
    EXPECT_GT(told[host::RoomLimit::kOnus], 10);
}

class HeadroomProgram : public ProgramTest
{
protected:
    std::string page_of(const std::string &inside)
    {
        const ProgramRun done = run({"headroom", "--running", file("a<b>.xml", config_xml(inside)),
                                     "--html", path("page.html")});
        EXPECT_EQ(done.code, 0) << done;
        return read("page.html");
    }
};

TEST_F(HeadroomProgram, KeepsMarkupAndSecretsOutOfThePage)
{
    const auto identified = [](int id, const std::string &serial, const std::string &password) {
        return onu(id,
                   xml("auth-method", xml("serial-number", serial) + xml("password", password)));
    };
    const std::string page =
        page_of(xml("profile/gpon", named("line-profile", "&lt;script>&amp;'")) +
                xml("interface", link(1, identified(1, "abcd00000001", "Secret1") +
                                             identified(2, "ABCD00000001", "secret1") +
                                             identified(3, "EFGH0000000a", "other") +
                                             identified(4, "EFGH0000000A", "others"))));
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;&amp;'"));
    EXPECT_THAT(page, Not(HasSubstr("<script")));
    EXPECT_THAT(page, HasSubstr("abcd00000001</td><td>1/1/1 ONU 1, 1/1/1 ONU 2"));
    EXPECT_THAT(page, Not(HasSubstr("ONU 3, 1/1/1 ONU 4"))) << "the rule itself rejects those";
    EXPECT_THAT(page, HasSubstr("passwords</th><td>not shown</td><td>1/1/1 ONU 1, 1/1/1 ONU 2"));
    EXPECT_THAT(page, Not(testing::ContainsRegex("[Ss]ecret1")));
    EXPECT_THAT(page, HasSubstr("a&lt;b&gt;.xml"));
}

TEST_F(HeadroomProgram, IsNoInputOfItsOwn)
{
    const std::string running = file("running.xml", kRunning);
    EXPECT_EQ(run({"headroom", "--running", running, "--html", running}).code, 3);
    EXPECT_EQ(read("running.xml"), kRunning);
    const ProgramRun dead =
        run({"headroom", "--running", running, "--plugin", kScripted, "--json"});
    EXPECT_EQ(dead.code, 0) << dead;
    setenv("GPON_TEST_SCRIPT", "onu_snmp_rt_warn=fault", 1);
    const ProgramRun died = run({"headroom", "--running", running, "--plugin", kScripted});
    EXPECT_EQ(died.code, 4) << died;
    EXPECT_THAT(died.out, HasSubstr("no settings"));
    EXPECT_THAT(died.err, HasSubstr("died"));
}

} // namespace
