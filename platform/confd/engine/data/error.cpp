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

} // namespace

InputError::InputError(std::vector<Problem> problems)
    : std::runtime_error(lines_of(problems)), m_problems(std::move(problems))
{
}

} // namespace engine
