#include "card.h"

#include "checker/model_schema.h"
#include "engine/data/yang_check.h"
#include "engine/edit/edit.h"
#include "generator/card_names.h"
#include "generator/tree_writer.h"

#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace bench
{
namespace
{

engine::Source generate(std::uint32_t links, std::uint64_t seed)
{
    std::ostringstream xml;
    host::XmlWriter writer(xml, schema()->module()->ns);
    host::CardGenerator(shape_of(links, seed), writer).write();
    return {"card.xml", xml.str()};
}

/** Replaces a piece of text wherever it stands; it must stand somewhere. */
void replace_all(std::string &text, std::string_view from, std::string_view to)
{
    auto at = text.find(from);
    if (at == std::string::npos) {
        throw std::logic_error("the card has no " + std::string(from));
    }
    for (; at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

/** Numbers the service ports anew, behind the numbers that they have. */
void renumber_service_ports(std::string &text, std::uint32_t count)
{
    constexpr std::string_view kEntry = "<service-port>";
    constexpr std::string_view kId = "<id>";
    for (auto at = text.find(kEntry); at != std::string::npos; at = text.find(kEntry, at)) {
        at = text.find(kId, at) + kId.size();
        const auto end = text.find('<', at);
        const auto number = std::stoul(text.substr(at, end - at)) + count;
        text.replace(at, end - at, std::to_string(number));
    }
}

engine::Datastore parse_and_check(const engine::Source &text)
{
    auto tree = engine::Datastore::parse(schema(), text);
    engine::check_yang(tree, text);
    return tree;
}

/** Name of the line profile that ONU 5 of the first link has. */
std::string line_profile_of_onu_5(const engine::Datastore &running)
{
    lyd_node *reference = nullptr;
    if (lyd_find_path(running.root(),
                      "/base:config/interface/gpon[chassis-id='1'][slot-id='1'][port-id='1']"
                      "/onu[onu-id='5']/profile-references/line-profile",
                      0, &reference) != LY_SUCCESS) {
        throw std::logic_error("ONU 5 has no line profile");
    }
    return lyd_get_value(reference);
}

} // namespace

host::CardShape shape_of(std::uint32_t links, std::uint64_t seed)
{
    return {.links = links,
            .onus = 128,
            .line_profiles = 32 * links,
            .bandwidth_profiles = 4 * links,
            .service_ports = 256 * links,
            .rg_profiles = links,
            .seed = seed};
}

std::shared_ptr<const engine::Schema> schema()
{
    return host::model_schema();
}

Card::Card(std::uint32_t links)
    : m_links(links), m_text(generate(links, 1)), m_running(parse_and_check(m_text))
{
}

engine::Source Card::everyday_edit() const
{
    const std::string present = line_profile_of_onu_5(m_running);
    const std::string other = host::line_name(present == host::line_name(0) ? 1 : 0);
    return {"everyday.xml", std::string("<config xmlns=\"") + schema()->module()->ns +
                                "\"><interface><gpon><chassis-id>1</chassis-id>"
                                "<slot-id>1</slot-id><port-id>1</port-id>"
                                "<onu><onu-id>5</onu-id><profile-references><line-profile>" +
                                other +
                                "</line-profile></profile-references></onu>"
                                "</gpon></interface></config>"};
}

engine::Source Card::rewriting_edit() const
{
    std::string text = generate(m_links, 2).text;
    replace_all(text, "<config ",
                "<config xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\""
                " nc:operation=\"replace\" ");
    replace_all(text, ">bandwidth-", ">rate-");
    replace_all(text, ">service-0", ">services-0");
    replace_all(text, ">guest-", ">visitor-");
    replace_all(text, "$0$secret-", "$0$another-secret-");
    replace_all(text, ".example.net", ".example.org");
    replace_all(text, "<packet-period>20<", "<packet-period>10<");
    replace_all(text, "</onu-auth-method>", "</onu-auth-method><rg-one-shot-prov/>");
    renumber_service_ports(text, shape_of(m_links, 2).service_ports);
    return {"rewriting.xml", std::move(text)};
}

engine::Datastore Card::candidate(const engine::Source &edit) const
{
    auto result = engine::apply_edit(m_running, edit);
    engine::check_yang(result, edit);
    return result;
}

const Card &card(std::uint32_t links)
{
    static std::unique_ptr<Card> last;
    if (!last || last->links() != links) {
        last = std::make_unique<Card>(links);
    }
    return *last;
}

} // namespace bench
