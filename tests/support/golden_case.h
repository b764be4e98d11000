/** Golden cases as the tests read them: a folder with a change, and what stands above it. */
#pragma once

#include "engine/data/defaults.h"
#include "engine/data/source_file.h"
#include "engine/data/yang_check.h"
#include "engine/edit/edit.h"

#include <fm_host.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace test_support
{

struct GoldenCase {
    engine::Datastore running;
    engine::Datastore candidate;
    fm::Card card;
    bool all = false; /**< Shows every objection. */
};

/** The file of that name in the folder or in the one above. */
inline std::optional<std::filesystem::path> inherited(const std::filesystem::path &folder,
                                                      const char *name)
{
    for (const auto &place : {folder / name, folder.parent_path() / name}) {
        if (exists(place)) {
            return place;
        }
    }
    return std::nullopt;
}

/** Whether the case is an ordinary check: nothing is read in another way, and all rules are asked.
 */
inline bool is_ordinary(const std::filesystem::path &folder)
{
    constexpr std::string_view kOthers[] = {"--skip-foreign", "--default-operation", "--rule",
                                            "--warnings-as-errors"};
    std::string word;
    for (std::ifstream arguments(folder / "arguments"); arguments >> word;) {
        if (std::find(std::begin(kOthers), std::end(kOthers), word) != std::end(kOthers)) {
            return false;
        }
    }
    return !exists(folder / "stdin") && !exists(folder / "command") &&
           !exists(folder / "command-line");
}

/** @param checked  Whether YANG must allow the candidate; tests may hold what it forbids. */
inline GoldenCase read_golden_case(const std::shared_ptr<const engine::Schema> &schema,
                                   const std::filesystem::path &folder, bool checked = true)
{
    using engine::Datastore;
    Datastore running(schema);
    if (const auto file = inherited(folder, "running.xml")) {
        running = Datastore::parse(schema, engine::read_source(*file));
    }
    engine::add_defaults(running);
    const auto whole = folder / "candidate.xml";
    auto edit = folder / "overbook.xml";
    for (const char *name : {"change.xml", "change.json"}) {
        edit = exists(folder / name) ? folder / name : edit;
    }
    Datastore candidate = exists(whole)
                              ? Datastore::parse(schema, engine::read_source(whole), &running)
                              : engine::apply_edit(running, engine::read_source(edit));
    if (checked) {
        engine::check_yang(candidate, "candidate");
    }
    const auto card = inherited(folder, "card.json");
    std::string word;
    bool all = false;
    for (std::ifstream arguments(folder / "arguments"); arguments >> word;) {
        all = all || word == "--all";
    }
    return {std::move(running), std::move(candidate),
            card ? fm::parse_card(engine::read_source(*card).text) : fm::default_card(), all};
}

} // namespace test_support
