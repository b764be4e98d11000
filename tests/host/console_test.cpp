/** Questions to the operator: the answers that are understood, and a real terminal. */
#include "cli/console.h"

#include "program_runner.h"

#include <array>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::HasSubstr;

namespace
{

struct Dialogue {
    const char *typed;
    std::optional<bool> answer;
    const char *shown;
};

TEST(Question, IsRepeatedUntilTheAnswerIsClear)
{
    const std::string question = "Proceed? [yes,no] ";
    const std::vector<Dialogue> dialogues{
        {"yes\n", true, ""},
        {"n\n", false, ""},
        {"YES\n\ny\n", true,
         "Answer yes or no.\nProceed? [yes,no] Answer yes or no.\nProceed? [yes,no] "},
        {"", std::nullopt, "\n"}};
    for (const auto &dialogue : dialogues) {
        std::istringstream in(dialogue.typed);
        std::ostringstream out;
        EXPECT_EQ(host::ask_yes_or_no(in, out), dialogue.answer) << dialogue.typed;
        EXPECT_EQ(out.str(), question + dialogue.shown) << dialogue.typed;
    }
}

/** The program on a terminal of its own. */
class OnTerminal : public ProgramTest
{
protected:
    /** Starts `check` with stdin, stdout and stderr on a new terminal. */
    void start(const std::vector<std::string> &words)
    {
        m_child = forkpty(&m_terminal, nullptr, nullptr, nullptr);
        ASSERT_GE(m_child, 0);
        if (m_child == 0) {
            setenv("GPON_TEST_SCRIPT", "fec_confirmation_warning=warn:Traffic stops.\n", 1);
            std::vector<char *> argv;
            std::vector<std::string> all{GPON_VALIDATE_WORDS, "check", "--plugin", kScripted};
            all.insert(all.end(), words.begin(), words.end());
            for (auto &word : all) {
                argv.push_back(word.data());
            }
            argv.push_back(nullptr);
            execvp(argv[0], argv.data());
            _exit(127);
        }
    }

    /** Reads the screen until it ends with the text, or for good. */
    std::string screen_until(const std::string &end)
    {
        std::string screen;
        std::array<char, 1024> buffer{};
        while (!screen.ends_with(end)) {
            const ssize_t size = ::read(m_terminal, buffer.data(), buffer.size());
            if (size <= 0) {
                break;
            }
            screen.append(buffer.data(), static_cast<std::size_t>(size));
        }
        return screen;
    }

    void type(const std::string &text)
    {
        ASSERT_EQ(::write(m_terminal, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    int exit_code()
    {
        int status = 0;
        waitpid(m_child, &status, 0);
        close(m_terminal);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t m_child = -1;
    int m_terminal = -1;
};

TEST_F(OnTerminal, WarningsAreShownAndTheAnswerCounts)
{
    const std::string running = file("running.xml", kRunning);
    const std::string edit = file("change.xml", kFecEdit);
    for (const auto &[answer, code] : {std::pair{"yes\n", 0}, std::pair{"no\n", 2}}) {
        start({"--running", running, "--edit", edit});
        const std::string question = screen_until("Proceed? [yes,no] ");
        EXPECT_THAT(question, HasSubstr("Traffic stops."));
        type(answer);
        EXPECT_THAT(screen_until("no end"),
                    HasSubstr(code == 0 ? "Accepted after confirmation." : "Not confirmed."));
        EXPECT_EQ(exit_code(), code);
    }
}

} // namespace
