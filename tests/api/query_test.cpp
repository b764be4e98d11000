#include "session.h"

using test_support::described;
using test_support::expect_error;
using test_support::kpath_text;
using test_support::link;
using test_support::onu;
using test_support::xml;

namespace
{

using Texts = std::vector<std::string>;

std::string reference(const char *name)
{
    return xml("profile-references/line-profile", name);
}

constexpr const char *kOnus = "/config/interface/gpon[chassis-id=1 and slot-id=1]/onu";

/** A query; what is left out is as simple as can be. */
struct Asked {
    const char *expression = kOnus;
    Texts select{"onu-id"};
    confd_query_result_type type = CONFD_QUERY_STRING;
    int chunk = 0;
    int offset = 1;
    Texts sort{};
    const char *context = nullptr;
};

class Queries : public test_support::Session
{
protected:
    void SetUp() override
    {
        start(xml("profile/gpon/line-profile/name", "x") +
              xml("interface", link(2, onu(10, reference("x")) + onu(9)) +
                                   link(1, onu(3, reference("y") + xml("description", "c")) +
                                               onu(2, reference("x") + xml("description", "a")))));
    }

    int query(const Asked &asked)
    {
        return maapi_query_start(maapi, th, asked.expression, asked.context, asked.chunk,
                                 asked.offset, asked.type, static_cast<int>(asked.select.size()),
                                 pointers(asked.select).data(), static_cast<int>(asked.sort.size()),
                                 pointers(asked.sort).data());
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
        default:
            const char *name = confd_hash2str(cells.tv[column].tag.tag);
            return std::string(name != nullptr ? name : "(none)") + " " +
                   described(cells.tv[column].v);
        }
    }

    /** All cells of a query, separated by commas, with a "|" where a chunk ends. */
    std::string all(const Asked &asked)
    {
        const int handle = query(asked);
        EXPECT_GT(handle, 0) << confd_lasterr();
        std::string text;
        int number = asked.offset;
        for (bool more = true; more;) {
            confd_query_result *result = nullptr;
            if (maapi_query_result(maapi, handle, &result) != CONFD_OK) {
                ADD_FAILURE() << confd_lasterr();
                break;
            }
            EXPECT_EQ(result->offset, number) << "counted from the first of all";
            number += result->nresults;
            more = result->nresults > 0;
            for (int i = 0; i < result->nresults * result->nelements; ++i) {
                text += (i == 0 ? "" : ", ") +
                        cell(*result, i / result->nelements, i % result->nelements);
            }
            text += more ? "|" : "";
            EXPECT_EQ(maapi_query_free_result(result), CONFD_OK);
        }
        EXPECT_EQ(maapi_query_stop(maapi, handle), CONFD_OK);
        return text;
    }
};

TEST_F(Queries, KindsOfResults)
{
    const char *select = "profile-references/line-profile";
    const char *link1 = "/config/interface/gpon[port-id=1]/onu";
    const std::string list = "/config/interface/gpon{1 1 1}/onu";
    const std::pair<Asked, std::string> cases[] = {
        {{link1, {select, "onu-id"}}, "x, 2, y, 3|"},
        {{kOnus, {"onu-id", select}, CONFD_QUERY_TAG_VALUE},
         "onu-id C_UINT32 2, line-profile C_BUF x, onu-id C_UINT32 3, line-profile C_BUF y, "
         "onu-id C_UINT32 9, line-profile C_NOEXISTS, onu-id C_UINT32 10, line-profile C_BUF x|"},
        {{link1, {"."}, CONFD_QUERY_HKEYPATH}, list + "{2}, " + list + "{3}|"},
        {{link1, {"onu-id", "snmp/real-time"}, CONFD_QUERY_HKEYPATH_VALUE},
         list + "{2}/onu-id C_UINT32 2,  C_NOEXISTS, " + list +
             "{3}/onu-id C_UINT32 3,  C_NOEXISTS|"},
        {{kOnus, {"rg-profile"}}, ", , , |"},
        {{"/config/service-port", {"id"}, CONFD_QUERY_TAG_VALUE}, ""},
        {{"gpon",
          {"onu/onu-id", "onu[last()]/onu-id", "base:port-id"},
          CONFD_QUERY_STRING,
          0,
          1,
          {},
          "/config/interface"},
         "2, 3, 1, 9, 10, 2|"},
        // Of the first ONU that has one.
        {{"/config/interface/gpon[2]", {"onu/profile-references/line-profile"}}, "x|"},
    };
    for (const auto &[asked, expected] : cases) {
        EXPECT_EQ(all(asked), expected) << asked.expression;
    }
}

TEST_F(Queries, ChunksOffsetsAndOrder)
{
    const struct {
        int chunk, offset;
        Texts sort;
        std::string expected;
    } cases[] = {
        {2, 1, {}, "2, 3|9, 10|"},
        {3, 1, {}, "2, 3, 9|10|"},
        {0, 3, {}, "9, 10|"},
        {1, 4, {}, "10|"},
        {0, 9, {}, ""},
        // None first, then as before where equal.
        {0, 1, {"profile-references/line-profile"}, "9, 2, 10, 3|"},
        {0, 1, {"description", "../port-id"}, "9, 10, 2, 3|"},
    };
    for (const auto &[chunk, offset, sort, expected] : cases) {
        EXPECT_EQ(all({kOnus, {"onu-id"}, CONFD_QUERY_STRING, chunk, offset, sort}), expected);
    }
}

TEST_F(Queries, MisuseIsAnError)
{
    const struct {
        Asked asked;
        int code;
        const char *says;
    } cases[] = {
        {{"/config/["}, CONFD_ERR_XPATH, "/config/["},
        {{"count(/config)"}, CONFD_ERR_XPATH, "count(/config)"},
        {{kOnus, {"onu-idd"}}, CONFD_ERR_XPATH, "onu-idd below /config/interface/gpon/onu"},
        {{kOnus, {}}, CONFD_ERR_PROTOUSAGE, "select"},
        {{kOnus, {"onu-id"}, CONFD_QUERY_STRING, 0, 0}, CONFD_ERR_PROTOUSAGE, "first result"},
        {{"onu", {"onu-id"}, CONFD_QUERY_STRING, 0, 1, {}, "/config/interface/gpon{1 1 3}"},
         CONFD_ERR_NOEXISTS,
         "gpon{1 1 3}"},
    };
    for (const auto &[asked, code, says] : cases) {
        EXPECT_LT(query(asked), 0) << says;
        expect_error(code, {says});
    }

    confd_query_result before{};
    confd_query_result *result = &before;
    EXPECT_EQ(maapi_query_result(maapi, 12345, &result), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"no query 12345"});
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(maapi_query_free_result(nullptr), CONFD_OK);

    result = &before;
    const int broken = query({kOnus, {"onu-id["}});
    ASSERT_GT(broken, 0);
    EXPECT_EQ(maapi_query_result(maapi, broken, &result), CONFD_ERR);
    expect_error(CONFD_ERR_XPATH, {"onu-id["});
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(maapi_query_stop(maapi, broken), CONFD_OK);
    EXPECT_EQ(maapi_query_stop(maapi, broken), CONFD_ERR);
}

TEST_F(Queries, AndCursorsEndWithTheirTransaction)
{
    maapi_cursor cursor;
    ASSERT_EQ(maapi_init_cursor(maapi, th, &cursor, "/config/service-port"), CONFD_OK);
    const int handle = query({});
    EXPECT_EQ(held().cursors, 1);
    EXPECT_EQ(held().queries, 1);
    framework().end(th);
    EXPECT_TRUE(held().none());
    EXPECT_EQ(maapi_get_next(&cursor), CONFD_ERR);
    expect_error(CONFD_ERR_NOSESSION, {"transaction"});
    maapi_destroy_cursor(&cursor);
    confd_query_result *result = nullptr;
    EXPECT_EQ(maapi_query_result(maapi, handle, &result), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"no query"});
}

class Expressions : public Queries
{
protected:
    /** Result, or nothing. */
    std::string evaluate(const char *expression, const char *context = "/config")
    {
        char *text = nullptr;
        const int code =
            maapi_xpath_eval_expr(maapi, th, expression, &text, nullptr, "%s", context);
        EXPECT_EQ(code == CONFD_OK, text != nullptr);
        std::string result = text != nullptr ? text : "(null)";
        free(text);
        return result;
    }
};

TEST_F(Expressions, Results)
{
    const std::pair<const char *, const char *> cases[] = {
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
        {"interface/gpon/onu/description", "a"}, // From the context node.
    };
    for (const auto &[expression, expected] : cases) {
        EXPECT_EQ(evaluate(expression), expected) << expression << ": " << confd_lasterr();
    }
    EXPECT_EQ(evaluate("count(onu)", "/config/interface/gpon{1 1 2}"), "2");
    EXPECT_EQ(evaluate("onu/onu-id = 3", "/config/interface/gpon{1 1 2}"), "false");
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
