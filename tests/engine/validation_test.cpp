#include "engine/session/validation.h"

#include "engine/data/yang_check.h"
#include "engine/edit/edit.h"
#include "small_model.h"
#include "support/card_xml.h"
#include "support/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

using namespace test_support;
using engine::Datastore;
using engine::Framework;
using engine::Request;
using engine::Verdict;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

using Lines = std::vector<std::string>;

/** Opaque string, path and cause of each request, in order. */
Lines planned(Datastore running, Datastore candidate)
{
    Framework framework(std::move(running));
    Lines lines;
    for (const auto &request : engine::plan(framework.begin(std::move(candidate)))) {
        lines.push_back(request.point->opaque + " " + engine::path_of(request) + " <- " +
                        request.cause);
    }
    return lines;
}

/** The requests that an edit of the card calls for; with a rule, only that rule's. */
Lines asked(const std::string &running, const std::string &edit, const std::string &rule = "")
{
    auto committed = checked_config(running);
    auto candidate = engine::apply_edit(committed, {"edit.xml", config_xml(edit)});
    engine::check_yang(candidate, "edit.xml");
    Lines some;
    for (const auto &line : planned(std::move(committed), std::move(candidate))) {
        if (line.rfind(rule + " ", 0) == 0 || rule.empty()) {
            some.push_back(rule.empty() ? line : line.substr(rule.size() + 1));
        }
    }
    return some;
}

std::string interfaces(const std::string &links)
{
    return xml("interface", links);
}

std::string serial(const std::string &number)
{
    return xml("auth-method/serial-number", number);
}

const std::string kCard =
    xml("gpon", xml("card", "1/1") + xml("pon-link/port", "1") + xml("pon-link/port", "2"));

TEST(Plan, AsksNothingWhenNothingChanged)
{
    EXPECT_THAT(asked(port(1) + kCard + onu_5(""), ""), IsEmpty());
    EXPECT_THAT(asked(port(1), port_edit(1, xml("statistics", "false"))), IsEmpty());
}

TEST(Plan, AsksByPriorityThenModelAndOnceForAList)
{
    const auto expected = [](const std::string &cause) {
        const auto rest = " /config/service-port <- " + cause;
        return Lines{"config_modified_check" + rest, "service_port_global_validation" + rest,
                     "service_port_delete_all_warning_check" + rest};
    };
    EXPECT_EQ(asked(port(1) + port(2), port_edit(2, xml("description", "x"))),
              expected("/config/service-port{2}/description"));
    // Also when no entry is left.
    EXPECT_EQ(asked(port(1), port_edit(1, "", kDelete)), expected("/config/service-port{1}"));
}

TEST(Plan, RelativeDependenciesReachTheSameEntryAndAbsoluteOnesAll)
{
    const auto profile = [](const std::string &operation) {
        return xml("profile/gpon/line-profile",
                   xml("name", "l") + xml("gem", xml("gem-id", "1"), operation));
    };
    const auto running = port(1) + port(2) + kCard + profile("");
    EXPECT_THAT(asked(running, port_edit(2, xml("gpon/id", "1/1/4")), "sp_gem_check"),
                ElementsAre("/config/service-port{2}/gpon <- /config/service-port{2}/gpon/id"));
    const std::string gem = " <- /config/profile/gpon/line-profile{l}/gem{1}";
    EXPECT_THAT(
        asked(running, profile(kDelete)),
        ElementsAre("sp_gem_check /config/service-port{1}/gpon" + gem,
                    "sp_gem_check /config/service-port{2}/gpon" + gem,
                    "ponlink_bw_check /config/profile/gpon/line-profile" + gem,
                    "onu_bw_check /config/gpon{1/1}/pon-link{1}/upstream" + gem,
                    "onu_bw_check /config/gpon{1/1}/pon-link{2}/upstream" + gem,
                    "line_confirmation_warning /config/profile/gpon/line-profile{l}" + gem));
}

TEST(Plan, APointOnceIsAskedForEachParentThatTheChangeReaches)
{
    const auto running = kCard + interfaces(link(1, onu(1)) + link(2) +
                                            link(3, onu(1, serial("ABCD0001")) + onu(2)));
    const auto check = [&](const std::string &edit) {
        return asked(running, edit, "onu_pwd_sn_unique_check");
    };
    const std::string path = "/config/interface/gpon{1 1 ";
    EXPECT_THAT(check(interfaces(link(3, onu(1, serial("ABCD0002")) + onu(2, serial("ABCD0001"))))),
                ElementsAre(path + "3}/onu <- " + path + "3}/onu{1}/auth-method/serial-number"));
    const std::string method = " <- /config/gpon{1/1}/onu-auth-method";
    EXPECT_THAT(
        check(xml("gpon", xml("card", "1/1") + xml("onu-auth-method", "password"))),
        ElementsAre(path + "1}/onu" + method, path + "2}/onu" + method, path + "3}/onu" + method));
    EXPECT_THAT(check(interfaces(link(4, onu(7, serial("ABCD0007"))))),
                ElementsAre(path + "4}/onu <- " + path + "4}"));
    EXPECT_THAT(check(interfaces(link(3, onu(1, "", kDelete)))),
                ElementsAre(path + "3}/onu <- " + path + "3}/onu{1}"));
}

TEST(Plan, TakesLeavesAndContainersThatAreThereByDefault)
{
    const auto fec = [](const std::string &running, const std::string &edit) {
        return asked(interfaces(running), interfaces(edit), "fec_confirmation_warning");
    };
    const auto on = xml("upstream-fec", "true");
    const std::string entry = "/config/interface/gpon{1 1 2}";
    const std::string changed = entry + "/upstream-fec <- " + entry + "/upstream-fec";
    EXPECT_THAT(fec(link(1) + link(2), link(2, on)), ElementsAre(changed));
    EXPECT_THAT(fec(link(2, on), link(2, xml("upstream-fec", "", kDelete))), ElementsAre(changed));
    EXPECT_THAT(fec(link(1), link(2)), ElementsAre(entry + "/downstream-fec <- " + entry,
                                                   entry + "/upstream-fec <- " + entry));

    // The container stays when all in it is deleted; a leaf and a presence container do not.
    const auto running = xml("profile/gpon/rg-profile/name", "r") +
                         onu_5(xml("rg-profile", "r") + management() +
                               xml("rg-override-parameters/pppoe-username", "u"));
    const auto edit = onu_5(xml("rg-profile", "", kDelete) + xml("management", "", kDelete) +
                            xml("rg-override-parameters", "", kDelete));
    const std::string path = "/config/interface/gpon{1 1 3}/onu{5}/rg-override-parameters";
    EXPECT_THAT(asked(running, edit),
                ElementsAre("rg_prof_one_shot_check " + path + " <- " + path + "/pppoe-username"));
}

/** A validation point of a small model. */
std::string point(const std::string &opaque, const std::string &more)
{
    return "tailf:validate p { tailf:opaque '" + opaque + "'; " + more + "} ";
}

/** What is asked when the inside of container c of a small model changes. */
Lines planned_small(const std::string &statements, const std::string &before,
                    const std::string &after)
{
    const auto schema = small_schema("container c { " + statements + " }");
    return planned(small_config(schema, xml("c", before, "xmlns='urn:t'")),
                   small_config(schema, xml("c", after, "xmlns='urn:t'")));
}

/** An entry of list `name` of a small model. */
std::string entry(const std::string &name, const std::string &key, const std::string &inside = "")
{
    return xml(name, xml("k", key) + inside);
}

TEST(Plan, APointWithoutDependencyIsAskedAtEveryCommit)
{
    const auto model = point("container", "tailf:priority 5;") +
                       "list l { key k; leaf k { type uint8; } " + point("entry", "") +
                       point("list", "tailf:call-once true;") + "} leaf x { type string; " +
                       point("leaf", "") + "}";
    EXPECT_THAT(planned_small(model, "", ""), ElementsAre("list /c/l <- ", "container /c <- "));
    const auto entries = entry("l", "10") + entry("l", "9");
    EXPECT_THAT(planned_small(model, entries, entries),
                ElementsAre("entry /c/l{9} <- ", "entry /c/l{10} <- ", "list /c/l <- ",
                            "container /c <- "));
    for (const char *before : {"", "<x>1</x>"}) {
        EXPECT_THAT(planned_small(model, before, xml("x", "1")),
                    ElementsAre("list /c/l <- ", "leaf /c/x <- ", "container /c <- "));
    }
}

TEST(Plan, ADependencyComesAndGoesWithWhatIsAboveItIfItWasThere)
{
    const auto model = "list l { key k; leaf k { type uint8; } leaf a { type string; } "
                       "container n { leaf b { type string; } } } container v { " +
                       point("leaf", "tailf:dependency '/c/l/a';") +
                       point("container", "tailf:dependency '/c/l/n';") + "}";
    EXPECT_THAT(planned_small(model, entry("l", "1"), ""), IsEmpty());
    EXPECT_THAT(planned_small(model, entry("l", "1", xml("a", "x")), ""),
                ElementsAre("leaf /c/v <- /c/l{1}"));
    EXPECT_THAT(planned_small(model, "", entry("l", "1", xml("n/b", "x"))),
                ElementsAre("container /c/v <- /c/l{1}"));
    EXPECT_THAT(planned_small(model, entry("l", "1") + entry("l", "2", xml("n/b", "x")), ""),
                ElementsAre("container /c/v <- /c/l{2}"));
}

TEST(Plan, SeveralDependenciesAskAnInstanceOnceForTheFirstCause)
{
    const auto model =
        "list l { key k; leaf k { type uint8; } leaf far { type string; } list m { key k; "
        "leaf k { type uint8; } leaf near { type string; } leaf last { type string; } container v "
        "{ " +
        point("v", "tailf:dependency '../last'; tailf:dependency '../near'; "
                   "tailf:dependency '../../far'; tailf:dependency '/c/all';") +
        "} } } leaf all { type string; }";
    const auto plain = entry("m", "1") + entry("m", "2");
    const auto near = entry("m", "1") + entry("m", "2", xml("near", "x"));
    const auto far = xml("far", "x");
    const auto running = entry("l", "1", plain) + entry("l", "2", plain);
    const std::string near_1 = "v /c/l{1}/m{2}/v <- /c/l{1}/m{2}/near";
    const struct {
        std::string candidate;
        Lines expected;
    } rows[] = {
        {running + xml("all", "x"),
         {"v /c/l{1}/m{1}/v <- /c/all", "v /c/l{1}/m{2}/v <- /c/all", "v /c/l{2}/m{1}/v <- /c/all",
          "v /c/l{2}/m{2}/v <- /c/all"}},
        {entry("l", "1", near) + entry("l", "2", far + near),
         {near_1, "v /c/l{2}/m{1}/v <- /c/l{2}/far", "v /c/l{2}/m{2}/v <- /c/l{2}/far"}},
        {entry("l", "1", near) + entry("l", "2", plain) + xml("all", "x"),
         {"v /c/l{1}/m{1}/v <- /c/all", near_1, "v /c/l{2}/m{1}/v <- /c/all",
          "v /c/l{2}/m{2}/v <- /c/all"}},
        // What is new but lacks the node that it depends on is not asked.
        {running + entry("l", "3", near), {"v /c/l{3}/m{2}/v <- /c/l{3}"}},
        {running + entry("l", "3", far + plain),
         {"v /c/l{3}/m{1}/v <- /c/l{3}", "v /c/l{3}/m{2}/v <- /c/l{3}"}},
        // In document order, whichever dependency reaches an instance.
        {running + entry("l", "3",
                         entry("m", "1", xml("near", "x")) + entry("m", "2", xml("last", "x")) +
                             entry("m", "3") + entry("m", "4", xml("near", "x"))),
         {"v /c/l{3}/m{1}/v <- /c/l{3}", "v /c/l{3}/m{2}/v <- /c/l{3}",
          "v /c/l{3}/m{4}/v <- /c/l{3}"}},
    };
    for (const auto &[candidate, expected] : rows) {
        EXPECT_EQ(planned_small(model, running, candidate), expected) << candidate;
    }
    // What shares the entries of a deleted subtree is gone with it.
    EXPECT_THAT(planned_small(model, entry("l", "1", far + near), ""), IsEmpty());
}

TEST(Plan, PointsOnceNeedTheirParentAndMovesAreChanges)
{
    const auto model =
        "container p { presence x; list l { key k; ordered-by user; leaf k { type uint8; } " +
        point("once", "tailf:call-once true; tailf:dependency '.'; tailf:dependency '/c/x';") +
        point("entry", "tailf:dependency '.';") + "} } leaf x { type string; }";
    const auto list = [](const std::string &keys) {
        std::string entries;
        for (const char key : keys) {
            entries += entry("l", std::string(1, key));
        }
        return xml("p", entries);
    };
    const auto x = xml("x", "1");
    EXPECT_THAT(planned_small(model, "", x), IsEmpty());
    EXPECT_THAT(planned_small(model, list(""), list("") + x), ElementsAre("once /c/p/l <- /c/x"));
    EXPECT_THAT(planned_small(model, list("1"), ""), IsEmpty());
    EXPECT_THAT(planned_small(model, list("1"), list("")), ElementsAre("once /c/p/l <- /c/p/l{1}"));
    EXPECT_THAT(planned_small(model, list("123"), list("312")),
                ElementsAre("once /c/p/l <- /c/p/l{3}", "entry /c/p/l{3} <- /c/p/l{3}"));
}

/** Keeps what it is told. */
class Record : public engine::Observer
{
public:
    explicit Record(const std::vector<Request> &requests) : m_requests(requests) {}

    void before(std::size_t request) override
    {
        lines.push_back("ask " + engine::path_of(m_requests[request]));
    }
    void after(std::size_t, const engine::Answer &answer) override
    {
        lines.push_back(std::to_string(answer.result) + " " + answer.text);
        answers.push_back(answer);
    }
    Lines lines;
    std::vector<engine::Answer> answers;

private:
    const std::vector<Request> &m_requests;
};

/** A transaction that asks for the downstream FEC leaves of three links. */
class Validate : public ::testing::Test
{
protected:
    static std::string links(const std::string &inside)
    {
        return interfaces(link(1, inside) + link(2, inside) + link(3, inside));
    }

    Verdict validate(const engine::Callback &callback, bool keep_going = false)
    {
        return engine::validate(transaction, requests, "gpon_validation_check", callback, &word,
                                keep_going, record);
    }

    /** Answers with these results in turn, and a text of its own each time. */
    engine::Callback answers(const std::vector<int> &results)
    {
        return [this, results](confd_trans_ctx *context, confd_hkeypath_t *, confd_value_t *) {
            const int result = results.at(count++);
            if (result != CONFD_OK) {
                context->error.str = strdup(("text " + std::to_string(count)).c_str());
            }
            return result;
        };
    }

    int word = 0;
    Framework framework{checked_config(links(""))};
    engine::Transaction &transaction =
        framework.begin(checked_config(links(xml("downstream-fec", "true"))));
    std::vector<Request> requests = engine::plan(transaction);
    Record record{requests};
    std::size_t count = 0;
};

TEST_F(Validate, HandsOverWhatTheCallbackNeeds)
{
    const auto verdict =
        validate([this](confd_trans_ctx *context, confd_hkeypath_t *keypath, confd_value_t *value) {
            EXPECT_EQ(context->thandle, transaction.handle());
            EXPECT_EQ(context->vcb_opaque, &word);
            EXPECT_STREQ(context->validate_opaque, "fec_confirmation_warning");
            EXPECT_EQ(context->error.str, nullptr);
            EXPECT_EQ(keypath->len, 5);
            EXPECT_EQ(CONFD_GET_UINT32(&keypath->v[1][2]), ++count);
            EXPECT_TRUE(CONFD_GET_BOOL(value));
            engine::Hooks::instance().on_call("maapi_exists");
            return CONFD_OK;
        });
    EXPECT_EQ(verdict, Verdict::kAccepted);
    ASSERT_EQ(record.answers.size(), 3u);
    for (const auto &answer : record.answers) {
        EXPECT_THAT(answer.calls, ElementsAre(::testing::Pair("maapi_exists", 1u)));
    }
}

TEST_F(Validate, EndsWithTheFirstErrorAndGathersWarnings)
{
    const std::string path = "ask /config/interface/gpon{1 1 ";
    EXPECT_EQ(validate(answers({CONFD_VALIDATION_WARN, CONFD_ERR})), Verdict::kRejected);
    EXPECT_THAT(record.lines, ElementsAre(path + "1}/downstream-fec", "-3 text 1",
                                          path + "2}/downstream-fec", "-1 text 2"));
    record.lines.clear();
    record.answers.clear();
    count = 0;
    EXPECT_EQ(validate(answers({CONFD_OK, CONFD_VALIDATION_WARN, CONFD_OK})), Verdict::kWarning);
    EXPECT_EQ(record.answers.size(), 3u);
    EXPECT_EQ(record.answers[0].text, "");
}

TEST_F(Validate, GoesOnWhenAskedTo)
{
    // Any other result is a rejection.
    EXPECT_EQ(validate(answers({7, CONFD_VALIDATION_WARN, CONFD_ERR}), true), Verdict::kRejected);
    ASSERT_EQ(record.answers.size(), 3u);
    EXPECT_EQ(record.answers[0].verdict, Verdict::kRejected);
    EXPECT_EQ(record.answers[1].verdict, Verdict::kWarning);
    EXPECT_EQ(record.answers[2].text, "text 3");
}

TEST_F(Validate, AsksOnlyPointsOfTheName)
{
    EXPECT_EQ(engine::validate(transaction, requests, "another_point", answers({}), nullptr, false,
                               record),
              Verdict::kAccepted);
    EXPECT_THAT(record.lines, IsEmpty());
}

TEST_F(Validate, LetsExceptionsPass)
{
    const auto callback = [](confd_trans_ctx *context, confd_hkeypath_t *, confd_value_t *) -> int {
        context->error.str = strdup("released all the same");
        throw std::runtime_error("thrown by the callback");
    };
    EXPECT_THROW(validate(callback), std::runtime_error);
    EXPECT_EQ(record.lines.size(), 1u);
}

TEST(ValidateOthers, HaveNoValueAndOnceForAListNoKeys)
{
    Framework framework(checked_config(""));
    auto &transaction = framework.begin(checked_config(port(4)));
    Lines seen;
    const auto callback = [&](confd_trans_ctx *context, confd_hkeypath_t *keypath,
                              confd_value_t *value) {
        EXPECT_EQ(value, nullptr);
        EXPECT_EQ(keypath->v[0][0].type, C_XMLTAG);
        seen.push_back(context->validate_opaque + (" " + std::to_string(keypath->len)));
        return CONFD_OK;
    };
    const auto requests = engine::plan(transaction);
    Record record{requests};
    engine::validate(transaction, requests, "gpon_validation_check", callback, nullptr, false,
                     record);
    EXPECT_THAT(seen, ElementsAre("config_modified_check 2", "service_port_global_validation 2",
                                  "sp_gem_check 4", "service_port_delete_all_warning_check 2"));
}

} // namespace
