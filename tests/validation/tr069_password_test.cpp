#include "fixture.h"

#include "engine/data/crypto.h"
#include "engine/data/value.h"
#include "gpon_tr069_profile_validation.h"

namespace
{

class Tr069Password : public CardTest
{
protected:
    Tr069Password() { given(""); }

    Outcome ask_stored(const std::string &stored, const std::string &behind = "")
    {
        confd_value_t newval = engine::make_text_value(stored + behind);
        newval.val.buf.size = static_cast<unsigned>(stored.size());
        confd_hkeypath_t keypath{};
        Outcome outcome = take_outcome(
            tr069_profile_password_length_check_func(sock(), tctx(), &keypath, &newval));
        engine::free_value(newval);
        EXPECT_THAT(trace_lines(), testing::IsEmpty());
        expect_nothing_held();
        return outcome;
    }
    const Outcome kTooLong = rejected("Invalid password length/size");
};

TEST_F(Tr069Password, CountsTheBytesOfTheClearText)
{
    for (const std::size_t length : {0U, 1U, 25U}) {
        EXPECT_EQ(ask_stored(engine::encrypt(std::string(length, '%'))), accepted()) << length;
    }
    for (const std::size_t length : {26U, 500U}) {
        EXPECT_EQ(ask_stored(engine::encrypt(std::string(length, '%'))), kTooLong) << length;
    }
    EXPECT_EQ(
        ask_stored(engine::encrypt(std::string("short\0and more behind the end of the text", 40))),
        accepted());
}

TEST_F(Tr069Password, TakesTheValueByItsSize)
{
    EXPECT_EQ(ask_stored(engine::encrypt("secret"), "what stands behind it"), accepted());
}

TEST_F(Tr069Password, AValueThatCannotBeDecryptedGetsTheSameMessage)
{
    for (const char *stored : {"", "$8$", "secret"}) {
        EXPECT_EQ(ask_stored(stored), kTooLong) << stored;
    }
    // The keys, the decryption.
    for (const int failing_call : {1, 2}) {
        engine::Hooks::instance().fail_call(failing_call, CONFD_ERR_EXTERNAL);
        EXPECT_EQ(ask_stored(engine::encrypt("secret")), kTooLong) << failing_call;
        EXPECT_TRUE(engine::Hooks::instance().has_failed());
    }
}

TEST_F(Tr069Password, AValueOfAnotherTypeIsAProgrammingError)
{
    confd_value_t newval;
    CONFD_SET_NOEXISTS(&newval);
    EXPECT_DEATH(tr069_profile_password_length_check_func(sock(), tctx(), nullptr, &newval),
                 "src/validation/gpon_tr069_profile_validation:.*\\(newval\\)->type == C_BUF");
}

} // namespace
