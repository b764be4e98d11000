/** Files that the program writes, and text from outside on its way to a terminal. */
#include "program_runner.h"

#include "report/printable.h"

#include <nlohmann/json.hpp>

#include <sys/stat.h>

using testing::HasSubstr;
using testing::Not;

namespace
{

class Output : public ProgramTest
{
protected:
    Output()
    {
        file("running.xml", kRunning);
        file("change.xml", kFecEdit);
        file("card.json", "{}");
    }

    /** Words of a check with the card's own plug-in, which writes traces. */
    std::vector<std::string> traced(const std::string &trace_file) const
    {
        return {"check",
                "--plugin",
                CARD_PLUGIN,
                "--running",
                path("running.xml"),
                "--edit",
                path("change.xml"),
                "--card",
                path("card.json"),
                "--yes",
                "--trace",
                "fine",
                "--trace-file",
                trace_file};
    }
};

TEST_F(Output, IsNeverAnInput)
{
    std::filesystem::create_symlink(path("running.xml"), path("link"));
    std::filesystem::create_hard_link(path("change.xml"), path("twin"));
    for (const char *name : {"running.xml", "./running.xml", "link", "twin", "card.json"}) {
        const ProgramRun done = run(traced(path(name)));
        EXPECT_EQ(done.code, 3) << done;
        EXPECT_THAT(done.out, HasSubstr("--trace-file is the same file as "));
    }
    const ProgramRun listed = run_alone({"check", "--edits", path("")});
    EXPECT_EQ(listed.code, 3) << listed;
    EXPECT_THAT(listed.out, HasSubstr("an edit is the same file as std"));
    EXPECT_EQ(read("running.xml"), kRunning);
    EXPECT_EQ(read("change.xml"), kFecEdit);
    EXPECT_EQ(read("card.json"), "{}");
    EXPECT_EQ(run({"generate", "-o", path("new"), "--card", path("./new")}).code, 3);
    EXPECT_FALSE(std::filesystem::exists(path("new")));
}

TEST_F(Output, KeepsTheOldFileUntilTheNewOneIsWhole)
{
    const std::string trace = file("trace", "old");
    chmod(trace.c_str(), 0640);
    const auto files = [this] {
        return std::distance(std::filesystem::directory_iterator(path("")), {});
    };
    const auto files_before = files();
    std::filesystem::create_symlink("trace", path("link"));

    std::vector<std::string> unreadable = traced(trace);
    unreadable[6] = path("nothing.xml");
    EXPECT_EQ(run(unreadable).code, 3);
    EXPECT_EQ(read("trace"), "old");

    EXPECT_EQ(run_alone(traced(trace), "ulimit -f 0;").code, 3);
    EXPECT_EQ(read("trace"), "old");

    EXPECT_EQ(run(traced(path("link"))).code, 0);
    EXPECT_THAT(read("trace"), HasSubstr("upstream-fec"));
    EXPECT_TRUE(std::filesystem::is_symlink(path("link")));
    EXPECT_EQ(std::filesystem::status(trace).permissions(), std::filesystem::perms{0640});
    EXPECT_EQ(files(), files_before + 3) << "more than the link, stdout and stderr is left";
}

TEST_F(Output, ThatFailsIsTold)
{
    struct Case {
        std::vector<std::string> words;
        const char *prefix;
        const char *says;
    };
    const std::vector<std::string> check{"check", "--plugin", kScripted, path("running.xml")};
    for (const auto &[words, prefix, says] :
         {Case{{"--help"}, "exec >/dev/full;", "stdout cannot be written: No space left on device"},
          Case{{"points"}, "exec >/dev/full;", "stdout cannot be written: No space left on device"},
          Case{check, "exec >/dev/full;", "stdout cannot be written: No space left on device"},
          Case{{"generate", "-o", path("made.xml")},
               "ulimit -f 8;",
               "made.xml: cannot be written: File too large"}}) {
        const bool to_full = std::string_view(prefix).find("full") != std::string_view::npos;
        const ProgramRun done = run_alone(words, prefix, to_full ? ">/dev/full" : "");
        EXPECT_EQ(done.code, 3) << done;
        EXPECT_THAT(done.err, HasSubstr(says));
    }
    EXPECT_FALSE(std::filesystem::exists(path("made.xml")));
    const ProgramRun traces = run(traced("/dev/full"));
    EXPECT_EQ(traces.code, 3) << traces;
    EXPECT_THAT(traces.out, HasSubstr("/dev/full: cannot be written: No space left on device\n"));
    EXPECT_THAT(traces.out, Not(HasSubstr("lug-in")));
}

TEST_F(Output, HasNothingThatSteersATerminal)
{
    struct Case {
        std::string text;
        std::string shown;
    };
    const std::vector<Case> cases{
        {"plain, \xc3\xa4\xe2\x82\xac\xf0\x9f\x90\x9f\t|",
         "plain, \xc3\xa4\xe2\x82\xac\xf0\x9f\x90\x9f\t|"},
        {"\x1b[2J\r\x07\x7f", "\\x1b[2J\\x0d\\x07\\x7f"},
        {"\xc2\x9b[31m", "\\u{9b}[31m"},
        {"a\xe2\x80\xae"
         "b\xe2\x81\xa6"
         "c\xd8\x9c",
         "a\\u{202e}b\\u{2066}c\\u{61c}"},
        {"\x9b \xc0\x9b \xe0\x80\x9b \xed\xa0\x80 \xf4\x90\x80\x80 \xff",
         "\\x9b \\xc0\\x9b \\xe0\\x80\\x9b \\xed\\xa0\\x80 \\xf4\\x90\\x80\\x80 \\xff"},
        {"cut \xf0\x9f\x90", "cut \\xf0\\x9f\\x90"},
        {"cut \xe2\x80"
         "a",
         "cut \\xe2\\x80"
         "a"}};
    for (const auto &[text, shown] : cases) {
        EXPECT_EQ(host::printable(text), shown);
        host::PrintableStream stream;
        std::string by_bytes;
        for (const char byte : text) {
            by_bytes += stream.take(std::string_view(&byte, 1));
        }
        EXPECT_EQ(by_bytes + stream.end(), shown) << "byte by byte";
    }
    EXPECT_EQ(host::printable("a\nb"), "a\\x0ab");
    EXPECT_EQ(host::printable_lines("a\nb"), "a\nb");
}

/** Wherever text from outside may come from. */
TEST_F(Output, OfEachKindIsMadeFitForATerminal)
{
    const std::string evil = "\x1b]0;x\x07\xc2\x9b\xe2\x80\xae";
    const std::vector<std::string> fec{"--running", path("running.xml"), "--edit",
                                       path("change.xml")};
    const auto with = [&](const std::string &script, const std::string &more = "--all") {
        auto words = fec;
        words.push_back(more);
        return check("fec_confirmation_warning=" + script + "\n", words);
    };
    const std::vector<ProgramRun> runs{
        with("reject:" + evil),
        with("warn:" + evil),
        with("throw:" + evil),
        with("print:" + evil),
        with("", "--" + evil),
        run({"points", evil}),
        run({evil}),
        run({"generate", "-o", path(evil) + "/x"}),
        run({"check", path(evil)}),
        check("", {file("bad.xml", "<config xmlns='urn:olt:gpon:base'><service-port><id>" +
                                       evil.substr(6) + "</id></service-port></config>")}),
        run({"diff",
             file("evil.xml", "<config xmlns='urn:olt:gpon:base'><interface><gpon>"
                              "<chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>1"
                              "</port-id><description>" +
                                  evil.substr(6) + "</description></gpon></interface></config>")}),
        check("", {"--running", path("running.xml"), "--edit",
                   file("bad.json", R"({"base:config": {"x)"
                                    "\\u009b\\u202e"
                                    R"(": 1}})")})};
    for (const auto &done : runs) {
        const std::string all = done.out + done.err;
        for (const char *part : {"\x1b", "\x07", "\xc2\x9b", "\xe2\x80\xae"}) {
            EXPECT_THAT(all, Not(HasSubstr(part)));
        }
        EXPECT_THAT(all, HasSubstr("\\u{9b}\\u{202e}"));
    }
}

} // namespace
