/**
 * @file
 * `show` and what may stand behind a `|`.
 */
#pragma once

#include "report/style.h"
#include "shell/path_words.h"
#include "shell/session.h"

#include <string>
#include <vector>

namespace host::shell
{

/** A word that may stand behind `|`. */
struct FilterWord {
    const char *name;
    const char *help;
};
const std::vector<FilterWord> &filter_words();

/** What is to be shown, and how. */
struct ShowRequest {
    enum class Form { kTree, kXml, kJson, kCommands };

    PathSteps steps;
    Form form = Form::kTree;
    bool compares = false;      /**< The difference from what is running. */
    bool shows_secrets = false; /**< Otherwise they are masked. */
    bool counts = false;
    bool for_terminal = false; /**< Nothing in it steers a terminal, whatever the form. */
    Words matches;             /**< Only lines that hold all of these words. */
};

/** @throws CommandError  An unknown word behind `|`, or two that do not go together. */
ShowRequest read_show(const engine::Schema &schema, const PathSteps &base, const CommandLine &line);

/** @return Lines. */
std::string show(const Session &session, const ShowRequest &request, const Style &style);

} // namespace host::shell
