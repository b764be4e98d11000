/**
 * @file
 * What commands work on.
 */
#pragma once

#include "report/style.h"
#include "shell/command_line.h"
#include "shell/path_words.h"
#include "shell/session.h"

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>

namespace host::shell
{

/** Where commands print, and whom they ask. */
struct ShellIo {
    std::ostream &out;
    bool is_terminal = false;
    Style style{false};
    /** A question that is answered with yes or no; nothing: no answer came. Empty: nobody is there.
     */
    std::function<std::optional<bool>(const std::string &question)> ask{};
    /** Columns of the window; empty: there is none. */
    std::function<std::size_t()> width{};
    /** The answer to warnings, given beforehand. */
    std::optional<bool> answer{};
};

struct Shell {
    Shell(Session &card, ShellIo streams)
        : session(card), io(std::move(streams)), base(top_of(card.candidate().schema()))
    {
    }

    const engine::Schema &schema() const { return session.candidate().schema(); }

    Session &session;
    ShellIo io;
    engine::Reading reading{}; /**< How files are read. */
    PathSteps base;            /**< Where paths begin: `edit` sets it. */
    bool has_ended = false;
};

/**
 * Carries out one line.
 * @return What a check in it came to, else accepted.
 * @throws CommandError, engine::InputError, SessionError  It was not carried out.
 */
Result run_line(Shell &shell, const std::string &line);

/** The same failures as an error of a file: `place: message`, with the hint below. */
void print_failure(std::ostream &err, const std::exception &failure, const std::string &place,
                   const Style &style);

} // namespace host::shell
