#include "shell/terminal.h"

#include "engine/data/closest_name.h"
#include "report/printable.h"
#include "shell/completion.h"

#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <histedit.h>
#include <iostream>
#include <memory>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace host::shell
{
namespace
{

constexpr int kHistoryLines = 1000;
constexpr std::size_t kLeastWidth = 20;
constexpr std::size_t kMostPathInPrompt = 40;

/** A signal reaches what it concerns by way of this alone. */
std::atomic<bool> *interrupt_flag = nullptr;

void note_interrupt(int /*signal*/)
{
    *interrupt_flag = true;
}

std::size_t terminal_width()
{
    winsize size{};
    const bool is_known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return is_known ? std::max<std::size_t>(size.ws_col, kLeastWidth) : 80;
}

class Terminal
{
public:
    Terminal(Shell &shell, const TerminalOptions &options, std::atomic<bool> &interrupt);
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    Result run();

private:
    static Terminal &of(EditLine *edit);
    static char *prompt_of(EditLine *edit);
    static unsigned char complete_word(EditLine *edit, int key);
    static unsigned char show_help(EditLine *edit, int key);
    static unsigned char drop_line(EditLine *edit, int key);

    void open_history();
    void keep(const std::string &line);
    void carry_out(const std::string &line);
    std::string typed() const;
    std::string prompt() const;
    void print_below(const Completion &completion) const;

    Shell &m_shell;
    std::atomic<bool> &m_interrupt;
    std::optional<std::filesystem::path> m_file;
    EditLine *m_edit;
    History *m_history;
    std::string m_prompt;
};

Terminal::Terminal(Shell &shell, const TerminalOptions &options, std::atomic<bool> &interrupt)
    : m_shell(shell), m_interrupt(interrupt), m_file(options.history),
      m_edit(el_init("gpon-shell", stdin, stdout, stderr)), m_history(history_init())
{
    m_shell.io.width = terminal_width;
    if (m_edit == nullptr || m_history == nullptr) {
        throw SessionError("the terminal cannot be used");
    }
    el_set(m_edit, EL_CLIENTDATA, this);
    el_set(m_edit, EL_PROMPT, prompt_of);
    el_set(m_edit, EL_EDITOR, "emacs");
    // The narrow call would copy both texts and never free them.
    el_wset(m_edit, EL_ADDFN, L"gpon-complete", L"Complete the word", complete_word);
    el_wset(m_edit, EL_ADDFN, L"gpon-help", L"Show what may follow", show_help);
    el_wset(m_edit, EL_ADDFN, L"gpon-drop", L"Drop the line", drop_line);
    // A key like others as long as a line is typed: a signal may come while nobody waits for one.
    el_set(m_edit, EL_SETTY, "-d", "-isig", nullptr);
    el_set(m_edit, EL_BIND, "^C", "gpon-drop", nullptr);
    el_set(m_edit, EL_BIND, "^I", "gpon-complete", nullptr);
    el_set(m_edit, EL_BIND, "?", "gpon-help", nullptr);
    el_set(m_edit, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    HistEvent event{};
    history(m_history, &event, H_SETSIZE, kHistoryLines);
    history(m_history, &event, H_SETUNIQUE, 1);
    el_set(m_edit, EL_HIST, history, m_history);
    open_history();
}

Terminal::~Terminal()
{
    history_end(m_history);
    el_end(m_edit);
}

Terminal &Terminal::of(EditLine *edit)
{
    void *data = nullptr;
    el_get(edit, EL_CLIENTDATA, &data);
    return *static_cast<Terminal *>(data);
}

char *Terminal::prompt_of(EditLine *edit)
{
    Terminal &terminal = of(edit);
    terminal.m_prompt = terminal.prompt();
    return terminal.m_prompt.data();
}

std::string Terminal::prompt() const
{
    std::string place = printable(words_of(m_shell.base));
    if (place.size() > std::min(kMostPathInPrompt, terminal_width() / 2)) {
        const auto &last = m_shell.base.back();
        place = "... " + printable(words_of({m_shell.base.front(), last}));
    }
    if (place.size() > terminal_width() / 2) {
        place = "...";
    }
    return place + (m_shell.session.is_modified() ? "# " : "> ");
}

/** The line up to the cursor. */
std::string Terminal::typed() const
{
    const LineInfo *line = el_line(m_edit);
    return {line->buffer, line->cursor};
}

void Terminal::print_below(const Completion &completion) const
{
    const auto text = help_text(completion, terminal_width() - 1);
    std::fputs(("\n" + (text.empty() ? std::string("  nothing may follow\n") : text)).c_str(),
               stdout);
    std::fflush(stdout);
}

unsigned char Terminal::complete_word(EditLine *edit, int /*key*/)
{
    const Terminal &terminal = of(edit);
    const std::string line = terminal.typed();
    const auto completion = complete(terminal.m_shell.session, terminal.m_shell.base, line);
    const std::string there = line.substr(completion.begin);
    std::string start = common_start(completion);
    if (completion.candidates.size() == 1 && completion.left_out == 0 &&
        (start.empty() || start.back() != '/')) {
        start += ' ';
    }
    const bool is_quoted =
        start.find('"') != std::string::npos || start.find('\\') != std::string::npos;
    const bool may_insert = completion.candidates.size() == 1 || !is_quoted;
    if (may_insert && start.size() > there.size()) {
        el_deletestr(edit, static_cast<int>(there.size()));
        return el_insertstr(edit, start.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    }
    if (completion.candidates.empty() && completion.wanted.empty()) {
        return CC_REFRESH_BEEP;
    }
    terminal.print_below(completion);
    return CC_REDISPLAY;
}

unsigned char Terminal::show_help(EditLine *edit, int /*key*/)
{
    const Terminal &terminal = of(edit);
    const std::string line = terminal.typed();
    if (read_line(line).is_quoted) {
        el_insertstr(edit, "?");
        return CC_REFRESH;
    }
    terminal.print_below(complete(terminal.m_shell.session, terminal.m_shell.base, line));
    return CC_REDISPLAY;
}

unsigned char Terminal::drop_line(EditLine *edit, int /*key*/)
{
    const LineInfo *line = el_line(edit);
    el_cursor(edit, static_cast<int>(line->lastchar - line->cursor));
    el_deletestr(edit, static_cast<int>(line->lastchar - line->buffer));
    std::fputs("^C\n", stdout);
    std::fflush(stdout);
    return CC_REDISPLAY;
}

/** The file is the user's own before anything stands in it. */
void Terminal::open_history()
{
    if (!m_file) {
        return;
    }
    std::error_code failure;
    if (!m_file->parent_path().empty()) {
        std::filesystem::create_directories(m_file->parent_path(), failure);
    }
    const int fd = open(m_file->c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0 || fchmod(fd, 0600) != 0) {
        std::cerr << "The history is not kept: " << printable(m_file->string()) << ": "
                  << std::generic_category().message(errno) << '\n';
        m_file.reset();
    }
    if (fd >= 0) {
        close(fd);
    }
    HistEvent event{};
    if (m_file) {
        history(m_history, &event, H_LOAD, m_file->c_str());
    }
}

void Terminal::keep(const std::string &line)
{
    if (line.find_first_not_of(" \t") == std::string::npos ||
        !may_be_kept(m_shell.schema(), line)) {
        return;
    }
    HistEvent event{};
    history(m_history, &event, H_ENTER, line.c_str());
    if (m_file) {
        history(m_history, &event, H_SAVE, m_file->c_str());
    }
}

void Terminal::carry_out(const std::string &line)
{
    try {
        static_cast<void>(run_line(m_shell, line));
    } catch (const std::exception &failure) {
        m_shell.io.out.flush();
        print_failure(std::cerr, failure, "", m_shell.io.style);
    }
    m_shell.io.out.flush();
}

Result Terminal::run()
{
    std::cout << printable(m_shell.session.name())
              << ": `help` lists the commands, ? what may follow.\n"
              << std::flush;
    while (!m_shell.has_ended) {
        m_interrupt = false;
        int length = 0;
        errno = 0;
        const char *read = el_gets(m_edit, &length);
        if (read == nullptr || length <= 0) { // ^D.
            std::cout << '\n';
            carry_out("exit");
            if (isatty(STDIN_FILENO) == 0) {
                break;
            }
            continue;
        }
        std::string line(read, static_cast<std::size_t>(length));
        if (line.back() == '\n') {
            line.pop_back();
        }
        keep(line);
        carry_out(line);
    }
    return Result::kAccepted;
}

} // namespace

bool may_be_kept(const engine::Schema &schema, const std::string &line)
{
    // A name may be mistyped: then, too, a secret may stand behind it.
    std::vector<std::string> secrets;
    for (std::size_t i = 0; i < schema.node_count(); ++i) {
        const auto &node = schema.node(i);
        if ((node.is_leaf() || node.is_leaf_list()) && engine::is_secret(node)) {
            secrets.push_back(node.name);
        }
    }
    for (const auto &word : read_line(line).words) {
        if (!engine::closest_name(word, secrets).empty() || word.rfind("$0$", 0) == 0 ||
            word.find("password") != std::string::npos) {
            return false;
        }
    }
    return true;
}

std::optional<std::filesystem::path> default_history()
{
    const char *state = std::getenv("XDG_STATE_HOME");
    const char *home = std::getenv("HOME");
    if (state != nullptr && *state == '/') {
        return std::filesystem::path(state) / "gpon-shell" / "history";
    }
    if (home != nullptr && *home == '/') {
        return std::filesystem::path(home) / ".local" / "state" / "gpon-shell" / "history";
    }
    return std::nullopt;
}

std::optional<bool> ask_at_terminal(const std::string &question)
{
    for (;;) {
        std::cout << question << std::flush;
        std::string answer;
        std::array<char, 256> buffer{};
        const ssize_t size = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (size <= 0) { // ^C and ^D as well.
            std::cout << '\n';
            return std::nullopt;
        }
        answer.assign(buffer.data(), static_cast<std::size_t>(size));
        answer.erase(answer.find_last_not_of(" \r\n") + 1);
        if (answer == "yes" || answer == "y") {
            return true;
        }
        if (answer == "no" || answer == "n") {
            return false;
        }
    }
}

Result run_terminal(Shell &shell, const TerminalOptions &options, std::atomic<bool> &interrupt)
{
    std::setlocale(LC_CTYPE, "");
    interrupt_flag = &interrupt;
    struct sigaction action {
    };
    action.sa_handler = note_interrupt; // Without SA_RESTART: whoever waits is woken.
    sigaction(SIGINT, &action, nullptr);
    return Terminal(shell, options, interrupt).run();
}

} // namespace host::shell
