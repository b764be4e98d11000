#include "headroom/headroom_page.h"

#include "headroom/page_parts.h"
#include "headroom/page_sections.h"
#include "report/markup.h"
#include "report/words.h"

namespace host
{

extern const char *const kHeadroomPage; // page.html, built in

namespace
{

std::string name_of(const Outcome &outcome)
{
    return outcome.running.empty() ? "an empty configuration" : outcome.running;
}

/** What the page is about, and what came in the way. */
std::string about(const Survey &survey)
{
    const Outcome &outcome = survey.outcome;
    const Limits &limits = survey.figures.limits;
    std::string markup = "<p>" + escaped(name_of(outcome));
    if (outcome.form != ChangeForm::kNone) {
        markup += ", before and after " + escaped(outcome.change) +
                  ": what changes is marked, and what the rules say is about the configuration "
                  "after it";
    }
    markup += ".</p>\n<p class=\"soft\">A PON link carries " + grouped(limits.guaranteed) +
              " kbit/s of guaranteed rates, with " + std::to_string(limits.overhead_per_onu) +
              " kbit/s of overhead for each ONU, and " + grouped(limits.fixed) +
              " kbit/s of fixed rates. Figures over 70, 90 and 100 % of a limit stand out.</p>\n";
    if (!limits.do_bw_check) {
        markup += "<p class=\"note\">This card does not check bandwidth: its rules accept links "
                  "that are too full.</p>\n";
    }
    for (const auto &problem : outcome.problems) {
        markup += "<p class=\"note\">The rules could not be asked: " + escaped(problem.message) +
                  (problem.path.empty() ? "" : " (" + escaped(problem.path) + ")") + "</p>\n";
    }
    if (outcome.death) {
        markup += "<p class=\"note\">The plug-in died: " + escaped(sentence(*outcome.death)) +
                  ". What it would have said is not known.</p>\n";
    }
    return markup;
}

} // namespace

std::string page_of(const Survey &survey)
{
    std::string page(kHeadroomPage);
    fill_in(page, "<!--TITLE-->", escaped(name_of(survey.outcome)));
    fill_in(page, "<!--ABOUT-->\n", about(survey));
    fill_in(page, "<!--MAIN-->\n",
            links_section(survey) + room_section(survey) + fill_section(survey) +
                card_section(survey) + lines_section(survey));
    return page;
}

} // namespace host
