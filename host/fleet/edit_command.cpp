#include "fleet/edit_command.h"

#include "checker/supervisor.h"
#include "engine/data/error.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace host
{
namespace
{

using engine::Fault;

constexpr int kCannotRun = 127; // As the shell itself has it.

[[noreturn]] void fail(Fault fault, const std::string &message, const std::string &hint)
{
    throw engine::InputError({{fault, kEditCommandOutput, 0, "", message, hint}});
}

/** Nothing in it means anything to the shell. */
std::string quoted(const std::string &word)
{
    std::string text = "'";
    for (const char letter : word) {
        text += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    }
    return text + "'";
}

/** Without blank lines behind it. */
std::string last_line(std::string text)
{
    text.erase(text.find_last_not_of("\r\n \t") + 1);
    return text.substr(text.rfind('\n') + 1);
}

std::size_t size_of(int file)
{
    struct stat status {
    };
    fstat(file, &status);
    return static_cast<std::size_t>(status.st_size);
}

std::string contents_of(int file)
{
    std::string text(size_of(file), '\0');
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t size =
            pread(file, text.data() + done, text.size() - done, static_cast<off_t>(done));
        if (size <= 0) {
            throw std::system_error(errno, std::generic_category(), "cannot read an edit");
        }
        done += static_cast<std::size_t>(size);
    }
    return text;
}

/** @throws engine::InputError  It did not end as it should. */
void judge(const ChildEnd &end, const std::string &errors, const engine::ReadLimits &limits)
{
    const std::string said = last_line(errors);
    if (end.timed_out) {
        const auto waited = std::chrono::duration_cast<std::chrono::seconds>(limits.idle_timeout);
        fail(Fault::kUnreadable,
             "the command did not end within " + std::to_string(waited.count()) + " s", said);
    }
    if (end.signal != 0) {
        fail(Fault::kUnreadable,
             std::string("the command was ended by a signal: ") + strsignal(end.signal), said);
    }
    if (end.exit_status != 0) {
        fail(Fault::kUnreadable,
             "the command failed with exit code " + std::to_string(end.exit_status), said);
    }
}

} // namespace

std::string command_for(const FleetCard &card, const std::string &command)
{
    const std::array<std::pair<std::string, const std::string &>, 3> words{
        {{"{running}", card.running}, {"{card}", card.card}, {"{name}", card.name}}};
    std::string text;
    for (std::size_t at = 0; at < command.size();) {
        bool is_word = false;
        for (const auto &[word, value] : words) {
            if (command.compare(at, word.size(), word) == 0) {
                text += quoted(value);
                at += word.size();
                is_word = true;
                break;
            }
        }
        if (!is_word) {
            text += command[at++];
        }
    }
    return text;
}

engine::Source run_edit_command(const std::string &command, const engine::ReadLimits &limits)
{
    constexpr std::size_t kMaxErrors = 65536;
    const Descriptor edit(memfd_create("edit", MFD_CLOEXEC));
    if (!edit.is_open()) {
        throw std::system_error(errno, std::generic_category(), "cannot keep an edit");
    }
    std::string errors;
    ChildWork work;
    work.work = [&](int) {
        dup2(edit.get(), STDOUT_FILENO);
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(kCannotRun);
    };
    work.on_line = [](std::string_view) {};
    work.on_output = [&](std::string_view text) {
        errors += text;
        if (errors.size() > 2 * kMaxErrors) {
            errors.erase(0, errors.size() - kMaxErrors);
        }
    };
    const auto require_size = [&] {
        if (size_of(edit.get()) > limits.max_bytes) {
            fail(Fault::kTooLarge, "larger than " + std::to_string(limits.max_bytes) + " bytes",
                 "");
        }
    };
    work.on_tick = require_size;
    work.idle_timeout = limits.idle_timeout;
    judge(run_in_child(work), errors, limits);
    require_size();
    engine::Source source{kEditCommandOutput, contents_of(edit.get())};
    engine::require_utf8(source);
    return source;
}

} // namespace host
