#include "engine/session/validation.h"

#include "engine/data/yang_check.h"
#include "engine/edit/edit.h"
#include "printers.h"
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

TEST(Plan, AsksByPriorityThenModelAndOnceForAList)
{
    EXPECT_THAT(asked(port(1) + kCard + onu_5(""), port_edit(1, xml("statistics", "false"))),
                IsEmpty());
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
    // What comes or goes calls for a rule that depends on what is in it.
    const auto whole = [](const std::string &name, const std::string &operation) {
        return xml("profile/gpon/line-profile", xml("name", name), operation);
    };
    const auto line = [](const std::string &cause) {
        return Lines{"/config/service-port{1}/gpon <- " + cause,
                     "/config/service-port{2}/gpon <- " + cause};
    };
    const std::string path = "/config/profile/gpon/line-profile{l}";
    EXPECT_EQ(asked(running, whole("l", kDelete), "sp_gem_check"), line(path));
    EXPECT_EQ(asked(port(1) + port(2), profile(""), "sp_gem_check"), line(path));
    EXPECT_EQ(asked(running, whole("new", kCreate), "sp_gem_check"), Lines{});
    // Of several causes the first is told, once.
    EXPECT_EQ(
        asked(running, profile(kDelete) + port_edit(2, xml("gpon/id", "1/1/4")), "sp_gem_check"),
        line(path + "/gem{1}"));
    const std::string gem = " <- " + path + "/gem{1}";
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
    const std::string path = "/config/interface/gpon{1 1 ";
    const std::string method = "}/onu <- /config/gpon{1/1}/onu-auth-method";
    const std::pair<std::string, Lines> rows[] = {
        {interfaces(link(3, onu(1, serial("ABCD0002")) + onu(2, serial("ABCD0001")))),
         {path + "3}/onu <- " + path + "3}/onu{1}/auth-method/serial-number"}},
        {xml("gpon", xml("card", "1/1") + xml("onu-auth-method", "password")),
         {path + "1" + method, path + "2" + method, path + "3" + method}},
        {interfaces(link(4, onu(7, serial("ABCD0007")))), {path + "4}/onu <- " + path + "4}"}},
        {interfaces(link(3, onu(1, "", kDelete))), {path + "3}/onu <- " + path + "3}/onu{1}"}},
        // A plain container is there by what is in it only.
        {interfaces(link(3, onu(2, "", kDelete))), {}},
    };
    for (const auto &[edit, expected] : rows) {
        EXPECT_EQ(asked(running, edit, "onu_pwd_sn_unique_check"), expected) << edit;
    }
}

TEST(Plan, TakesContainersThatAreThereByDefault)
{
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

/** Keeps what it is told. */
class Record : public engine::Observer
{
public:
    explicit Record(const std::vector<Request> &requests) : m_requests(requests) {}

    void before(std::size_t request) override { asked.push_back(request); }
    void after(std::size_t request, const engine::Answer &answer) override
    {
        answers.push_back(m_requests[request].point->opaque + ": " + name_of(answer.verdict) + " " +
                          std::to_string(answer.result) + " " + answer.text);
        calls = answer.calls;
    }
    std::vector<std::size_t> asked;
    Lines answers;
    std::map<std::string, std::uint64_t> calls; /**< Of the last answer. */

private:
    const std::vector<Request> &m_requests;
};

/** A transaction that sets a leaf and creates a service port, for which five rules are asked. */
class Validate : public ::testing::Test
{
protected:
    Verdict validate(const engine::Callback &callback, Record &record, bool keep_going = false)
    {
        return engine::validate(transaction, requests, name, callback, &word, keep_going, record);
    }

    int word = 0;
    std::string name = "gpon_validation_check";
    Framework framework{checked_config(interfaces(link(1)))};
    engine::Transaction &transaction = framework.begin(
        checked_config(interfaces(link(1, xml("downstream-fec", "true"))) + port(4)));
    std::vector<Request> requests = engine::plan(transaction);
};

TEST_F(Validate, HandsOverWhatTheCallbackNeeds)
{
    Lines seen;
    const auto callback = [&](confd_trans_ctx *context, confd_hkeypath_t *keypath,
                              confd_value_t *value) {
        EXPECT_EQ(context->thandle, transaction.handle());
        EXPECT_EQ(context->vcb_opaque, &word);
        EXPECT_EQ(context->error.str, nullptr);
        EXPECT_EQ(keypath->v[0][0].type, C_XMLTAG);
        seen.push_back(context->validate_opaque + (" " + std::to_string(keypath->len)) +
                       (value == nullptr             ? ""
                        : CONFD_GET_BOOL(value) != 0 ? " true"
                                                     : " false"));
        engine::Hooks::instance().on_call("maapi_exists");
        return CONFD_OK;
    };
    Record record(requests);
    EXPECT_EQ(validate(callback, record), Verdict::kAccepted);
    EXPECT_THAT(seen, ElementsAre("config_modified_check 2", "service_port_global_validation 2",
                                  "sp_gem_check 4", "fec_confirmation_warning 5 true",
                                  "service_port_delete_all_warning_check 2"));
    EXPECT_THAT(record.calls, ElementsAre(::testing::Pair("maapi_exists", 1U)));
    name = "another_point";
    EXPECT_EQ(validate(callback, record), Verdict::kAccepted);
    EXPECT_EQ(record.asked.size(), 5U);
}

TEST_F(Validate, EndsWithTheFirstErrorUnlessToldToGoOn)
{
    const std::string first = "config_modified_check: ";
    const struct {
        int result;
        bool keep_going;
        Verdict verdict;
        std::size_t asked;
        std::string answer;
    } rows[] = {
        {CONFD_OK, false, Verdict::kAccepted, 5, first + "accepted 0 "},
        {CONFD_VALIDATION_WARN, false, Verdict::kWarning, 5, first + "warning -3 text"},
        {CONFD_ERR, false, Verdict::kRejected, 1, first + "rejected -1 text"},
        {CONFD_ERR, true, Verdict::kRejected, 5, first + "rejected -1 text"},
        // Any other result is a rejection.
        {7, true, Verdict::kRejected, 5, first + "rejected 7 text"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.answer);
        Record record(requests);
        const auto callback = [&](confd_trans_ctx *context, confd_hkeypath_t *, confd_value_t *) {
            const int result = record.asked.size() == 1 ? row.result : CONFD_OK;
            context->error.str = result != CONFD_OK ? strdup("text") : nullptr;
            return result;
        };
        EXPECT_EQ(validate(callback, record, row.keep_going), row.verdict);
        EXPECT_EQ(record.asked.size(), row.asked);
        EXPECT_EQ(record.answers.front(), row.answer);
        EXPECT_EQ(record.answers.size(), row.asked);
    }
}

TEST_F(Validate, LetsExceptionsPass)
{
    Record record(requests);
    const auto callback = [](confd_trans_ctx *context, confd_hkeypath_t *, confd_value_t *) -> int {
        context->error.str = strdup("released all the same");
        throw std::runtime_error("thrown by the callback");
    };
    EXPECT_THROW(validate(callback, record), std::runtime_error);
    EXPECT_EQ(record.asked.size(), 1U);
    EXPECT_THAT(record.answers, IsEmpty());
}

} // namespace
