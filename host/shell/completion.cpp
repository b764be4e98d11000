#include "shell/completion.h"

#include "engine/data/allowed_values.h"
#include "report/printable.h"
#include "shell/command_table.h"
#include "shell/show.h"

#include <algorithm>
#include <filesystem>

namespace host::shell
{
namespace
{

constexpr std::size_t kMaxCandidates = 200;

class Completer
{
public:
    Completer(const Session &session, const PathSteps &base, std::string_view text)
        : m_session(session), m_base(base), m_line(read_line(text))
    {
        m_completion.begin = m_line.last_word;
        Words &words = m_line.filters.empty() ? m_line.words : m_line.filters.back();
        if (m_line.last_word < text.size() && !words.empty()) {
            m_typed = words.back();
            words.pop_back();
        }
    }

    Completion complete()
    {
        if (m_line.has_comment) {
            return {};
        }
        if (!m_line.filters.empty()) {
            complete_filter();
        } else if (m_line.words.empty()) {
            for (const auto &command : commands()) {
                offer(command.name, command.summary);
            }
        } else {
            complete_arguments(find_command(m_line.words.front()));
        }
        return std::move(m_completion);
    }

private:
    void offer(const std::string &word, const std::string &help);
    void offer_all(const std::vector<Candidate> &candidates);
    void complete_filter();
    void complete_arguments(const Command &command);
    void complete_path(bool sets);
    void complete_at(const PathReader &reader, bool sets);
    void complete_place(const PathReader &reader);
    void complete_file(const Command &command);
    PathReader read(bool sets) const;

    const Session &m_session;
    const PathSteps &m_base;
    CommandLine m_line;  /**< Without the word that is being typed. */
    std::string m_typed; /**< The part of it that is there. */
    Completion m_completion;
};

void Completer::offer(const std::string &word, const std::string &help)
{
    if (word.compare(0, m_typed.size(), m_typed) != 0) {
        return;
    }
    if (m_completion.candidates.size() == kMaxCandidates) {
        ++m_completion.left_out;
        return;
    }
    m_completion.candidates.push_back({quoted(word), help});
}

void Completer::offer_all(const std::vector<Candidate> &candidates)
{
    for (const auto &candidate : candidates) {
        offer(candidate.text, candidate.help);
    }
}

void Completer::complete_filter()
{
    const Argument argument =
        find_command(m_line.words.empty() ? "" : m_line.words.front()).argument;
    const bool is_report = argument == Argument::kReport;
    if ((!is_report && argument != Argument::kShow) || !m_line.filters.back().empty()) {
        return;
    }
    for (const auto &word : filter_words()) {
        if (!is_report || std::string_view(word.name) == "json") {
            offer(word.name, word.help);
        }
    }
}

void Completer::complete_arguments(const Command &command)
{
    switch (command.argument) {
    case Argument::kSetting:
        complete_path(true);
        break;
    case Argument::kPath:
    case Argument::kShow:
    case Argument::kMove:
        complete_path(false);
        break;
    case Argument::kFile:
        complete_file(command);
        break;
    case Argument::kCommand:
        for (const auto &one : commands()) {
            offer(one.name, one.summary);
        }
        break;
    case Argument::kKeywords:
        for (const auto &[word, help] : command.keywords) {
            offer(word, help);
        }
        break;
    case Argument::kNone:
    case Argument::kReport:
        break;
    }
}

/** @param sets  Behind a value the path goes on above its leaf. */
PathReader Completer::read(bool sets) const
{
    const auto start = m_line.words.size() > 1
                           ? read_report_path(m_session.candidate().schema(), m_line.words[1])
                           : std::nullopt;
    PathReader reader(start.value_or(m_base));
    for (std::size_t i = start ? 2 : 1; i < m_line.words.size(); ++i) {
        const bool is_value = sets && reader.expects() == Expects::kValue;
        if (is_value && reader.node().is_leaf_list()) {
            continue;
        }
        if (is_value) {
            const bool is_taken = !reader.node().is_empty_leaf();
            reader.leave();
            if (is_taken) {
                continue;
            }
        }
        reader.take(m_line.words[i]);
    }
    return reader;
}

void Completer::complete_path(bool sets)
{
    const Command &command = find_command(m_line.words.front());
    if (command.argument == Argument::kMove) {
        PathReader reader(m_base);
        for (std::size_t i = 1; i < m_line.words.size(); ++i) {
            if (reader.node().is_user_ordered() && reader.expects() == Expects::kName) {
                complete_place(reader);
                return;
            }
            reader.take(m_line.words[i]);
        }
        if (reader.node().is_user_ordered() && reader.expects() == Expects::kName) {
            for (const char *place : {"first", "last", "before", "after"}) {
                offer(place, "");
            }
            return;
        }
        complete_at(reader, false);
        return;
    }
    PathReader reader = read(sets);
    if (sets && reader.expects() == Expects::kValue && reader.node().is_empty_leaf()) {
        reader.leave();
    }
    complete_at(reader, sets);
}

/** Behind `before` or `after`: the entries next to it. */
void Completer::complete_place(const PathReader &reader)
{
    PathSteps list = reader.steps();
    list.back().keys.clear();
    const std::string &place = m_line.words.back();
    if (place == "before" || place == "after") {
        offer_all(existing_keys(m_session.candidate(), list));
    }
}

void Completer::complete_at(const PathReader &reader, bool sets)
{
    const engine::SchemaNode &node = reader.node();
    switch (reader.expects()) {
    case Expects::kName:
        for (const auto *child : children_of(node)) {
            if (!child->is_key()) {
                offer(child->name, help_of(*child));
            }
        }
        break;
    case Expects::kKey: {
        const auto &key = reader.next_key();
        m_completion.about = description_of(key);
        m_completion.wanted = engine::allowed_values(key.type_storage);
        offer_all(existing_keys(m_session.candidate(), reader.steps()));
        if (sets && m_completion.candidates.empty()) {
            offer_all(values_of(m_session.candidate(), reader.steps(), key));
        }
        break;
    }
    case Expects::kValue:
        if (sets) {
            m_completion.about = description_of(node);
            m_completion.wanted = engine::allowed_values(node.type_storage);
            offer_all(values_of(m_session.candidate(), reader.steps(), node));
        } else if (node.is_leaf_list()) {
            for (const auto *one : find_nodes(m_session.candidate(), reader.steps())) {
                offer(lyd_get_value(one), "");
            }
        }
        break;
    }
}

void Completer::complete_file(const Command &command)
{
    if (!command.keywords.empty() && m_line.words.size() == 1) {
        for (const auto &[word, help] : command.keywords) {
            offer(word, help);
        }
        return;
    }
    if (m_line.words.size() > (command.keywords.empty() ? 1U : 2U)) {
        return;
    }
    namespace fs = std::filesystem;
    const fs::path typed(m_typed);
    const auto folder = typed.parent_path();
    std::error_code failure;
    std::vector<std::string> names;
    for (auto entry = fs::directory_iterator(folder.empty() ? "." : folder, failure);
         !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
        std::error_code unknown;
        names.push_back((folder / entry->path().filename()).string() +
                        (entry->is_directory(unknown) ? "/" : ""));
    }
    std::sort(names.begin(), names.end());
    for (const auto &name : names) {
        offer(name, "");
    }
}

/** How many columns a text takes, near enough: characters of UTF-8. */
std::size_t width_of(std::string_view text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xc0U) != 0x80;
    }));
}

/** The words of a text in lines, all but the first with an indent. */
void wrap(const std::string &text, std::size_t indent, std::size_t width, std::string &out)
{
    std::size_t column = indent;
    for (std::size_t begin = 0; begin < text.size();) {
        const auto end = std::min(text.find(' ', begin), text.size());
        const auto word = text.substr(begin, end - begin);
        if (column > indent && column + 1 + width_of(word) > width) {
            out += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (column > indent) {
            out += ' ';
            ++column;
        }
        out += word;
        column += width_of(word);
        begin = end + 1;
    }
    out += '\n';
}

} // namespace

Completion complete(const Session &session, const PathSteps &base, std::string_view line)
{
    try {
        return Completer(session, base, line).complete();
    } catch (const CommandError &) {
        return {};
    }
}

std::string common_start(const Completion &completion)
{
    if (completion.candidates.empty() || completion.left_out > 0) {
        return "";
    }
    std::string start = completion.candidates.front().text;
    for (const auto &candidate : completion.candidates) {
        const auto &text = candidate.text;
        const auto end = std::mismatch(start.begin(), start.end(), text.begin(), text.end()).first;
        start.erase(end, start.end());
    }
    // Not within a character.
    while (!start.empty() && start.size() < completion.candidates.front().text.size() &&
           (static_cast<unsigned char>(completion.candidates.front().text[start.size()]) & 0xc0U) ==
               0x80) {
        start.pop_back();
    }
    return start;
}

std::string help_text(const Completion &completion, std::size_t width)
{
    constexpr std::size_t kMaxName = 28;
    std::string out;
    if (!completion.about.empty()) {
        wrap(printable(completion.about), 0, width, out);
    }
    if (!completion.wanted.empty()) {
        out += "  ";
        wrap("<" + printable(completion.wanted) + ">", 2, width, out);
    }
    std::size_t longest = 0;
    for (const auto &candidate : completion.candidates) {
        longest = std::max(longest, width_of(printable(candidate.text)));
    }
    const std::size_t indent = std::min(longest, std::min(kMaxName, width / 2)) + 4;
    for (const auto &candidate : completion.candidates) {
        const auto name = printable(candidate.text);
        out += "  " + name;
        if (candidate.help.empty()) {
            out += '\n';
            continue;
        }
        const bool fits = width_of(name) + 4 <= indent;
        out +=
            fits ? std::string(indent - 2 - width_of(name), ' ') : "\n" + std::string(indent, ' ');
        wrap(printable(candidate.help), indent, width, out);
    }
    if (completion.left_out > 0) {
        out += "  and " + std::to_string(completion.left_out) + " more\n";
    }
    return out;
}

} // namespace host::shell
