#include "session.h"

#include <vector>

namespace
{

using test_support::described;
using test_support::expect_error;
using test_support::kpath_text;

using Texts = std::vector<std::string>;

std::string onu(int id, const std::string &inside = "")
{
    return "<onu><onu-id>" + std::to_string(id) + "</onu-id>" + inside + "</onu>";
}

std::string link(int port, const std::string &onus)
{
    return "<gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>" + std::to_string(port) +
           "</port-id>" + onus + "</gpon>";
}

std::string reference(const std::string &name)
{
    return "<profile-references><line-profile>" + name + "</line-profile></profile-references>";
}

constexpr const char *kOnus = "/config/interface/gpon[chassis-id=1 and slot-id=1]/onu";

class Queries : public test_support::Session
{
protected:
    void SetUp() override
    {
        start("<profile><gpon><line-profile><name>x</name></line-profile></gpon></"
              "profile><interface>" +
              link(2, onu(10, reference("x")) + onu(9)) +
              link(1, onu(3, reference("y") + "<description>c</description>") +
                          onu(2, reference("x") + "<description>a</description>")) +
              "</interface>");
    }

    int query(const char *expression, Texts select, confd_query_result_type type, int chunk = 0,
              int offset = 1, Texts sort = {}, const char *context = nullptr)
    {
        return maapi_query_start(maapi, th, expression, context, chunk, offset, type,
                                 static_cast<int>(select.size()), pointers(select).data(),
                                 static_cast<int>(sort.size()), pointers(sort).data());
    }

    static std::vector<const char *> pointers(const Texts &texts)
    {
        std::vector<const char *> result;
        for (const auto &text : texts) {
            result.push_back(text.c_str());
        }
        return result;
    }

    static std::string cell(const confd_query_result &result, int row, int column)
    {
        const auto &cells = result.results[row];
        switch (result.type) {
        case CONFD_QUERY_STRING:
            return cells.str[column];
        case CONFD_QUERY_HKEYPATH:
            return kpath_text(cells.hkp[column]);
        case CONFD_QUERY_HKEYPATH_VALUE:
            return kpath_text(cells.kv[column].hkp) + " " + described(cells.kv[column].val);
        case CONFD_QUERY_TAG_VALUE: {
            const char *name = confd_hash2str(cells.tv[column].tag.tag);
            return std::string(name != nullptr ? name : "(none)") + " " +
                   described(cells.tv[column].v);
        }
        }
        return "?";
    }

    /** All cells of a query, with a "|" where a chunk ends. */
    Texts all(int handle)
    {
        Texts texts;
        int number = 0;
        for (bool more = handle > 0; more;) {
            confd_query_result *result = nullptr;
            if (maapi_query_result(maapi, handle, &result) != CONFD_OK) {
                ADD_FAILURE() << confd_lasterr();
                break;
            }
            EXPECT_TRUE(number == 0 || result->offset == number);
            number = result->offset + result->nresults;
            more = result->nresults > 0;
            for (int i = 0; i < result->nresults * result->nelements; ++i) {
                texts.push_back(cell(*result, i / result->nelements, i % result->nelements));
            }
            if (more) {
                texts.emplace_back("|");
            }
            EXPECT_EQ(maapi_query_free_result(result), CONFD_OK);
        }
        EXPECT_GT(handle, 0) << confd_lasterr();
        EXPECT_EQ(maapi_query_stop(maapi, handle), CONFD_OK);
        return texts;
    }
};

TEST_F(Queries, KindsOfResults)
{
    const char *select = "profile-references/line-profile";
    const char *link1 = "/config/interface/gpon[port-id=1]/onu";
    EXPECT_EQ(all(query(link1, {select, "onu-id"}, CONFD_QUERY_STRING)),
              (Texts{"x", "2", "y", "3", "|"}));
    EXPECT_EQ(all(query(kOnus, {"onu-id", select}, CONFD_QUERY_TAG_VALUE)),
              (Texts{"onu-id C_UINT32 2", "line-profile C_BUF x", "onu-id C_UINT32 3",
                     "line-profile C_BUF y", "onu-id C_UINT32 9", "line-profile C_NOEXISTS",
                     "onu-id C_UINT32 10", "line-profile C_BUF x", "|"}));
    EXPECT_EQ(all(query(link1, {"."}, CONFD_QUERY_HKEYPATH)),
              (Texts{"/config/interface/gpon{1 1 1}/onu{2}", "/config/interface/gpon{1 1 1}/onu{3}",
                     "|"}));
    EXPECT_EQ(
        all(query(link1, {"onu-id", "snmp/real-time"}, CONFD_QUERY_HKEYPATH_VALUE)),
        (Texts{"/config/interface/gpon{1 1 1}/onu{2}/onu-id C_UINT32 2", " C_NOEXISTS",
               "/config/interface/gpon{1 1 1}/onu{3}/onu-id C_UINT32 3", " C_NOEXISTS", "|"}));
    EXPECT_EQ(all(query(kOnus, {"rg-profile"}, CONFD_QUERY_STRING)), (Texts{"", "", "", "", "|"}));
}

TEST_F(Queries, ChunksAndOffsets)
{
    EXPECT_EQ(all(query(kOnus, {"onu-id"}, CONFD_QUERY_STRING, 2)),
              (Texts{"2", "3", "|", "9", "10", "|"}));
    EXPECT_EQ(all(query(kOnus, {"onu-id"}, CONFD_QUERY_STRING, 3)),
              (Texts{"2", "3", "9", "|", "10", "|"}));
    EXPECT_EQ(all(query(kOnus, {"onu-id"}, CONFD_QUERY_STRING, 0, 3)), (Texts{"9", "10", "|"}));
    EXPECT_EQ(all(query(kOnus, {"onu-id"}, CONFD_QUERY_STRING, 1, 4)), (Texts{"10", "|"}));
    EXPECT_EQ(all(query(kOnus, {"onu-id"}, CONFD_QUERY_STRING, 0, 9)), Texts{});
    EXPECT_EQ(all(query("/config/service-port", {"id"}, CONFD_QUERY_TAG_VALUE)), Texts{});

    const int handle = query(kOnus, {"onu-id"}, CONFD_QUERY_STRING, 0, 3);
    confd_query_result *result = nullptr;
    ASSERT_EQ(maapi_query_result(maapi, handle, &result), CONFD_OK);
    EXPECT_EQ(result->offset, 3) << "counted from the first of all";
    EXPECT_EQ(result->nelements, 1);
    maapi_query_free_result(result);
    maapi_query_stop(maapi, handle);
}

TEST_F(Queries, OrderSelectsAndContext)
{
    EXPECT_EQ(all(query(kOnus, {"onu-id"}, CONFD_QUERY_STRING, 0, 1,
                        {"profile-references/line-profile"})),
              (Texts{"9", "2", "10", "3", "|"}))
        << "none first, then as before where equal";
    EXPECT_EQ(
        all(query(kOnus, {"onu-id"}, CONFD_QUERY_STRING, 0, 1, {"description", "../port-id"})),
        (Texts{"9", "10", "2", "3", "|"}));
    EXPECT_EQ(all(query("gpon", {"onu/onu-id", "onu[last()]/onu-id", "base:port-id"},
                        CONFD_QUERY_STRING, 0, 1, {}, "/config/interface")),
              (Texts{"2", "3", "1", "9", "10", "2", "|"}));
    EXPECT_EQ(all(query("/config/interface/gpon[2]", {"onu/profile-references/line-profile"},
                        CONFD_QUERY_STRING)),
              (Texts{"x", "|"}))
        << "of the first ONU that has one";
}

TEST_F(Queries, Misuse)
{
    struct Case {
        const char *expression;
        Texts select;
        int offset;
        const char *context;
        int code;
        const char *says;
    };
    const std::vector<Case> cases{
        {"/config/[", {"onu-id"}, 1, nullptr, CONFD_ERR_XPATH, "/config/["},
        {"count(/config)", {"onu-id"}, 1, nullptr, CONFD_ERR_XPATH, "count(/config)"},
        {kOnus,
         {"onu-idd"},
         1,
         nullptr,
         CONFD_ERR_XPATH,
         "onu-idd below /config/interface/gpon/onu"},
        {kOnus, {}, 1, nullptr, CONFD_ERR_PROTOUSAGE, "select"},
        {kOnus, {"onu-id"}, 0, nullptr, CONFD_ERR_PROTOUSAGE, "first result"},
        {"onu", {"onu-id"}, 1, "/config/interface/gpon{1 1 3}", CONFD_ERR_NOEXISTS, "gpon{1 1 3}"},
        {"onu", {"onu-id"}, 1, "/config/nowhere", CONFD_ERR_BADPATH, "nowhere"},
    };
    for (const auto &[expression, select, offset, context, code, says] : cases) {
        SCOPED_TRACE(expression);
        EXPECT_LT(query(expression, select, CONFD_QUERY_STRING, 0, offset, {}, context), 0);
        expect_error(code, {says});
    }

    confd_query_result before{};
    confd_query_result *result = &before;
    EXPECT_EQ(maapi_query_result(maapi, 12345, &result), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"no query 12345"});
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(maapi_query_free_result(nullptr), CONFD_OK);

    const int broken = query(kOnus, {"onu-id["}, CONFD_QUERY_STRING);
    ASSERT_GT(broken, 0);
    EXPECT_EQ(maapi_query_result(maapi, broken, &result), CONFD_ERR);
    expect_error(CONFD_ERR_XPATH, {"onu-id["});
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(maapi_query_stop(maapi, broken), CONFD_OK);
    EXPECT_EQ(maapi_query_stop(maapi, broken), CONFD_ERR);
}

TEST_F(Queries, ForgottenOnesEndWithTheirTransaction)
{
    const int handle = query(kOnus, {"onu-id"}, CONFD_QUERY_STRING);
    EXPECT_EQ(engine::Hooks::instance().held.queries, 1);
    framework().end(th);
    EXPECT_EQ(engine::Hooks::instance().held.queries, 0);
    confd_query_result *result = nullptr;
    EXPECT_EQ(maapi_query_result(maapi, handle, &result), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"no query"});
}

class Expressions : public Queries
{
protected:
    /** Result, or nothing. */
    std::string evaluate(const char *expression, const char *context = nullptr)
    {
        char *text = nullptr;
        const int code =
            context != nullptr
                ? maapi_xpath_eval_expr(maapi, th, expression, &text, nullptr, "%s", context)
                : maapi_xpath_eval_expr(maapi, th, expression, &text, nullptr, nullptr);
        EXPECT_EQ(code == CONFD_OK, text != nullptr);
        const std::string result = text != nullptr ? text : "(null)";
        free(text);
        return result;
    }
};

TEST_F(Expressions, Results)
{
    const std::vector<std::pair<const char *, const char *>> cases{
        {"count(/config/interface/gpon/onu/profile-references[line-profile='x'])", "2"},
        {"count(/config/interface/gpon/onu[rg-profile='none'])", "0"},
        {" count ( /config/interface/gpon[port-id = 2]/onu ) ", "2"},
        {"count(/config/interface/gpon[concat(port-id, ')') = '2)']/onu)", "2"},
        {"/base:config/base:interface/gpon/port-id", "1"},
        {"/config/interface/gpon[port-id=2]/onu/onu-id", "9"},
        {"/config/service-port", ""},
        {"/config/interface", ""},
        {"string(/config/interface/gpon[2]/port-id)", "2"},
        {"string(/config/service-port/id)", ""},
        {"count(/config/interface/gpon/onu) > 3", "true"},
        {"count(/config/interface/gpon/onu) > 4", "false"},
        {"not(/config/service-port)", "true"},
        {"boolean(/config/service-port)", "false"},
        {"/config/interface/gpon/onu/onu-id = 10", "true"},
    };
    for (const auto &[expression, expected] : cases) {
        EXPECT_EQ(evaluate(expression), expected) << expression << ": " << confd_lasterr();
    }
    EXPECT_EQ(evaluate("count(onu)", "/config/interface/gpon{1 1 2}"), "2");
    EXPECT_EQ(evaluate("onu/onu-id = 3", "/config/interface/gpon{1 1 2}"), "false");
    EXPECT_EQ(evaluate("description", "/config/interface/gpon{1 1 1}/onu{3}"), "c");
}

TEST_F(Expressions, WhatIsBrokenOrCannotBeHad)
{
    for (const char *expression :
         {"count(/config/interface", "", "/config/[", "nowhere:config", "$variable",
          "count(/config/interface/gpon[port-id='a'b'])",
          // Numbers and texts.
          "1 + 1", "count(/config) + count(/config)", "'text'", "string('text')", "count(1)",
          "number(/config/interface/gpon/port-id)", "concat('a', 'b')"}) {
        EXPECT_EQ(evaluate(expression), "(null)") << expression;
        expect_error(CONFD_ERR_XPATH, {"XPath"});
    }
    EXPECT_EQ(evaluate("onu", "/config/interface/gpon{1 1 3}"), "(null)");
    expect_error(CONFD_ERR_NOEXISTS, {"gpon{1 1 3}"});
    EXPECT_EQ(evaluate("onu", "/config/interface/gpon"), "(null)");
    expect_error(CONFD_ERR_BADPATH, {"keys"});
}

TEST_F(Expressions, TraceTellsExpressionAndResult)
{
    static std::string line;
    char *text = nullptr;
    ASSERT_EQ(maapi_xpath_eval_expr(
                  maapi, th, "count(/config)", &text, [](char *said) { line = said; }, nullptr),
              CONFD_OK);
    EXPECT_EQ(line, "count(/config) = 1");
    free(text);
}

} // namespace
