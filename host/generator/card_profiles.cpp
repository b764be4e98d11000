#include "generator/card_profiles.h"

#include "generator/card_names.h"

#include <algorithm>
#include <array>

namespace host
{
namespace
{

constexpr std::array<const char *, 5> kTrafficTypes{"type-1", "type-2", "type-3", "type-4",
                                                    "type-5"};
constexpr std::array<std::uint32_t, 16> kRatesKbps{
    64, 128, 192, 256, 512, 768, 1024, 1536, 2048, 4096, 8192, 10240, 20480, 40960, 61440, 102400};
constexpr std::uint32_t kInternetVlan = 100;

// Upstream of a PON link in kbit/s: what all ONUs together may be guaranteed, what of it may be
// fixed, and what each ONU costs on top.
constexpr std::uint32_t kUpstreamCapacityKbps = 1107504;
constexpr std::uint32_t kFixedCapacityKbps = 442752;
constexpr std::uint32_t kOverheadPerOnuKbps = 560;

class ProfileWriter
{
public:
    ProfileWriter(const CardShape &shape, TreeWriter &out, Random &random)
        : m_shape(shape), m_out(out), m_random(random),
          m_guaranteed_limit((kUpstreamCapacityKbps / shape.onus - kOverheadPerOnuKbps) /
                             kMaxTconts),
          m_fixed_limit(kFixedCapacityKbps / shape.onus / kMaxTconts)
    {
    }

    void bandwidth_profiles();
    /** @return Number of GEM ports of each. */
    std::vector<std::uint32_t> line_profiles();
    void service_profiles();

private:
    void traffic(std::uint32_t index);
    std::uint32_t tconts_and_gems();
    void vlan_mapping(const std::string &name, std::uint32_t vlan, bool is_veip);
    std::uint32_t rate_up_to(std::uint32_t limit);

    const CardShape &m_shape;
    TreeWriter &m_out;
    Random &m_random;
    std::uint32_t m_guaranteed_limit; /**< Of one T-CONT, in kbit/s. */
    std::uint32_t m_fixed_limit;      /**< Of one T-CONT, in kbit/s. */
};

std::uint32_t ProfileWriter::rate_up_to(std::uint32_t limit)
{
    const auto end = std::upper_bound(kRatesKbps.begin(), kRatesKbps.end(), limit);
    return kRatesKbps[m_random.below(static_cast<std::uint32_t>(end - kRatesKbps.begin()))];
}

void ProfileWriter::bandwidth_profiles()
{
    m_out.open_list("bandwidth-profile");
    for (std::uint32_t i = 0; i < m_shape.bandwidth_profiles; ++i) {
        m_out.open_entry();
        m_out.text("name", bandwidth_name(i));
        m_out.open("traffic");
        traffic(i);
        m_out.close();
        m_out.close_entry();
    }
    m_out.close_list();
}

void ProfileWriter::traffic(std::uint32_t index)
{
    const std::size_t type = index % kTrafficTypes.size() + 1;
    const bool has_fixed = type == 1 || type == 5;
    const bool has_assured = type == 2 || type == 3 || type == 5;
    const std::uint32_t fixed =
        has_fixed ? rate_up_to(std::min(m_fixed_limit, m_guaranteed_limit / 2)) : 0;
    // The assured rate of type 5 includes the fixed one.
    const std::uint32_t assured = has_assured ? fixed + rate_up_to(m_guaranteed_limit - fixed) : 0;

    m_out.open(kTrafficTypes[type - 1]);
    if (has_fixed) {
        m_out.number("fixed", fixed);
    }
    if (has_assured) {
        m_out.number("assured", assured);
    }
    if (type >= 3) {
        m_out.number("maximum", assured + rate_up_to(kRatesKbps.back()));
    }
    m_out.close();
}

std::vector<std::uint32_t> ProfileWriter::line_profiles()
{
    std::vector<std::uint32_t> gems;
    m_out.open_list("line-profile");
    for (std::uint32_t i = 0; i < m_shape.line_profiles; ++i) {
        m_out.open_entry();
        m_out.text("name", line_name(i));
        gems.push_back(tconts_and_gems());
        m_out.close_entry();
    }
    m_out.close_list();
    return gems;
}

std::uint32_t ProfileWriter::tconts_and_gems()
{
    const std::uint32_t tconts = 1 + m_random.below(kMaxTconts);
    const std::uint32_t gems = tconts + m_random.below(3);

    m_out.open_list("tcont");
    for (std::uint32_t id = 1; id <= tconts; ++id) {
        m_out.open_entry();
        m_out.number("id", id);
        m_out.text("bandwidth-profile", bandwidth_name(m_random.below(m_shape.bandwidth_profiles)));
        m_out.close_entry();
    }
    m_out.close_list();

    m_out.open_list("gem");
    for (std::uint32_t id = 1; id <= gems; ++id) {
        m_out.open_entry();
        m_out.number("gem-id", id);
        m_out.number("tcont", (id - 1) % tconts + 1);
        m_out.close_entry();
    }
    m_out.close_list();
    return gems;
}

void ProfileWriter::service_profiles()
{
    m_out.open_list("service-profile");
    for (std::uint32_t i = 0; i < kServiceProfiles; ++i) {
        m_out.open_entry();
        m_out.text("name", service_name(i));
        m_out.open_list("vlan-mapping");
        vlan_mapping("internet", kInternetVlan + i, i % 2 == 1);
        vlan_mapping("television", kInternetVlan + 100 + i, i % 2 == 1);
        vlan_mapping("voice", kInternetVlan + 200 + i, i % 2 == 1);
        m_out.close_list();
        m_out.close_entry();
    }
    m_out.close_list();
}

void ProfileWriter::vlan_mapping(const std::string &name, std::uint32_t vlan, bool is_veip)
{
    m_out.open_entry();
    m_out.text("name", name);
    m_out.open(is_veip ? "veip" : "uni");
    if (is_veip) {
        m_out.empty("veip");
    } else {
        m_out.numbers("ethernet", {1, 2});
    }
    m_out.close();
    m_out.open("match");
    m_out.open("outer");
    m_out.number("vlan-id", vlan);
    m_out.text("cos", "any");
    m_out.close();
    m_out.close();
    m_out.open("action");
    m_out.open("outer");
    m_out.number("vlan-id", vlan + 1000);
    m_out.close();
    m_out.close();
    m_out.close_entry();
}

} // namespace

std::vector<std::uint32_t> write_profiles(const CardShape &shape, TreeWriter &out, Random &random)
{
    ProfileWriter writer(shape, out, random);
    writer.bandwidth_profiles();
    const auto gems = writer.line_profiles();
    writer.service_profiles();
    return gems;
}

void write_tr069_profiles(TreeWriter &out)
{
    out.open_list("tr069-acs-profile");
    for (std::uint32_t i = 0; i < kTr069Profiles; ++i) {
        const std::string number = std::to_string(i + 1);
        out.open_entry();
        out.text("name", tr069_name(i));
        out.text("url", "https://acs" + number + ".example.net:7547/");
        out.text("username", "gateway");
        out.text("password", "$0$secret-" + number);
        out.number("periodic-inform-interval", 3600 * (i + 1));
        out.close_entry();
    }
    out.close_list();
}

void write_voip_profiles(TreeWriter &out)
{
    out.open_list("sip-agent-profile");
    for (std::uint32_t i = 0; i < kVoipProfiles; ++i) {
        const std::string number = std::to_string(i + 1);
        out.open_entry();
        out.text("name", sip_name(i));
        out.text("proxy-server", "sip" + number + ".example.net");
        out.text("registrar-server", "sip" + number + ".example.net");
        out.close_entry();
    }
    out.close_list();

    out.open_list("media-profile");
    for (std::uint32_t i = 0; i < kVoipProfiles; ++i) {
        out.open_entry();
        out.text("name", media_name(i));
        out.text("codec", i == 0 ? "pcma" : "g729");
        out.number("packet-period", 20);
        out.close_entry();
    }
    out.close_list();
}

} // namespace host
