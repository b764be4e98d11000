#include "report/style.h"

#include <cstdlib>
#include <string_view>

namespace host
{

bool wants_color(ColorChoice choice, bool is_terminal)
{
    if (choice != ColorChoice::kAuto) {
        return choice == ColorChoice::kAlways;
    }
    // By its convention, NO_COLOR counts when it is set and not empty.
    const char *no_color = std::getenv("NO_COLOR");
    return is_terminal && !is_dumb_terminal() && (no_color == nullptr || *no_color == '\0');
}

bool is_dumb_terminal()
{
    const char *terminal = std::getenv("TERM");
    return terminal != nullptr && std::string_view(terminal) == "dumb";
}

std::string Style::paint(const char *code, const std::string &text) const
{
    return m_is_colored ? std::string("\033[") + code + "m" + text + "\033[0m" : text;
}

} // namespace host
