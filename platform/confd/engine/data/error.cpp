#include "engine/data/error.h"

#include <algorithm>

namespace engine
{
namespace
{

std::string line_of(const Problem &problem)
{
    std::string text = problem.source;
    if (problem.line != 0) {
        text += (text.empty() ? "line " : ":") + std::to_string(problem.line);
    }
    for (const auto *part : {&problem.path, &problem.message}) {
        if (!part->empty()) {
            text += (text.empty() ? "" : ": ") + *part;
        }
    }
    return problem.hint.empty() ? text : text + " (" + problem.hint + ")";
}

std::string lines_of(const std::vector<Problem> &problems)
{
    std::string text;
    for (const auto &problem : problems) {
        text += (text.empty() ? "" : "\n") + line_of(problem);
    }
    return text;
}

/** A failure without a reason is still one: who looks for problems must find it. */
std::vector<Problem> made_fit(std::vector<Problem> problems)
{
    for (auto &problem : problems) {
        problem.message = shortened(problem.message);
        problem.path = shortened(problem.path);
    }
    if (problems.empty()) {
        problems.push_back({Fault::kInternal, "", 0, "", "a failure without a reason", ""});
    }
    return problems;
}

} // namespace

std::string shortened(const std::string &text)
{
    constexpr std::size_t kMaxHead = 300;
    constexpr std::size_t kMaxTail = 100; // It tells what is wrong with the text before it.
    const auto is_inside = [&text](std::size_t at) {
        return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U;
    };
    const auto newline = text.find('\n');
    if (newline == std::string::npos && text.size() <= kMaxHead + kMaxTail) {
        return text;
    }
    auto head = std::min(newline, kMaxHead);
    auto tail = std::max(text.rfind('\n') + 1, text.size() - std::min(text.size(), kMaxTail));
    for (; is_inside(head); --head) {
    }
    for (; is_inside(tail); ++tail) {
    }
    return text.substr(0, head) + "\u2026" + text.substr(tail);
}

InputError::InputError(std::vector<Problem> problems)
    : InputError(std::in_place, made_fit(std::move(problems)))
{
}

InputError::InputError(std::in_place_t, std::vector<Problem> problems)
    : std::runtime_error(lines_of(problems)), m_problems(std::move(problems))
{
}

} // namespace engine
