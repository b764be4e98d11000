#include "fixture.h"

#include "gpon_itf_valid.h"
#include "support/card_xml.h"

#include <limits>

namespace
{

class GponInterfaces : public CardTest
{
protected:
    Outcome ask_interfaces() { return ask(validate_itf_gpon, "/config/interface/gpon"); }
};

TEST_F(GponInterfaces, AreAtLeastAsManyAsManageableLinks)
{
    given("", test_support::xml("interface", test_support::link(5)));
    struct Case {
        std::uint32_t manageable;
        Outcome outcome;
    };
    const Outcome too_few = rejected("GPON interfaces cannot be deleted.");
    for (const Case &card : {Case{0, accepted()}, Case{1, accepted()}, Case{2, too_few},
                             Case{std::numeric_limits<std::uint32_t>::max(), too_few}}) {
        set_num_manageable_ponlinks(card.manageable);
        EXPECT_EQ(ask_interfaces(), card.outcome) << card.manageable;
    }
    EXPECT_THAT(trace_lines(), testing::IsEmpty());
}

} // namespace
