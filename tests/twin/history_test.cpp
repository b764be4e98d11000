/** The history of commits: what is kept, through restarts and kills. */
#include "twin/state_folder.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace host::twin;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace
{

using Access = History::Access;
using Form = Step::Form;

using Folder = test_support::StateFolder;

Commit commit_by(const std::string &user, const std::string &verdict = "accepted")
{
    Commit commit;
    commit.time_ms = 1700000000123;
    commit.author = {user, "operator", 7, "ssh", "127.0.0.1"};
    commit.verdict = verdict;
    commit.confirmations = {"one_rule", "another_rule"};
    return commit;
}

/** Edits of these tests append: what a history gives is a text. */
std::string text_of(const StoredConfiguration &stored)
{
    std::string text = stored.snapshot;
    for (const auto &edit : stored.edits) {
        text += edit;
    }
    return text;
}

/** Any sequence of calls, with restarts in between, against a history that is a map. */
TEST(History, IsTheSameAfterRestarts)
{
    const Folder folder;
    std::optional<History> history = folder.serve();
    EXPECT_TRUE(history->empty());
    history->begin("a");
    std::map<CommitNumber, std::string> texts{{0, "a"}};
    CommitNumber running = 0;
    std::optional<std::string> startup;
    std::mt19937 random(14);
    std::size_t snapshots = 0;
    for (int step = 0; step < 1500; ++step) {
        const std::string letter(1, static_cast<char>('b' + random() % 25));
        switch (random() % 256) {
        case 0:
            history.reset();
            history = folder.serve();
            break;
        case 1:
            running = history->add(commit_by("whole"), {Form::kWhole, letter});
            texts[running] = letter;
            break;
        case 2: {
            auto any = std::next(texts.begin(), static_cast<long>(random() % texts.size()));
            running = history->add(commit_by("back"), {Form::kRestore, "", any->first});
            texts[running] = any->second;
            break;
        }
        case 3: {
            const auto refused = history->add(commit_by("refused", "rejected"), {});
            EXPECT_THROW(history->configuration(refused), HistoryError);
            break;
        }
        case 4:
            history->set_startup_to_running();
            startup = texts[running];
            break;
        case 5:
            history->set_startup(letter);
            startup = letter;
            break;
        case 6:
            history->delete_startup();
            startup.reset();
            break;
        default: {
            const auto before = texts[running];
            running = history->add(commit_by("edit"), {Form::kEdit, letter});
            texts[running] = before + letter;
        }
        }
        if (history->needs_snapshot()) {
            history->add_snapshot(running, texts[running]);
            EXPECT_FALSE(history->needs_snapshot());
            ++snapshots;
        }
        ASSERT_EQ(history->running_number(), running);
        if (step % 16 == 0) {
            ASSERT_EQ(text_of(history->running()), texts[running]) << "step " << step;
            const auto stored = history->startup();
            ASSERT_EQ(stored ? std::optional(text_of(*stored)) : std::nullopt, startup);
        }
    }
    for (const auto &[number, text] : texts) {
        EXPECT_EQ(text_of(history->configuration(number)), text) << "after commit " << number;
    }
    EXPECT_GT(snapshots, 0U);
}

TEST(History, TellsWhoDidWhat)
{
    const Folder folder;
    PendingConfirmation pending{0, commit_by("eve").author, "token"};
    {
        History history = folder.serve();
        history.begin("");
        Commit commit = commit_by("eve");
        commit.kind = CommitKind::kEdit;
        history.add(commit, {Form::kEdit, "<config/>"}, pending);
        history.add(commit_by("bob", "rejected"), {});
    }
    // Read beside a server.
    const History server = folder.serve();
    History history = History::open(folder.path(), Access::kRead);
    const auto commits = history.commits();
    ASSERT_EQ(commits.size(), 2U);
    EXPECT_EQ(history.commits(1).size(), 1U);
    EXPECT_EQ(commits[0].author.user, "bob");
    EXPECT_EQ(commits[0].verdict, "rejected");
    const Commit &first = commits[1];
    EXPECT_EQ(first.number, 1);
    EXPECT_EQ(commits[0].base, 1);
    EXPECT_EQ(first.time_ms, 1700000000123);
    EXPECT_EQ(first.kind, CommitKind::kEdit);
    EXPECT_EQ(first.author.role + first.author.transport + first.author.host,
              "operatorssh127.0.0.1");
    EXPECT_EQ(first.author.session, 7U);
    EXPECT_THAT(first.confirmations, testing::ElementsAre("one_rule", "another_rule"));
    EXPECT_EQ(history.step(1).text, "<config/>");
    ASSERT_TRUE(history.pending());
    EXPECT_EQ(history.pending()->restores, 0);
    EXPECT_EQ(history.pending()->author.user, "eve");
    EXPECT_EQ(history.pending()->persist_id, "token");
    EXPECT_THROW(history.add(first, {}), HistoryError);
    EXPECT_THROW(history.commit(9), HistoryError);
    EXPECT_THROW(history.configuration(9), HistoryError);
}

void change_version(const Folder &folder, const std::string &pragma)
{
    SQLite::Database(folder.file().string(), SQLite::OPEN_READWRITE).exec("PRAGMA " + pragma);
}

/** Overwrites a page in the middle. */
void damage(const Folder &folder)
{
    std::fstream file(folder.file(), std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(4096);
    file << std::string(8192, '#');
}

TEST(History, RefusesWhatItCannotUse)
{
    const struct {
        const char *says;
        std::function<void(const Folder &)> spoil;
    } cases[] = {
        {"not a database",
         [](const Folder &folder) { std::ofstream(folder.file()) << std::string(5000, 'x'); }},
        {"another program's",
         [](const Folder &folder) { change_version(folder, "application_id = 5"); }},
        {"of version 99",
         [](const Folder &folder) { change_version(folder, "user_version = 99"); }},
        {"damaged", damage},
        {"malformed", [](const Folder &folder) { fs::resize_file(folder.file(), 6000); }}};
    for (const auto &one : cases) {
        const Folder folder;
        folder.serve().begin(std::string(100000, 'a'));
        one.spoil(folder);
        try {
            const auto read = text_of(folder.serve().running());
            ADD_FAILURE() << one.says << ": no error";
        } catch (const HistoryError &error) {
            EXPECT_THAT(error.what(), HasSubstr(one.says));
            EXPECT_THAT(error.what(), HasSubstr(folder.file().string()));
        }
    }
    const Folder empty;
    EXPECT_THROW(History::open(empty.path(), Access::kRead), HistoryError);
    EXPECT_THROW(History::open("/proc/none", Access::kServe), HistoryError);
}

/** Runs in a child process, which ends without tidying up. */
template <typename Work>
pid_t start(const Work &work)
{
    const pid_t child = fork();
    if (child == 0) {
        try {
            work();
            _exit(0);
        } catch (const std::exception &error) {
            _exit(std::string(error.what()).find("serves from this folder") == std::string::npos
                      ? 1
                      : 2);
        }
    }
    return child;
}

TEST(History, ServesOneServer)
{
    const Folder folder;
    std::optional<History> first = folder.serve();
    const auto status_of_second = [&] {
        int status = 0;
        waitpid(start([&] { folder.serve(); }), &status, 0);
        return WEXITSTATUS(status);
    };
    EXPECT_EQ(status_of_second(), 2);
    first.reset();
    EXPECT_EQ(status_of_second(), 0);
}

/** A disk that is full for a while: nothing is half written, and the next commit is. */
TEST(History, SurvivesAFullDisk)
{
    const Folder folder;
    folder.serve().begin("a");
    const auto fill_up = [&] {
        static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
        History history = folder.serve();
        const rlimit full{200'000, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &full);
        try {
            history.add(commit_by("eve"), {Form::kWhole, std::string(500'000, 'b')});
            _exit(3);
        } catch (const HistoryError &) {
        }
        const rlimit free{RLIM_INFINITY, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &free);
        if (text_of(history.running()) != "a") {
            _exit(4);
        }
        history.add(commit_by("eve"), {Form::kEdit, "c"});
    };
    int status = 0;
    waitpid(start(fill_up), &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(text_of(folder.serve().running()), "ac");
    EXPECT_EQ(folder.serve().commits().size(), 1U);
}

/** What a server has answered is there, and at most one more that it was about to answer. */
TEST(History, SurvivesKills)
{
    const Folder folder;
    folder.serve().begin("");
    CommitNumber total = 0;
    std::mt19937 random(7);
    for (int round = 0; round < 40; ++round) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = start([&] {
            History history = folder.serve();
            for (;;) {
                const auto number = history.add(commit_by("eve"), {Form::kEdit, "e"});
                if (history.needs_snapshot()) {
                    history.add_snapshot(number, text_of(history.running()));
                }
                if (write(ends[1], &number, sizeof number) != sizeof number) {
                    return;
                }
            }
        });
        close(ends[1]);
        CommitNumber answered = 0;
        const auto commits = random() % 20;
        for (unsigned i = 0; i <= commits; ++i) {
            ASSERT_EQ(read(ends[0], &answered, sizeof answered), sizeof answered);
        }
        usleep(static_cast<useconds_t>(random() % 3000));
        kill(child, SIGKILL);
        while (read(ends[0], &answered, sizeof answered) == sizeof answered) {
        }
        close(ends[0]);
        waitpid(child, nullptr, 0);

        const History history = folder.serve();
        const auto running = history.running_number();
        EXPECT_GE(running, answered);
        EXPECT_LE(running, answered + 1);
        EXPECT_EQ(text_of(history.running()), std::string(static_cast<std::size_t>(running), 'e'));
        EXPECT_GT(running, total);
        total = running;
    }
    RecordProperty("commits", static_cast<int>(total));
}

} // namespace
