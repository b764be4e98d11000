/**
 * Golden cases with other names: a profile, a connection or a mapping may be called anything that
 * the model allows, and the rules must answer the same.
 *
 * The first byte of an input chooses the kind of name, the second whether one case is tried, which
 * the third chooses, or all of them; the rest decides what the names look like.
 */
#include "byte_reader.h"
#include "checker/checker.h"
#include "checker/plugin.h"
#include "engine/data/source_file.h"
#include "finding.h"
#include "support/golden_case.h"
#include "zlog_host.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <vector>

namespace
{

namespace fs = std::filesystem;

struct Case {
    std::string name;
    fm::Card card = fm::default_card();
    std::optional<engine::Source> running;
    host::Change change;
};

/** The cases whose inputs are XML, as the tests run them. The full card only takes time. */
std::vector<Case> load_cases()
{
    std::vector<Case> cases;
    for (const auto &entry : fs::recursive_directory_iterator(GOLDEN_CASES)) {
        const bool is_edit = entry.path().filename() == "change.xml";
        if (!is_edit && entry.path().filename() != "candidate.xml") {
            continue;
        }
        const fs::path folder = entry.path().parent_path();
        const auto group = folder.parent_path().filename();
        if (group == "input" || group == "faulty-files") {
            continue; // About unusual texts, in which names are hard to find.
        }
        Case found;
        found.name = folder.parent_path().filename() / folder.filename();
        if (const auto card = test_support::inherited(folder, "card.json")) {
            found.card = fm::parse_card(engine::read_source(*card).text);
        }
        if (const auto running = test_support::inherited(folder, "running.xml")) {
            found.running = engine::read_source(*running);
        }
        found.change.form = is_edit ? host::ChangeForm::kEdit : host::ChangeForm::kCandidate;
        found.change.source = engine::read_source(entry.path());
        cases.push_back(std::move(found));
    }
    std::sort(cases.begin(), cases.end(),
              [](const Case &a, const Case &b) { return a.name < b.name; });
    fuzz::require(cases.size() > 100, "the golden cases are not where they should be");
    return cases;
}

/** What the rules answer: each with its verdict, in the order of asking. */
struct Verdicts {
    host::Result result;
    std::vector<std::pair<std::string, engine::Verdict>> answers;
    std::string problems;

    bool operator==(const Verdicts &other) const
    {
        return result == other.result && answers == other.answers;
    }
};

Verdicts check(const Case &golden)
{
    Verdicts verdicts{host::Result::kNotChecked, {}, {}};
    try {
        host::Checker checker(golden.card, golden.running, CARD_PLUGIN);
        host::CheckListener listener;
        const auto outcome =
            checker.check(golden.change, {.all = true, .in_process = true}, listener);
        verdicts.result = outcome.result();
        for (const auto &run : outcome.runs) {
            verdicts.answers.emplace_back(run.rule, run.answer.verdict);
        }
        for (const auto &problem : outcome.problems) {
            verdicts.problems += problem.path + ": " + problem.message + "\n";
        }
    } catch (const engine::InputError &failure) {
        verdicts.problems = failure.what();
    }
    return verdicts;
}

/** Leaves that hold a name; list entries of the same names hold elements. */
const std::regex &name_leaves()
{
    static const std::regex leaves("(<(name|line-profile|bandwidth-profile|service-profile|"
                                   "rg-profile|tr069-acs-profile|sip-agent-profile|media-profile)"
                                   "(?: [^>]*)?>)([^<]+)</|(\\[name=')([^']+)'\\]");
    return leaves;
}

/** Groups of that expression: the name in a leaf, and in a place of an insertion. */
constexpr int kLeaf = 3;
constexpr int kPlace = 5;

std::set<std::string> names_in(const std::string &text)
{
    std::set<std::string> names;
    for (std::sregex_iterator match(text.begin(), text.end(), name_leaves()), end; match != end;
         ++match) {
        names.insert((*match)[kLeaf].matched ? (*match)[kLeaf] : (*match)[kPlace]);
    }
    return names;
}

std::string escaped(const std::string &name)
{
    std::string text;
    for (const char c : name) {
        text += c == '&'    ? "&amp;"
                : c == '<'  ? "&lt;"
                : c == '"'  ? "&quot;"
                : c == '\'' ? "&apos;"
                            : std::string(1, c);
    }
    return text;
}

/** Gives each name another one, everywhere. */
std::string renamed(const std::string &text, const std::map<std::string, std::string> &names)
{
    std::string out;
    auto behind = text.begin();
    for (std::sregex_iterator match(text.begin(), text.end(), name_leaves()), end; match != end;
         ++match) {
        const int group = (*match)[kLeaf].matched ? kLeaf : kPlace;
        out.append(behind, (*match)[group].first);
        out += escaped(names.at((*match)[group]));
        behind = (*match)[group].second;
    }
    return out.append(behind, text.end());
}

/** Second byte of an input that tries all cases. */
constexpr std::uint8_t kAllCases = 'A';

/** Kinds of names: what they are made of, and whether the model takes them. */
struct Kind {
    std::vector<std::string> pieces;
    bool is_allowed = true;
    std::size_t length = 0;       /**< In bytes; 0: any. */
    bool breaks_searches = false; /**< A rule that searches for users of a name cannot answer. */
};

const std::vector<Kind> &kinds()
{
    static const std::vector<Kind> kinds{
        {{"a", "Z", "0", "-", "_", "."}},
        {{"/", "[", "]", "(", ")", "=", "*", ":", "@", "|", "..", "//"}},
        {{"\\", "\\n", "$", "`", "#", ";", "!", "&", "<", ">", "?", ",", "+", "~", "^"}},
        // NOLINTNEXTLINE(misc-misleading-bidirectional): names that mislead are what this is about.
        {{"\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xE2\x80\xAE", "e\xCC\x81"}},
        {{"'", "a", "''"}, true, 0, true},
        {{"a", "\xC3\xA4"}, true, 48},
        {{"a"}, false, 49},
        {{"\xC3\xA4"}, false, 50},
        {{"\"", "a"}, false},
        {{"%", "a"}, false},
        {{"{", "}", "a"}, false},
        {{" ", "\t", "\xC2\xA0", "a"}, false},
    };
    return kinds;
}

/**
 * In the order of the old ones: which profile a rule meets first may decide which fault it tells.
 * A name that is not allowed has a piece of its kind in front.
 */
std::map<std::string, std::string> new_names(const std::set<std::string> &old, const Kind &kind,
                                             fuzz::ByteReader &bytes)
{
    constexpr std::size_t kMaxLength = 48;
    std::string front = kind.is_allowed ? bytes.pick(kind.pieces) : kind.pieces.front();
    std::map<std::string, std::string> names;
    for (const auto &name : old) {
        std::string fresh = front + std::to_string(100 + names.size());
        const std::size_t wanted = kind.length != 0 ? kind.length : 5 + bytes.below(20);
        while (fresh.size() < wanted) {
            const auto &piece = bytes.pick(kind.pieces);
            const bool fits = fresh.size() + piece.size() <= wanted;
            if (!fits && kind.length == 0) {
                break;
            }
            fresh += fits ? piece : "x";
        }
        fuzz::require(!kind.is_allowed || fresh.size() <= kMaxLength, "the fuzzer's own fault");
        names.emplace(name, fresh);
    }
    return names;
}

struct Golden {
    Case original;
    std::set<std::string> names;
    Verdicts verdicts;
};

const std::vector<Golden> &golden_cases()
{
    static const std::vector<Golden> cases = [] {
        std::vector<Golden> all;
        for (auto &original : load_cases()) {
            auto names = names_in(original.change.source.text);
            if (original.running) {
                names.merge(names_in(original.running->text));
            }
            // A name that means something to its case is no name to change.
            const bool has_plain_names = std::all_of(names.begin(), names.end(), [](const auto &n) {
                return n.find_first_of("'\"&%{} \n") == std::string::npos && n.size() <= 48;
            });
            if (names.empty() || !has_plain_names) {
                continue;
            }
            auto verdicts = check(original);
            all.push_back({std::move(original), std::move(names), std::move(verdicts)});
        }
        return all;
    }();
    return cases;
}

/** Whether the case has rules, or places of an insertion, in which a name stands in quotes. */
bool searches_for_names(const Golden &golden)
{
    const auto &answers = golden.verdicts.answers;
    return golden.original.change.source.text.find("[name='") != std::string::npos ||
           std::any_of(answers.begin(), answers.end(), [](const auto &answer) {
               return answer.first.find("_confirmation_warning") != std::string::npos;
           });
}

void try_case(const Golden &golden, const Kind &kind, fuzz::ByteReader bytes)
{
    const auto names = new_names(golden.names, kind, bytes);
    Case other = golden.original;
    other.change.source.text = renamed(other.change.source.text, names);
    if (other.running) {
        other.running->text = renamed(other.running->text, names);
    }
    const auto verdicts = check(other);
    const auto story = [&] {
        return golden.original.name + " with names such as " + names.begin()->second + ": " +
               std::to_string(static_cast<int>(golden.verdicts.result)) + " became " +
               std::to_string(static_cast<int>(verdicts.result)) + "\n" + verdicts.problems +
               other.change.source.text;
    };
    if (kind.is_allowed) {
        fuzz::require(verdicts == golden.verdicts, story());
    } else {
        const auto tells = [&](const char *text) {
            return verdicts.problems.find(text) != std::string::npos;
        };
        fuzz::require(tells("A name has no") || tells("Too long") || tells("Unsatisfied length"),
                      story());
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    // The library stays loaded: the fuzzer watches its code from the first input to the last.
    static host::Plugin plugin(CARD_PLUGIN);
    zlog_host::set_level(zlog_host::kOff);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::ByteReader bytes(data, size);
    const auto &kind = kinds()[bytes.below(kinds().size())];
    const auto &cases = golden_cases();
    const bool all = bytes.byte() == kAllCases;
    const std::size_t chosen = bytes.below(cases.size());
    for (std::size_t i = all ? 0 : chosen; i < (all ? cases.size() : chosen + 1); ++i) {
        if (!kind.breaks_searches || !searches_for_names(cases[i])) {
            try_case(cases[i], kind, bytes);
        }
    }
    return 0;
}
