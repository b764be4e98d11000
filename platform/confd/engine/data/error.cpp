#include "engine/data/error.h"

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
std::vector<Problem> at_least_one(std::vector<Problem> problems)
{
    if (problems.empty()) {
        problems.push_back({Fault::kInternal, "", 0, "", "a failure without a reason", ""});
    }
    return problems;
}

} // namespace

InputError::InputError(std::vector<Problem> problems)
    : InputError(std::in_place, at_least_one(std::move(problems)))
{
}

InputError::InputError(std::in_place_t, std::vector<Problem> problems)
    : std::runtime_error(lines_of(problems)), m_problems(std::move(problems))
{
}

} // namespace engine
