#include "report/words.h"

#include <cstring>

namespace host
{
namespace
{

std::string cause_of(const Death &death)
{
    switch (death.kind) {
    case Death::Kind::kSignal:
        return "signal " + std::to_string(death.number) + " (" + strsignal(death.number) + ")";
    case Death::Kind::kExit:
        return "it ended the process with exit status " + std::to_string(death.number);
    case Death::Kind::kException:
        return "uncaught exception " + death.exception;
    case Death::Kind::kTimeout:
        return "no answer within " + std::to_string(death.number) + " s";
    }
    return "unknown cause";
}

} // namespace

std::string plural(std::size_t count, const std::string &noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string text_of(const engine::Answer &answer)
{
    if (!answer.text.empty()) {
        return answer.text;
    }
    if (answer.verdict == engine::Verdict::kWarning) {
        return "warned without a text";
    }
    const bool is_usual = answer.result == CONFD_ERR;
    return "rejected without a text" +
           (is_usual ? "" : " (result " + std::to_string(answer.result) + ")");
}

const char *words_for(Result result)
{
    switch (result) {
    case Result::kAccepted:
        return "accepted";
    case Result::kRejected:
        return "rejected";
    case Result::kNotConfirmed:
        return "not confirmed";
    case Result::kNotChecked:
        return "not checked";
    case Result::kPluginDied:
        return "inconclusive";
    }
    return "unknown";
}

std::string skipped_text(const engine::SkippedNodes &nodes)
{
    return "skipped " + plural(nodes.count, "node") + " of another model, " + nodes.space +
           (nodes.count == 1 ? ": " : ", beginning with ") + nodes.name;
}

std::string sentence(const Death &death)
{
    std::string text = death.kind == Death::Kind::kTimeout ? "The plug-in was stopped in "
                                                           : "The plug-in died in ";
    if (!death.rule.empty()) {
        text += death.rule + " at " + death.path;
    } else {
        text += name_of(death.step);
    }
    return text + ": " + cause_of(death);
}

} // namespace host
