#include "headroom/headroom_text.h"

#include "headroom/fullness.h"
#include "headroom/text_table.h"
#include "report/printable.h"
#include "report/words.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <ostream>

namespace host
{
namespace
{

using Look = TextCell::Look;

constexpr std::size_t kShortList = 20;

Look look_of(Fullness fullness)
{
    return fullness == Fullness::kLow      ? Look::kPlain
           : fullness == Fullness::kOver70 ? Look::kStrong
           : fullness == Fullness::kOver90 ? Look::kWarning
                                           : Look::kBad;
}

Look look_of(const RuleVerdict &verdict)
{
    return verdict.state == RuleVerdict::State::kRejected   ? Look::kBad
           : verdict.state == RuleVerdict::State::kAccepted ? Look::kGood
                                                            : Look::kWarning;
}

/** One text, or two where a change makes a difference. */
std::string before_after(const std::string &before, const std::string &after)
{
    return before.empty() || before == after ? after : before + " → " + after;
}

std::string bar(std::uint64_t value, std::uint64_t limit)
{
    constexpr std::size_t kLength = 10;
    const auto full = static_cast<std::size_t>(percent(value, limit) / 100 * kLength);
    return std::string(std::min(full, kLength), '#') +
           std::string(kLength - std::min(full, kLength), '-') + (value > limit ? "!" : "|");
}

/** What is printed, section by section. */
class Printer
{
public:
    Printer(std::ostream &out, const Survey &survey, const Style &style,
            const HeadroomDetail &detail)
        : m_out(out), m_survey(survey), m_after(survey.figures),
          m_before(survey.before ? &*survey.before : nullptr), m_style(style), m_detail(detail)
    {
    }

    void print()
    {
        links();
        objections();
        room();
        card();
    }

private:
    void links();
    std::vector<TextCell> link_row(const LinkFigures &link) const;
    void objections();
    void room();
    TextCell room_cell(const LinkFigures &link, std::size_t line) const;
    void room_table(const std::vector<std::size_t> &lines, std::size_t first, std::size_t last);
    std::vector<std::size_t> lines_by_use() const;
    void card();
    void figure(const std::string &name, std::uint32_t value, std::uint32_t before,
                std::uint32_t limit, const char *rule);
    void profiles();
    void collisions();
    void heading(const std::string &text) { m_out << '\n' << m_style.strong(text) << '\n'; }
    std::size_t limited(std::size_t size) const
    {
        return m_detail.all ? size : std::min(size, kShortList);
    }
    void left_out(std::size_t size, const std::string &what);

    std::ostream &m_out;
    const Survey &m_survey;
    const Figures &m_after;
    const Figures *m_before;
    const Style &m_style;
    const HeadroomDetail &m_detail;
};

std::vector<TextCell> Printer::link_row(const LinkFigures &link) const
{
    const Limits &limits = m_after.limits;
    const LinkFigures *before = m_before != nullptr ? find_link(*m_before, link.port) : nullptr;
    const auto both = [&](const auto &text_of) {
        return before_after(before != nullptr ? text_of(*before) : std::string(), text_of(link));
    };
    const RuleVerdict verdict = verdict_on(m_survey, link);
    const bool is_new = m_before != nullptr && before == nullptr;
    const std::string remark = remark_on(link);
    return {{link.name + (is_new ? " (new)" : "")},
            {both([](const LinkFigures &each) { return std::to_string(each.onus); })},
            {both([](const LinkFigures &each) { return grouped(each.demand()); })},
            {both([&](const LinkFigures &each) {
                 return percent_text(each.demand(), limits.guaranteed);
             }),
             look_of(fullness(link.demand(), limits.guaranteed))},
            {bar(link.demand(), limits.guaranteed),
             look_of(fullness(link.demand(), limits.guaranteed))},
            {both([](const LinkFigures &each) { return grouped(each.fixed); })},
            {both([&](const LinkFigures &each) { return percent_text(each.fixed, limits.fixed); }),
             look_of(fullness(link.fixed, limits.fixed))},
            {both([&](const LinkFigures &each) { return oversubscription(each, limits); })},
            {words_for(verdict.state) + (remark.empty() ? "" : ": " + remark), look_of(verdict)}};
}

void Printer::links()
{
    const Limits &limits = m_after.limits;
    m_out << "Limits of a PON link: guaranteed " << grouped(limits.guaranteed) << " kbit/s with "
          << limits.overhead_per_onu << " kbit/s for each ONU, fixed " << grouped(limits.fixed)
          << " kbit/s, " << limits.onus << " ONUs.\n\n";
    TextTable table;
    table.add_column("PON link", false);
    table.add_column("ONUs", true, 4);
    table.add_column("guaranteed", true, 3);
    table.add_column("%", true);
    table.add_column("", false, 1);
    table.add_column("fixed", true, 3);
    table.add_column("%", true);
    table.add_column("maximum", true, 2);
    table.add_column("bandwidth check", false);
    for (const LinkFigures &link : m_after.links) {
        table.add_row(link_row(link));
    }
    table.print(m_out, m_style, m_detail.width);
    for (const LinkFigures &link : m_before != nullptr ? m_before->links : m_after.links) {
        if (find_link(m_after, link.port) == nullptr) {
            m_out << link.name << " is removed.\n";
        }
    }
}

/** What the rules say in full, each text once. */
void Printer::objections()
{
    std::vector<std::string> told;
    for (const RuleRun &run : m_survey.outcome.runs) {
        const bool is_bad = run.answer.verdict == engine::Verdict::kRejected;
        if (run.answer.verdict == engine::Verdict::kAccepted) {
            continue;
        }
        const std::string text = printable_lines(text_of(run.answer));
        if (std::find(told.begin(), told.end(), text) == told.end()) {
            told.push_back(text);
            m_out << (told.size() == 1 ? "\n" : "")
                  << (is_bad ? m_style.bad("rejected") : m_style.warning("to confirm")) << ": "
                  << text.substr(0, text.find_last_not_of('\n') + 1) << " (" << run.rule << ")\n";
        }
    }
}

/** Those that most ONUs have come first. */
std::vector<std::size_t> Printer::lines_by_use() const
{
    std::vector<std::size_t> order(m_after.lines.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [this](std::size_t one, std::size_t other) {
        return m_after.lines[one].onus > m_after.lines[other].onus;
    });
    order.resize(limited(order.size()));
    return order;
}

TextCell Printer::room_cell(const LinkFigures &link, std::size_t line) const
{
    const LinkFigures *before = m_before != nullptr ? find_link(*m_before, link.port) : nullptr;
    const std::size_t place =
        before != nullptr ? find_line(*m_before, m_after.lines[line].name) : std::string::npos;
    const std::string was = place != std::string::npos ? room_text(before->room[place]) : "";
    return {before_after(was, room_text(link.room[line])),
            link.room[line].more == 0 ? Look::kWarning : Look::kPlain};
}

void Printer::room_table(const std::vector<std::size_t> &lines, std::size_t first, std::size_t last)
{
    TextTable table;
    table.add_column("line profile", false);
    for (std::size_t link = first; link < last; ++link) {
        table.add_column(m_after.links[link].name, true);
    }
    for (const std::size_t line : lines) {
        std::vector<TextCell> row{{m_after.lines[line].name}};
        for (std::size_t link = first; link < last; ++link) {
            row.push_back(room_cell(m_after.links[link], line));
        }
        table.add_row(std::move(row));
    }
    table.print(m_out, m_style, 0);
}

void Printer::left_out(std::size_t size, const std::string &what)
{
    if (limited(size) < size) {
        m_out << "… and " << plural(size - limited(size), what) << " (" << m_detail.way_to_all
              << ")\n";
    }
}

void Printer::room()
{
    if (m_after.lines.empty() || m_after.links.empty()) {
        return;
    }
    heading("How many ONUs more fit");
    m_out
        << "f: the fixed rates keep out one more. 0 of 9: the rates of 9 would fit, but not their "
           "number.\n";
    const auto lines = lines_by_use();
    std::size_t head = text_width("line profile");
    std::size_t column = 1;
    for (const std::size_t line : lines) {
        head = std::max(head, text_width(printable(m_after.lines[line].name)));
        for (const LinkFigures &link : m_after.links) {
            column =
                std::max({column, text_width(link.name), text_width(room_cell(link, line).text)});
        }
    }
    column += 2; // The gap.
    const std::size_t fit = m_detail.width == 0              ? m_after.links.size()
                            : m_detail.width > head + column ? (m_detail.width - head) / column
                                                             : 1;
    for (std::size_t first = 0; first < m_after.links.size(); first += fit) {
        m_out << (first > 0 ? "\n" : "");
        room_table(lines, first, std::min(first + fit, m_after.links.size()));
    }
    left_out(m_after.lines.size(), "line profile");
}

void Printer::figure(const std::string &name, std::uint32_t value, std::uint32_t before,
                     std::uint32_t limit, const char *rule)
{
    const RuleVerdict verdict = verdict_of(m_survey.outcome, rule);
    m_out << "  " << name << ": "
          << before_after(m_before != nullptr ? grouped(before) : "", grouped(value)) << " of "
          << grouped(limit) << ", " << percent_text(value, limit) << ", "
          << words_for(verdict.state) << '\n';
}

void Printer::card()
{
    const Limits &limits = m_after.limits;
    heading("Card");
    figure("service ports", m_after.service_ports,
           m_before != nullptr ? m_before->service_ports : 0, limits.service_ports,
           kServicePortRule);
    figure("ONUs monitored in real time", m_after.real_time_onus,
           m_before != nullptr ? m_before->real_time_onus : 0, limits.real_time_onus,
           kRealTimeRule);
    for (std::size_t i = 0; i < std::min<std::size_t>(3, m_after.vlans.size()); ++i) {
        const VlanFigures &vlan = m_after.vlans[i];
        m_out << "  VLAN mappings of service profile " << printable(vlan.profile) << ", "
              << port_name(vlan) << ": " << vlan.mappings << " of " << limits.vlan_mappings << '\n';
    }
    profiles();
    collisions();
}

void Printer::profiles()
{
    const Limits &limits = m_after.limits;
    std::size_t full = 0;
    for (const LineFigures &line : m_after.lines) {
        const bool is_over = line.static_tconts > limits.static_tconts ||
                             line.dynamic_tconts > limits.dynamic_tconts;
        full += line.static_tconts == limits.static_tconts ||
                        line.dynamic_tconts == limits.dynamic_tconts
                    ? 1
                    : 0;
        if (is_over || !line.missing.empty()) {
            m_out << "  line profile " << printable(line.name) << ": " << line.static_tconts
                  << " of " << limits.static_tconts << " static T-CONTs, " << line.dynamic_tconts
                  << " of " << limits.dynamic_tconts << " dynamic ones";
            for (const auto &name : line.missing) {
                m_out << "; bandwidth profile " << printable(name) << " does not exist";
            }
            m_out << '\n';
        }
    }
    m_out << "  line profiles with as many T-CONTs of a kind as may be: " << full << " of "
          << m_after.lines.size() << " (" << limits.static_tconts << " static, "
          << limits.dynamic_tconts << " dynamic)\n";
    std::map<std::string, std::vector<std::string>> unused;
    for (const UnusedProfile &profile : m_after.unused) {
        unused[profile.kind].push_back(profile.name);
    }
    for (const auto &[kind, names] : unused) {
        m_out << "  nobody uses " << plural(names.size(), kind) << ":";
        for (std::size_t i = 0; i < limited(names.size()); ++i) {
            m_out << (i > 0 ? ", " : " ") << printable(names[i]);
        }
        m_out << (limited(names.size()) < names.size()
                      ? std::string(", … (") + m_detail.way_to_all + ")"
                      : "")
              << '\n';
    }
}

void Printer::collisions()
{
    const auto &all = m_after.near_collisions;
    for (std::size_t i = 0; i < limited(all.size()); ++i) {
        m_out << "  " << m_style.warning("nearly the same") << " (in case only): "
              << (all[i].is_password ? "passwords"
                                     : "serial numbers " + printable(all[i].serial_number))
              << " of";
        for (std::size_t onu = 0; onu < all[i].onus.size(); ++onu) {
            m_out << (onu > 0 ? ", " : " ") << printable(all[i].onus[onu]);
        }
        m_out << '\n';
    }
    left_out(all.size(), "near collision");
}

} // namespace

void print_survey(std::ostream &out, const Survey &survey, const Style &style,
                  const HeadroomDetail &detail)
{
    Printer(out, survey, style, detail).print();
}

} // namespace host
