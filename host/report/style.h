/**
 * @file
 * Colours of a report.
 */
#pragma once

#include <string>

namespace host
{

enum class ColorChoice { kAuto, kAlways, kNever };

/** Whether to use colours; `kAuto` asks for a terminal and respects NO_COLOR and TERM=dumb. */
bool wants_color(ColorChoice choice, bool is_terminal);

/** Whether the terminal knows no control sequences (TERM=dumb). */
bool is_dumb_terminal();

/** Puts a text into a colour, or leaves it alone. */
class Style
{
public:
    explicit Style(bool is_colored) : m_is_colored(is_colored) {}

    std::string bad(const std::string &text) const { return paint("31", text); }
    std::string warning(const std::string &text) const { return paint("33", text); }
    std::string good(const std::string &text) const { return paint("32", text); }
    std::string strong(const std::string &text) const { return paint("1", text); }

private:
    std::string paint(const char *code, const std::string &text) const;

    bool m_is_colored;
};

} // namespace host
