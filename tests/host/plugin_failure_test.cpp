/** Plug-ins that fail or die: what is said, and with which exit code. */
#include "program_runner.h"

#include <nlohmann/json.hpp>

#include <string_view>

using testing::HasSubstr;
using testing::Not;

namespace
{

using PluginFailure = ProgramTest;

/** What is said when a plug-in dies in a rule. */
std::string in_rule(const char *cause, const char *how = "died")
{
    return std::string("The plug-in ") + how +
           " in fec_confirmation_warning at /config/interface/gpon{1 1 1}/downstream-fec: " +
           cause + ".\n";
}

TEST_F(PluginFailure, IsToldWithItsPlaceAndItsOutput)
{
    const struct {
        std::string script;
        int code;
        std::string says;
    } failures[] = {
        {"fec_confirmation_warning=assert", 4,
         in_rule("signal 6 (Aborted)") + "The plug-in had written:\n"},
        {"fec_confirmation_warning=assert", 4, "Assertion `!is_told_to_fail' failed"},
        {"fec_confirmation_warning=fault", 4, in_rule("signal 9 (Killed)")},
        {"fec_confirmation_warning=exit:3", 4, in_rule("it ended the process with exit status 3")},
        {"fec_confirmation_warning=exit:0", 4, in_rule("it ended the process with exit status 0")},
        {"fec_confirmation_warning=fork", 4, in_rule("it ended the process with exit status 0")},
        {"fec_confirmation_warning=forge:{\"event\":\"ended\"};", 3, "not of our making"},
        {"fec_confirmation_warning=forge:a0 0 0 0 0 ;b1;a1 0 0 0 0 ;"
         "{\"event\":\"step\",\"step\":4};{\"event\":\"ended\"};",
         3, "not of our making"},
        {"fec_confirmation_warning=throw:stoi", 4,
         in_rule("uncaught exception std::out_of_range: stoi")},
        {"fec_confirmation_warning=hang", 4, in_rule("no answer within 3 s", "was stopped")},
        {"lib_init=exit:5", 4,
         "The plug-in died in lib_init: it ended the process with exit status 5.\n"},
        {"lib_finish=hang", 4, "The plug-in was stopped in lib_finish: no answer within 3 s.\n"},
        {"lib_init=answer:-1", 3, "lib_init failed with result -1"},
        {"get_validation_point=answer:-1", 3, "get_validation_point failed with result -1"},
        {"lib_init=print:note\nget_validation_point=answer:-1", 3,
         "The plug-in had written:\n  note\n"},
        {"name=other_check", 3,
         "the validation point \"other_check\", but the data model has \"gpon_validation_check\""},
    };
    for (const auto &[script, code, says] : failures) {
        const bool hangs = script.ends_with("hang");
        const ProgramRun done = check_fec(script + "\n", {"--timeout", hangs ? "3" : "60"});
        EXPECT_EQ(done.code, code) << done;
        EXPECT_THAT(done.out, HasSubstr(says)) << script;
        EXPECT_EQ(done.err, "") << "the report tells it already";
    }
}

TEST_F(PluginFailure, OfAMissingFileOrEntryPointIsToldWithTheFile)
{
    const ProgramRun missing = check_fec("", {"--plugin", "./nowhere.so"});
    EXPECT_EQ(missing.code, 3) << missing;
    EXPECT_THAT(missing.out, testing::StartsWith("./nowhere.so: the plug-in cannot be loaded: "));
    const ProgramRun incomplete = check_fec("", {"--plugin", TEST_PLUGINS "/incomplete.so"});
    EXPECT_EQ(incomplete.code, 3) << incomplete;
    EXPECT_THAT(incomplete.out,
                HasSubstr("incomplete.so: the plug-in has no entry point lib_finish"));
}

TEST_F(PluginFailure, KeepsWhatWasFoundBefore)
{
    const ProgramRun done =
        check("interface_validation=reject:Too few.\nfec_confirmation_warning=exit:1\n",
              {file("candidate.xml", kFecEdit), "--all"});
    EXPECT_EQ(done.code, 4) << done;
    EXPECT_THAT(done.out,
                HasSubstr("rejected: Too few.\n  /config/interface/gpon (interface_validation)\n"));
    EXPECT_THAT(done.out, HasSubstr(in_rule("it ended the process with exit status 1")));
}

TEST_F(PluginFailure, InThisProcessTellsAnExceptionToo)
{
    const ProgramRun done = check_fec("fec_confirmation_warning=throw:stoi\n", {"--in-process"});
    EXPECT_EQ(done.code, 4) << done;
    EXPECT_THAT(done.out, HasSubstr(in_rule("uncaught exception std::out_of_range: stoi")));
}

/** Of the program itself: the test must not end with the plug-in. */
TEST_F(PluginFailure, InThisProcessIsToldWhenThePluginEndsIt)
{
    struct End {
        const char *act;
        const char *out; /**< In the text report and in the JSON report. */
        const char *err;
    };
    for (const auto &[act, out, err] :
         {End{"exit:0", "it ended the process with exit status 0", ""},
          End{"exit:3", "it ended the process with exit status 3", ""},
          End{"fork", "", "gpon-validate: the plug-in ended this process at once, with _exit\n"},
          End{"assert", "", "gpon-validate: the plug-in died in this process: Aborted"}}) {
#if defined(__SANITIZE_ADDRESS__)
        if (std::string_view(act) == "assert") {
            continue; // Fatal signals are the sanitizer's.
        }
#endif
        for (const char *form : {"--all", "--json"}) {
            setenv("GPON_TEST_SCRIPT", (std::string("fec_confirmation_warning=") + act).c_str(), 1);
            const ProgramRun done =
                run_alone({"check", "--plugin", kScripted, "--in-process", form, "--running",
                           file("running.xml", kRunning), "--edit", file("change.xml", kFecEdit)});
            SCOPED_TRACE(testing::Message() << act << " " << form << "\n" << done);
            EXPECT_EQ(done.code, 4);
            EXPECT_THAT(done.out, HasSubstr(out));
            EXPECT_THAT(done.err, HasSubstr(err));
            EXPECT_THAT(done.out, Not(HasSubstr("ccepted")));
            EXPECT_EQ(nlohmann::json::accept(done.out),
                      std::string_view(form) == "--json" && *out != '\0');
        }
    }
}

} // namespace
