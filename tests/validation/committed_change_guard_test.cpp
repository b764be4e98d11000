#include "card_xml.h"
#include "fixture.h"

#include "committed_change_guard.h"

#include <base.h>

namespace
{

using testing::ElementsAre;
using testing::Pair;

const Outcome kProfile = rejected("Changing already committed profile is not allowed.");
const Outcome kServicePort = rejected("Changing already committed service port is not allowed.");

/** The number of a service port may be the very number of the list's tag. */
const std::string kId = std::to_string(base_service_port);

/** A bandwidth profile and a service port, each with one leaf to edit. Defaults are written out:
 * nobody adds them to the candidate, and their absence would be an edit. */
std::string card(int rate, const std::string &service_port_state)
{
    return card_xml::profiles(card_xml::named("bandwidth-profile", "b",
                                              "<traffic><type-1><fixed>" + std::to_string(rate) +
                                                  "</fixed></type-1></traffic>")) +
           "<service-port><id>" + kId +
           "</id><gpon><id>1/1/3</id><onu><id>5</id><gem><gem-id>1</gem-id>"
           "</gem></onu></gpon><admin-state>" +
           service_port_state +
           "</admin-state><action><operation>transparent</operation></action>"
           "<statistics>false</statistics></service-port>";
}

class CommittedChange : public CardTest
{
protected:
    void given_edits(int rate, const std::string &service_port_state)
    {
        given(card(1, "enabled"), card(rate, service_port_state));
    }
};

TEST_F(CommittedChange, sees_the_edits_below_the_validated_node_only)
{
    const std::string profiles = "/config/profile/gpon/bandwidth-profile";
    const std::string service_ports = "/config/service-port";
    struct Case {
        int rate;
        const char *service_port_state;
        std::string path;
        Outcome outcome;
    };
    for (const Case &edit : {
             Case{1, "enabled", profiles, accepted()},
             Case{2, "enabled", profiles, kProfile},
             Case{2, "enabled", service_ports, accepted()},
             Case{1, "disabled", service_ports, kServicePort},
             Case{1, "disabled", profiles, accepted()},
             // It is the list's own name, last in the path, that makes the text.
             Case{1, "disabled", service_ports + "{" + kId + "}", kProfile},
         }) {
        given_edits(edit.rate, edit.service_port_state);
        EXPECT_EQ(ask(validate_config_modify, edit.path), edit.outcome)
            << edit.path << ", rate " << edit.rate << ", " << edit.service_port_state;
        EXPECT_THAT(engine::Hooks::instance().counts(),
                    ElementsAre(Pair("maapi_keypath_diff_iterate", 1)));
        expect_nothing_held();
    }
    EXPECT_THAT(trace_lines(), testing::IsEmpty());
}

TEST_F(CommittedChange, is_accepted_when_the_changes_cannot_be_walked)
{
    given_edits(2, "enabled");
    EXPECT_THAT(ask_with_each_call_failing(validate_config_modify,
                                           "/config/profile/gpon/bandwidth-profile"),
                ElementsAre(accepted()));
}

TEST_F(CommittedChange, walk_goes_past_what_is_no_edit_and_ends_at_the_first_edit)
{
    bool edited = false;
    for (const auto op : {MOP_CREATED, MOP_DELETED, MOP_VALUE_SET, MOP_MOVED_AFTER, MOP_ATTR_SET}) {
        EXPECT_EQ(diffIter(nullptr, op, nullptr, nullptr, &edited), ITER_CONTINUE) << op;
    }
    EXPECT_FALSE(edited);
    EXPECT_EQ(diffIter(nullptr, MOP_MODIFIED, nullptr, nullptr, &edited), ITER_STOP);
    EXPECT_TRUE(edited);
    EXPECT_EQ(diffIter(nullptr, MOP_CREATED, nullptr, nullptr, &edited), ITER_STOP);
}

} // namespace
