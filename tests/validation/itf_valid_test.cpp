#include "fixture.h"

#include "card_xml.h"
#include "gpon_itf_valid.h"

#include <limits>

namespace
{

using card_xml::link;

class GponInterfaces : public CardTest
{
protected:
    Outcome ask_interfaces() { return ask(validate_itf_gpon, "/config/interface/gpon"); }
};

TEST_F(GponInterfaces, are_at_least_as_many_as_manageable_links)
{
    given("", link(5));
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

TEST_F(GponInterfaces, a_count_that_cannot_be_read_rejects_without_a_text)
{
    given(link(1));
    set_num_manageable_ponlinks(0);
    engine::Hooks::instance().fail_call(1, CONFD_ERR_OS);
    EXPECT_EQ(ask_interfaces(), rejected(""));
    EXPECT_THAT(trace(12), testing::ElementsAre("Failed getting gpon ports (forced failure)"));
}

} // namespace
