/** Events and subscriptions. */
#include "twin/context.h"

#include "twin/notifications.h"

#include <gmock/gmock.h>

using namespace host::twin;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

const Author kEve{"eve", "operator", 7, "ssh", "127.0.0.1"};
const Author kServer{};

class Events : public testing::Test
{
protected:
    static ly_ctx *context()
    {
        static const auto made = test_support::make_context();
        return made.get();
    }

    static EventTime at(int second)
    {
        return event_time_of("2026-11-22T06:00:00Z").value() + std::chrono::seconds(second);
    }

    /** Whether the model knows it. Targets are instances, so the data must be there. */
    static void expect_valid(const std::string &body)
    {
        const Tree data = test_support::parse_data(
            context(), "<config xmlns='urn:olt:gpon:base'><profile><gpon><rg-profile><name>1</name>"
                       "</rg-profile></gpon></profile></config>");
        ly_in *input = nullptr;
        ly_in_new_memory(body.c_str(), &input);
        lyd_node *parsed = nullptr;
        const LY_ERR result =
            lyd_parse_op(context(), nullptr, input, LYD_XML, LYD_TYPE_NOTIF_YANG, &parsed, nullptr);
        ly_in_free(input, 0);
        const Tree tree(parsed);
        ASSERT_EQ(result, LY_SUCCESS) << body;
        // The model has who confirmed on a condition that cannot hold: it looks for the event
        // beside the notification, not in it.
        if (body.find("<confirm-event>start") == std::string::npos) {
            EXPECT_EQ(lyd_validate_op(parsed, data.get(), LYD_TYPE_NOTIF_YANG, nullptr), LY_SUCCESS)
                << body << ": " << ly_errmsg(context());
        }
    }

    /** Deliveries as texts: session, second and what is in the body's name. */
    static std::vector<std::string> texts(const std::vector<Delivery> &deliveries)
    {
        std::vector<std::string> texts;
        for (const auto &one : deliveries) {
            const auto &body = one.event.body;
            texts.push_back(std::to_string(one.session) + " " +
                            text_of(one.event.time).substr(17, 2) + " " +
                            body.substr(1, body.find_first_of(" />", 1) - 1));
        }
        return texts;
    }

    /** What it says at once, or its error. */
    std::vector<std::string> subscribe(std::uint32_t session, SubscriptionRequest request, int now)
    {
        std::vector<Delivery> replay;
        if (const auto refusal = m_log.subscribe(session, std::move(request), at(now), replay)) {
            return {refusal->error_tag + std::string(" ") + refusal->bad_element};
        }
        return texts(replay);
    }

    std::vector<std::string> publish(int now, const Author &author = kEve)
    {
        return texts(m_log.publish({at(now), session_start_body(author)}));
    }

    Notifications m_log{context(), at(0), 3};
};

constexpr const char *kStart = "netconf-session-start";

std::string line(int session, const char *second, const std::string &body = kStart)
{
    return std::to_string(session) + " " + second + " " + body;
}

TEST_F(Events, HaveTheBodiesOfTheModel)
{
    const std::string ns = " xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-notifications\">";
    const std::string eve = "<username>eve</username><session-id>7</session-id>"
                            "<source-host>127.0.0.1</source-host>";
    const std::string target = "/base:config/base:profile/base:gpon/base:rg-profile[base:name='1']";
    const std::pair<std::string, std::string> bodies[] = {
        {config_change_body(kEve, "running", {{target, "create"}},
                            {{"base", "urn:olt:gpon:base"}, {"b", "urn:none"}}),
         "<netconf-config-change" + ns + "<changed-by>" + eve +
             "</changed-by><datastore>running</datastore><edit>"
             "<target xmlns:base=\"urn:olt:gpon:base\">" +
             target + "</target><operation>create</operation></edit></netconf-config-change>"},
        {config_change_body(kServer, "startup", {}, {}),
         "<netconf-config-change" + ns +
             "<changed-by><server/></changed-by><datastore>startup</datastore>"
             "</netconf-config-change>"},
        {session_start_body({"<a&b>", "", 3, "unix", ""}),
         "<netconf-session-start" + ns +
             "<username>&lt;a&amp;b&gt;</username><session-id>3</session-id>"
             "</netconf-session-start>"},
        {session_end_body(kEve, "killed", 9),
         "<netconf-session-end" + ns + eve +
             "<killed-by>9</killed-by><termination-reason>killed</termination-reason>"
             "</netconf-session-end>"},
        {confirmed_commit_body(kEve, ConfirmEvent::kStart, std::chrono::seconds(60)),
         "<netconf-confirmed-commit" + ns + eve +
             "<confirm-event>start</confirm-event><timeout>60</timeout>"
             "</netconf-confirmed-commit>"},
        {confirmed_commit_body(kEve, ConfirmEvent::kTimeout, std::chrono::seconds(60)),
         "<netconf-confirmed-commit" + ns +
             "<confirm-event>timeout</confirm-event></netconf-confirmed-commit>"},
        {replay_complete_body(),
         "<replayComplete xmlns=\"urn:ietf:params:xml:ns:netmod:notification\"/>"}};
    for (const auto &[body, expected] : bodies) {
        EXPECT_EQ(body, expected);
        expect_valid(body);
    }
}

TEST_F(Events, HaveTimesInUtc)
{
    EXPECT_EQ(text_of(event_time_of("2026-11-22T08:00:01.25+02:00").value()),
              "2026-11-22T06:00:01.250Z");
    for (const char *text :
         {"", "yesterday", "2026-11-22", "2026-11-22T08:00:01", "2026-11-22T8:00Z"}) {
        EXPECT_FALSE(event_time_of(text)) << text;
    }
}

TEST_F(Events, GoToWhoHasSubscribed)
{
    EXPECT_THAT(publish(1), IsEmpty());
    EXPECT_THAT(subscribe(5, {}, 2), IsEmpty());
    EXPECT_THAT(subscribe(6, {}, 2), IsEmpty());
    EXPECT_THAT(subscribe(6, {}, 2), ElementsAre("in-use "));
    EXPECT_THAT(publish(3), ElementsAre(line(5, "03"), line(6, "03")));
    m_log.session_ended(5);
    EXPECT_THAT(publish(4), ElementsAre(line(6, "04")));
}

TEST_F(Events, AreReplayedAsFarAsTheLogReaches)
{
    for (int second = 1; second <= 4; ++second) {
        publish(second);
    }
    EXPECT_EQ(m_log.log_aged(), at(1));
    EXPECT_EQ(m_log.log_created(), at(0));
    EXPECT_THAT(subscribe(5, {"NETCONF", at(3)}, 9),
                ElementsAre(line(5, "03"), line(5, "04"), line(5, "09", "replayComplete")));
    EXPECT_THAT(subscribe(6, {"NETCONF", at(0), at(3)}, 9),
                ElementsAre(line(6, "02"), line(6, "03"), line(6, "09", "replayComplete"),
                            line(6, "09", "notificationComplete")));
    EXPECT_FALSE(m_log.is_subscribed(6));
    EXPECT_THAT(subscribe(6, {"NETCONF", at(9), at(12)}, 9),
                ElementsAre(line(6, "09", "replayComplete")));
    EXPECT_EQ(m_log.deadline(), at(12));
    EXPECT_THAT(texts(m_log.expire(at(11))), IsEmpty());
    EXPECT_THAT(publish(12), ElementsAre(line(5, "12"), line(6, "12")));
    EXPECT_THAT(publish(13), ElementsAre(line(5, "13"))) << "late to expire";
    EXPECT_THAT(texts(m_log.expire(at(12))), ElementsAre(line(6, "12", "notificationComplete")));
    EXPECT_FALSE(m_log.deadline());
}

TEST_F(Events, AreRefusedForNonsense)
{
    EXPECT_THAT(subscribe(5, {"SNMP"}, 2), ElementsAre("invalid-value stream"));
    EXPECT_THAT(subscribe(5, {"NETCONF", at(3)}, 2), ElementsAre("bad-element startTime"));
    EXPECT_THAT(subscribe(5, {"NETCONF", {}, at(3)}, 2), ElementsAre("missing-element startTime"));
    EXPECT_THAT(subscribe(5, {"NETCONF", at(2), at(1)}, 2), ElementsAre("bad-element stopTime"));
    EXPECT_THAT(subscribe(5, {"NETCONF", {}, {}, {}, "/no:thing["}, 2),
                ElementsAre("invalid-value filter"));
    EXPECT_FALSE(m_log.is_subscribed(5));
}

TEST_F(Events, AreFiltered)
{
    FilterNode name{"", "username", {}, "eve", {}};
    const SubtreeFilter subtree({{"", "netconf-session-start", {}, "", {name}}});
    subscribe(5, {"NETCONF", {}, {}, subtree}, 1);
    subscribe(6,
              {"NETCONF",
               {},
               {},
               {},
               "/ietf-netconf-notifications:netconf-session-start[username!='eve']"},
              1);
    EXPECT_THAT(publish(2), ElementsAre(line(5, "02")));
    EXPECT_THAT(publish(3, {"bob", "", 4, "", ""}), ElementsAre(line(6, "03")));
}

} // namespace
