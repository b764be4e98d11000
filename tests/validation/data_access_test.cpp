#include "fixture.h"

#include "confd_get_objects_itf.h"
#include "confd_get_str.h"
#include "confd_text.h"

#include <limits>
#include <new>

namespace
{

using testing::ElementsAre;

constexpr const char *kTconts = "/config/profile/gpon/line-profile{a}/tcont";

std::string line_with_tconts(int count)
{
    std::string xml = "<profile><gpon><bandwidth-profile><name>b</name><traffic><type-4>"
                      "<maximum>1</maximum></type-4></traffic></bandwidth-profile>"
                      "<line-profile><name>a</name>";
    for (int id = 1; id <= count; ++id) {
        xml += "<tcont><id>" + std::to_string(id) +
               "</id><bandwidth-profile>b</bandwidth-profile></tcont>";
    }
    return xml + "</line-profile></gpon></profile>";
}

class DataAccess : public CardTest
{
protected:
    /** The results of getObjects() until it gives none, and the T-CONT ids that came. */
    std::vector<int> read_all(ConfdGetObjsItf &reader)
    {
        std::vector<int> results;
        do {
            results.push_back(reader.getObjects());
            for (int i = 0; i < results.back(); ++i) {
                ids.push_back(CONFD_GET_UINT32(&reader.entry(i)[0]));
                confd_free_value(&reader.entry(i)[1]);
            }
        } while (results.back() > 0);
        return results;
    }
    std::vector<unsigned> ids;
};

TEST_F(DataAccess, ReadsAListInChunks)
{
    struct Case {
        int tconts;
        std::vector<int> results;
        int requests;
    };
    // After a full chunk the end is known only by one request more; after a short one, without.
    for (const Case &list :
         {Case{0, {0}, 1}, Case{2, {2, 0}, 1}, Case{3, {3, 0}, 2}, Case{7, {3, 3, 1, 0}, 3}}) {
        given(line_with_tconts(list.tconts));
        ids.clear();
        {
            ConfdGetObjsItf reader(2, 3, kTconts, sock(), tctx(), true);
            EXPECT_EQ(read_all(reader), list.results) << list.tconts << " T-CONTs";
        }
        EXPECT_EQ(ids.size(), static_cast<std::size_t>(list.tconts));
        EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));
        EXPECT_EQ(engine::Hooks::instance().counts().at("maapi_get_objects"),
                  static_cast<std::uint64_t>(list.requests));
        expect_nothing_held();
    }
}

TEST_F(DataAccess, EndsTheProcessWhenTheSchemaIsAnotherOne)
{
    given(line_with_tconts(1));
    EXPECT_EXIT(ConfdGetObjsItf(3, 6, kTconts, sock(), tctx(), true), testing::ExitedWithCode(1),
                "ConfdGetObjsItf.*src/validation/confd_get_objects_itf.*37.*"
                "\\[/config/profile/gpon/line-profile\\{a\\}/tcont\\] object size \\(2\\) differs "
                "from expected \\(3\\)\\.");
}

TEST_F(DataAccess, DoesNotAskTheSchemaWhenToldNotTo)
{
    given(line_with_tconts(1));
    ConfdGetObjsItf reader(3, 6, kTconts, sock(), tctx(), false);
    EXPECT_EQ(engine::Hooks::instance().counts().count("confd_max_object_size"), 0U);
    // The entries have 2 values, not 3: that is a read error.
    EXPECT_EQ(reader.getObjects(), -1);
    EXPECT_EQ(engine::Hooks::instance().held.values, 0);
}

TEST_F(DataAccess, TellsReadErrors)
{
    given(line_with_tconts(4));
    auto &hooks = engine::Hooks::instance();
    {
        hooks.fail_call(1, CONFD_ERR_OS);
        ConfdGetObjsItf unopened(2, 3, kTconts, sock(), tctx(), false);
        EXPECT_EQ(unopened.getObjects(), 0);
        EXPECT_TRUE(hooks.has_failed());
    }
    {
        ConfdGetObjsItf reader(2, 3, kTconts, sock(), tctx(), false);
        hooks.fail_call(1, CONFD_ERR_OS);
        EXPECT_EQ(reader.getObjects(), -1);
    }
    expect_nothing_held();
    {
        ConfdGetObjsItf reader(2, 1, kTconts, sock(), tctx(), false);
        client().objects_too_many = 1;
        EXPECT_EQ(reader.getObjects(), -1);
    }
}

TEST_F(DataAccess, RefusesAnArrayThatCannotBeAddressed)
{
    given(line_with_tconts(1));
    constexpr auto kMax = std::numeric_limits<std::uint32_t>::max();
    EXPECT_THROW(ConfdGetObjsItf(kMax, kMax, kTconts, sock(), tctx(), false),
                 std::bad_array_new_length);
    expect_nothing_held();
}

TEST_F(DataAccess, PrintsNothingWherePrintingFails)
{
    confd_value_t value;
    CONFD_SET_UINT32(&value, 4294967295);
    EXPECT_EQ(print_value(value), "4294967295");
    client().printing_fails = true; // What was printed before is still in memory.
    EXPECT_EQ(print_value(value), "");
}

TEST_F(DataAccess, ReadsALeafAsTextOrLeavesTheTextAlone)
{
    given("<interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>3</port-id>"
          "<description>first</description></gpon></interface>");
    struct Case {
        const char *leaf;
        std::string text;
    };
    for (const Case &read : {Case{"/description", "first"}, Case{"/port-id", "3"},
                             Case{"/onu{1}/rg-profile", "before"}, Case{"/nothing", "before"}}) {
        std::string text = "before";
        GetStrFromConfd(sock(), tctx()->thandle, "/config/interface/gpon{1 1 3}", read.leaf, &text);
        EXPECT_EQ(text, read.text) << read.leaf;
    }
    for (const int failing_call : {1, 2}) {
        std::string text = "before";
        engine::Hooks::instance().fail_call(failing_call, CONFD_ERR_OS);
        GetStrFromConfd(sock(), tctx()->thandle, "/config/interface/gpon{1 1 3}", "/description",
                        &text);
        EXPECT_EQ(text, "before") << "call " << failing_call;
        EXPECT_TRUE(engine::Hooks::instance().has_failed());
    }
    expect_nothing_held();
}

} // namespace
