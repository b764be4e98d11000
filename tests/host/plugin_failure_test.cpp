/** Plug-ins that fail or die: what is said, and with which exit code. */
#include "program_runner.h"

#include <nlohmann/json.hpp>

#include <string_view>

using testing::HasSubstr;

namespace
{

struct Failure {
    const char *name;
    const char *script;
    int code;
    std::vector<std::string> says;
};

std::ostream &operator<<(std::ostream &out, const Failure &failure)
{
    return out << failure.name;
}

class PluginFailure : public ProgramTest, public testing::WithParamInterface<Failure>
{
protected:
    ProgramRun check_fec(const std::string &script, std::vector<std::string> words) const
    {
        words.insert(words.end(), {"--running", file("running.xml", kRunning), "--edit",
                                   file("change.xml", kFecEdit)});
        return check(script, words);
    }
};

constexpr const char *kWhere =
    "fec_confirmation_warning at /config/interface/gpon{1 1 1}/downstream-fec: ";

TEST_P(PluginFailure, IsToldWithItsPlaceAndItsOutput)
{
    const bool hangs = std::string_view(GetParam().script).find("hang") != std::string_view::npos;
    const ProgramRun done = check_fec(GetParam().script, {"--timeout", hangs ? "3" : "60"});
    EXPECT_EQ(done.code, GetParam().code) << done;
    for (const auto &text : GetParam().says) {
        EXPECT_THAT(done.out, HasSubstr(text));
    }
    EXPECT_EQ(done.err, "") << "the report tells it already";
}

std::string in_rule(const char *cause)
{
    return std::string("The plug-in died in ") + kWhere + cause + ".\n";
}

INSTANTIATE_TEST_SUITE_P(
    Ways, PluginFailure,
    testing::Values(
        Failure{"AssertionInARule",
                "fec_confirmation_warning=assert\n",
                4,
                {in_rule("signal 6 (Aborted)"), "The plug-in had written:\n",
                 "Assertion `!is_told_to_fail' failed"}},
        Failure{
            "FaultInARule", "fec_confirmation_warning=fault\n", 4, {in_rule("signal 9 (Killed)")}},
        Failure{"ExitInARule",
                "fec_confirmation_warning=exit:3\n",
                4,
                {in_rule("it ended the process with exit status 3")}},
        Failure{"ExitWithSuccessInARule",
                "fec_confirmation_warning=exit:0\n",
                4,
                {in_rule("it ended the process with exit status 0")}},
        Failure{"ExceptionInARule",
                "fec_confirmation_warning=throw:stoi\n",
                4,
                {in_rule("uncaught exception std::out_of_range: stoi")}},
        Failure{"HangInARule",
                "fec_confirmation_warning=hang\n",
                4,
                {std::string("The plug-in was stopped in ") + kWhere + "no answer within 3 s.\n"}},
        Failure{"ExitInInit",
                "lib_init=exit:5\n",
                4,
                {"The plug-in died in lib_init: it ended the process with exit status 5.\n"}},
        Failure{"HangInFinish",
                "lib_finish=hang\n",
                4,
                {"The plug-in was stopped in lib_finish: no answer within 3 s.\n"}},
        Failure{"InitFails", "lib_init=answer:-1\n", 3, {"lib_init failed with result -1"}},
        Failure{"NameFails",
                "get_validation_point=answer:-1\n",
                3,
                {"get_validation_point failed with result -1"}},
        Failure{"OtherName",
                "name=other_check\n",
                3,
                {"the validation point \"other_check\", but the data model has "
                 "\"gpon_validation_check\""}}),
    [](const auto &tested) { return tested.param.name; });

TEST_F(PluginFailure, OfAMissingFileOrEntryPointIsToldWithTheFile)
{
    const std::string running = file("running.xml", kRunning);
    const ProgramRun missing = run({"check", "--plugin", "./nowhere.so", running});
    EXPECT_EQ(missing.code, 3) << missing;
    EXPECT_THAT(missing.out, testing::StartsWith("./nowhere.so: the plug-in cannot be loaded: "));
    const ProgramRun incomplete =
        run({"check", "--plugin", TEST_PLUGINS "/incomplete.so", running});
    EXPECT_EQ(incomplete.code, 3) << incomplete;
    EXPECT_THAT(incomplete.out,
                HasSubstr("incomplete.so: the plug-in has no entry point lib_finish"));
}

TEST_F(PluginFailure, KeepsWhatWasFoundBefore)
{
    const std::string candidate = file("candidate.xml", kFecEdit);
    const ProgramRun done =
        check("interface_validation=reject:Too few.\nfec_confirmation_warning=exit:1\n",
              {candidate, "--all"});
    EXPECT_EQ(done.code, 4) << done;
    EXPECT_THAT(done.out, HasSubstr("/config/interface/gpon (interface_validation)\n    Too few."));
    EXPECT_THAT(done.out, HasSubstr(in_rule("it ended the process with exit status 1")));
}

TEST_F(PluginFailure, InThisProcessTellsAnExceptionToo)
{
    const ProgramRun done = check_fec("fec_confirmation_warning=throw:stoi\n", {"--in-process"});
    EXPECT_EQ(done.code, 4) << done;
    EXPECT_THAT(done.out, HasSubstr(in_rule("uncaught exception std::out_of_range: stoi")));
}

TEST_F(PluginFailure, IsInTheJsonReport)
{
    const ProgramRun done = check_fec("fec_confirmation_warning=assert\n", {"--json"});
    EXPECT_EQ(done.code, 4) << done;
    const auto report = nlohmann::json::parse(done.out);
    EXPECT_EQ(report.at("result"), "plugin-died");
    EXPECT_EQ(report.at("death").at("kind"), "signal");
    EXPECT_EQ(report.at("death").at("number"), 6);
    EXPECT_EQ(report.at("death").at("rule"), "fec_confirmation_warning");
    EXPECT_THAT(report.at("plugin-output").get<std::string>(), HasSubstr("is_told_to_fail"));
}

} // namespace
