#include "host/program_runner.h"

#include "engine/data/error.h"
#include "fleet/card_list.h"
#include "fleet/edit_command.h"
#include "fleet/result_file.h"

#include <chrono>
#include <csignal>
#include <random>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using testing::AllOf;
using testing::HasSubstr;

namespace
{

/** A fleet of small cards, and the results of a serial run. */
class Fleet : public ProgramTest
{
protected:
    Fleet()
    {
        file("running.xml", kRunning);
        file("change.xml", kFecEdit);
        std::string list;
        for (int i = 0; i < kCards; ++i) {
            const std::string name = i == kMarked ? kMarkup : "card" + std::to_string(i);
            list += name + "\t" + path(i == kMissing ? "none.xml" : "running.xml") + "\n";
        }
        file("cards.tsv", list);
    }

    std::vector<std::string> words_for(const std::string &results,
                                       std::vector<std::string> words = {}) const
    {
        words.insert(words.begin(), {"fleet", path("cards.tsv"), "--edit", path("change.xml"), "-o",
                                     path(results)});
        return words;
    }
    ProgramRun fleet(const std::string &results, const std::vector<std::string> &words = {}) const
    {
        return run(words_for(results, words));
    }
    /** The program in a process of its own, which can be killed. */
    pid_t start(const std::vector<std::string> &words) const
    {
        const pid_t process = fork();
        if (process == 0) {
            _exit(run(words).code);
        }
        return process;
    }
    static int end_of(pid_t process)
    {
        int status = 0;
        waitpid(process, &status, 0);
        return status;
    }

    static constexpr int kCards = 40;
    static constexpr int kMissing = 5; /**< Its configuration cannot be read. */
    static constexpr int kMarked = 9;  /**< Its name is this one. */
    static constexpr const char *kMarkup = "<b>\"&";
};

} // namespace

TEST_F(Fleet, WhoeverChecksWhatTheFileIsThatOfASerialRun)
{
    const auto serial = fleet("serial", {"--jobs", "1"});
    EXPECT_EQ(serial.code, 3) << serial;
    EXPECT_THAT(serial.out, AllOf(HasSubstr("40 cards: 39 not confirmed, 1 not checked.\n"),
                                  HasSubstr("39  fec_confirmation_warning: The change"),
                                  HasSubstr("1  unreadable: No such file")));
    EXPECT_THAT(read("serial"), HasSubstr("named in " + path("cards.tsv") + ":6"));

    fleet("parallel", {"--jobs", "3"});
    EXPECT_EQ(read("parallel"), read("serial"));

    std::vector<std::string> merge{"fleet",
                                   "merge",
                                   path("cards.tsv"),
                                   "-o",
                                   path("merged"),
                                   "--report",
                                   "html=" + path("page.html"),
                                   "--report",
                                   "junit=" + path("tests.xml")};
    for (const std::string part : {"3", "1", "2"}) {
        fleet("part" + part, {"--shard", part + "/3"});
        merge.push_back(path("part" + part));
    }
    const auto merged = run(merge);
    EXPECT_EQ(merged.code, 3) << merged;
    EXPECT_EQ(read("merged"), read("serial"));
    EXPECT_THAT(read("tests.xml"), AllOf(HasSubstr("tests=\"40\" failures=\"39\" errors=\"1\""),
                                         HasSubstr("name=\"&lt;b>&quot;&amp;\"")));
    EXPECT_THAT(
        read("page.html"),
        AllOf(HasSubstr(
                  "<tr><td>&lt;b&gt;&quot;&amp;</td><td class=\"not-confirmed\">not confirmed</td>"
                  "<td>fec_confirmation_warning</td>"),
              HasSubstr("</tbody>"), testing::EndsWith("</html>\n")));
}

TEST_F(Fleet, WhateverIsKilledNothingIsLost)
{
    constexpr int kRounds = 6;
    constexpr int kMostMilliseconds = 250;
    fleet("serial", {"--jobs", "1"});
    std::mt19937 random(std::random_device{}());
    for (int round = 0; round < kRounds; ++round) {
        const auto name = "killed" + std::to_string(round);
        for (int kills = 0; kills < 2; ++kills) {
            const pid_t process = start(words_for(name, {"--resume", "--jobs", "2"}));
            std::this_thread::sleep_for(std::chrono::milliseconds(random() % kMostMilliseconds));
            kill(process, SIGKILL);
            end_of(process);
        }
        const auto last = fleet(name, {"--resume"});
        EXPECT_EQ(last.code, 3) << last;
        EXPECT_EQ(read(name), read("serial"));
    }
}

TEST_F(Fleet, AWorkerThatDiesIsReplacedAndItsCardCheckedOnceMore)
{
    // The shell's parent is a guardian, and the parent of that the worker.
    const std::string always = "set -- $(cat /proc/$PPID/stat); kill -9 $4; sleep 1000";
    const std::string once = "test -e " + path("{name}") + " || { touch " + path("{name}") + "; " +
                             always + "; }; cat " + path("change.xml");
    file("cards.tsv", "one\t" + path("running.xml") + "\n");
    for (const auto &[command, code] : {std::pair(once, 2), std::pair(always, 3)}) {
        std::filesystem::remove(path("results"));
        const auto ended =
            run({"fleet", path("cards.tsv"), "--edit-command", command, "-o", path("results")});
        EXPECT_EQ(ended.code, code) << ended << read("results");
    }
    EXPECT_THAT(read("results"), HasSubstr("signal: Killed, twice"));
}

TEST_F(Fleet, OnlyResultsWhoseInputsAreTheSameAreKept)
{
    file("cards.tsv", "one\t" + path("running.xml") + "\ntwo\t" + path("running.xml") + "\n");
    EXPECT_EQ(fleet("results").code, 2);
    const std::string before = read("results");
    EXPECT_THAT(fleet("results").out, HasSubstr("this file exists"));

    // A report that no check makes shows that it was kept; what was cut off is checked again.
    std::string marked = before;
    marked.replace(marked.find("\"requests-made\":2"), 17, "\"requests-made\":9");
    file("results", marked.substr(0, marked.size() - 5));
    EXPECT_EQ(fleet("results", {"--resume"}).code, 2);
    EXPECT_EQ(read("results"), marked);

    EXPECT_EQ(fleet("results", {"--resume", "--yes"}).code, 0) << "another answer to warnings";
    EXPECT_THAT(read("results"), testing::Not(HasSubstr("\"requests-made\":9")));
    file("change.xml", "<config xmlns=\"urn:olt:gpon:base\"/>");
    EXPECT_EQ(fleet("results", {"--resume", "--yes"}).code, 0) << "another edit";
    EXPECT_THAT(read("results"), testing::Not(HasSubstr("fec_")));
}

TEST_F(Fleet, ASignalEndsTheWorkersAndTheFileCanBeGoneOnWith)
{
    const std::string command = "case {name} in card7) test -e " + path("go") +
                                " || sleep 1000;; esac; cat " + path("change.xml");
    const auto words = [&](const char *results) {
        return std::vector<std::string>{"fleet", path("cards.tsv"), "--edit-command", command,
                                        "-o",    path(results),     "--resume"};
    };
    const pid_t process = start(words("results"));
    while (read("results").empty()) {
        std::this_thread::yield();
    }
    kill(process, SIGINT);
    const int status = end_of(process);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 5);
    file("go", "");
    EXPECT_EQ(run(words("results")).code, 3);
    run(words("serial"));
    EXPECT_EQ(read("results"), read("serial"));
}

TEST_F(Fleet, AFullDiskIsToldAndTheFileStaysWhole)
{
    const auto full = [&] {
        const rlimit small{3000, RLIM_INFINITY};
        const pid_t process = fork();
        if (process == 0) {
            signal(SIGXFSZ, SIG_IGN);
            setrlimit(RLIMIT_FSIZE, &small);
            const auto ended = fleet("results", {"--jobs", "2"});
            _exit(ended.out.find("cannot be written: File too large") != std::string::npos
                      ? ended.code
                      : EXIT_FAILURE);
        }
        return end_of(process);
    }();
    EXPECT_EQ(WEXITSTATUS(full), 3);
    EXPECT_THAT(read("results"),
                AllOf(testing::EndsWith("}\n"), testing::SizeIs(testing::Lt(3001))));
    fleet("serial", {"--jobs", "1"});
    fleet("results", {"--resume"});
    EXPECT_EQ(read("results"), read("serial"));
}

TEST_F(Fleet, BadListsAndPartsAreToldWithTheirLines)
{
    struct Case {
        const char *list;
        const char *said;
    };
    for (const Case &bad : std::initializer_list<Case>{
             {"# nothing\n\n", "list: there is no card in it"},
             {"a\tx\n\nb\n", "list:3: the field running is missing"},
             {"a\tx\nb\ty\r\na\tz\n", "list:3: the name a is that of line 1"},
             {"a\tb\tc\td\te\n", "list:1: there are more than four fields"},
             {R"({"name":"a","runing":"x"})", "list:1: there is no member runing"},
             {R"({"name":"a","running":1})", "list:1: the member running must be a string"},
             {"{\"name\":\"a\"\n", "list:1: this is no JSON object"},
             {"a\tx\nb\t\xFF\n", "list:2:3: Not UTF-8"}}) {
        const auto refused =
            run({"fleet", file("list", bad.list), "--edit", path("change.xml"), "-o", path("out")});
        EXPECT_EQ(refused.code, 3);
        EXPECT_THAT(refused.out, HasSubstr(bad.said));
        EXPECT_FALSE(std::filesystem::exists(path("out"))) << "nothing may have been run";
    }

    file("cards.tsv", "a\t" + path("running.xml") + "\nb\t" + path("running.xml") + "\n");
    fleet("all");
    fleet("first", {"--shard", "1/2"});
    file("list", "a\tx\nb\tx\nc\tx\n");
    file("torn", read("first").substr(0, 100));
    file("other", "{}\n");
    const auto merged = run({"fleet", "merge", path("list"), path("all"), path("first"),
                             path("torn"), "-o", path("out")});
    EXPECT_THAT(merged.out, AllOf(HasSubstr("first:1: a result of the card a is also in "
                                            "all:1"),
                                  HasSubstr("list:3: no part has a result of the card c"),
                                  HasSubstr("torn:1: this line has no end")));
    EXPECT_THAT(run({"fleet", "merge", path("list"), path("other"), "-o", path("out")}).out,
                HasSubstr("other:1: this is no result"));
    EXPECT_THAT(fleet("other", {"--resume"}).out, HasSubstr("other:1: this is no result"));
    EXPECT_EQ(read("other"), "{}\n") << "what is no file of ours stays as it is";
}

TEST_F(Fleet, AnEditMayComeFromACommand)
{
    const std::string name = "it's {card}";
    host::FleetCard card{name, "a b", "", "", 0};
    EXPECT_EQ(host::command_for(card, "x {running} {name} {nam}"),
              "x 'a b' 'it'\\''s {card}' {nam}");
    EXPECT_EQ(host::run_edit_command("printf 'a\\nb'", {}).text, "a\nb");
    struct Case {
        const char *command;
        const char *message;
        const char *hint;
    };
    for (const Case &bad : std::initializer_list<Case>{
             {"echo no; echo why >&2; exit 7", "the command failed with exit code 7", "why"},
             {"kill -9 $$", "the command was ended by a signal: Killed", ""},
             {"echo waiting >&2; sleep 1000", "the command did not end within 1 s", "waiting"},
             {"head -c 2000 /dev/zero", "larger than 1000 bytes", ""}}) {
        try {
            host::run_edit_command(bad.command, {1000, std::chrono::seconds(1)});
            ADD_FAILURE() << bad.command;
        } catch (const engine::InputError &failure) {
            EXPECT_EQ(failure.problems().front().message, bad.message);
            EXPECT_EQ(failure.problems().front().hint, bad.hint);
        }
    }
}

TEST_F(Fleet, CardsAreFoundInFolders)
{
    for (const char *name : {"b", "a", "empty"}) {
        std::filesystem::create_directories(path("cards/") + name);
    }
    file("cards/b/running.xml", kRunning);
    file("cards/a/running.json", "{}");
    file("cards/a/change.xml", kFecEdit);
    const auto found = host::find_cards(path("cards"));
    ASSERT_EQ(found.cards.size(), 2U);
    EXPECT_EQ(found.cards[0].name, "a");
    EXPECT_EQ(found.cards[0].edit, path("cards/a/change.xml"));
    EXPECT_EQ(found.cards[1].running, path("cards/b/running.xml"));
    file("cards/a/running.xml", kRunning);
    EXPECT_THROW(host::find_cards(path("cards")), engine::InputError);
}
