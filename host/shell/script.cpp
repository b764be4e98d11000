#include "shell/script.h"

#include <istream>
#include <ostream>

namespace host::shell
{

Result run_script(Shell &shell, std::istream &in, std::ostream &err, const ScriptOptions &options)
{
    Result worst = Result::kAccepted;
    std::size_t number = 0;
    for (std::string line; !shell.has_ended && std::getline(in, line);) {
        const auto place = options.name + ":" + std::to_string(++number) + ": ";
        Result result = Result::kNotChecked;
        try {
            result = run_line(shell, line);
            shell.io.out.flush();
            if (result != Result::kAccepted) {
                err << place << "the candidate was not accepted\n";
            }
        } catch (const std::exception &failure) {
            shell.io.out.flush();
            print_failure(err, failure, place, Style(false));
        }
        worst = worse_of(worst, result);
        if (result != Result::kAccepted && !options.goes_on) {
            break;
        }
    }
    const auto unsaved = shell.session.unsaved();
    if (!unsaved.empty()) {
        err << options.name << ": " << unsaved << '\n';
    }
    return worst;
}

} // namespace host::shell
