#include "client_arguments.h"

#include <base.h>

#include <algorithm>

namespace fuzz
{
namespace
{

constexpr std::array<const char *, 26> kPaths{
    "/config",
    "/config/interface",
    "/config/interface/gpon",
    "/config/interface/gpon{1 1 1}",
    "/config/interface/gpon/{1 1 1}/onu",
    "/config/interface/gpon{1 1 1}/onu{1}",
    "/config/interface/gpon{1 1 1}/onu{1}/snmp/real-time",
    "/config/interface/gpon{1 1 1}/onu{1}/management/address",
    "/config/interface/gpon{1 1 1}/onu{1}/management/default-gateway",
    "/config/interface/gpon{1 1 1}/onu{2}/management",
    "/config/interface/gpon{1 1 1}/onu{1}/rg-override-parameters/parameter",
    "/config/interface/gpon{1 1 1}/downstream-fec",
    "/base:config/gpon{1/1}",
    "/config/gpon{\"1/1\"}/onu-auth-method",
    "/config/gpon{1/1}/rg-one-shot-prov/",
    "/config/profile/gpon/bandwidth-profile",
    "/config/profile/gpon/bandwidth-profile{b}/traffic/type-5",
    "/config/profile/gpon/line-profile{a}/tcont",
    "/config/profile/gpon/service-profile{a}/vlan-mapping{a}/uni/ethernet",
    "/config/profile/gpon/service-profile{a}/vlan-mapping{a}/match/outer/vlan-id",
    "/config/profile/gpon/rg-profile{a}/wan-pppoe-connection{a}/itf-grouping/ports",
    "/config/profile/gpon/rg-profile{a}/wan-pppoe-connection{a}/itf-grouping/ports{eth1}",
    "/config/profile/gpon/tr069-acs-profile{a}/password",
    "/config/service-port",
    "/config/service-port{1}/gpon",
    "/config/service-port{1}/gpon/onu/gem/gem-id"};

constexpr std::array<const char *, 16> kPieces{
    "/", "{",   "}",      " ",     "\"",   "\\",  "..",      "1",
    "a", "1/1", "config", "base:", "gpon", "onu", "profile", "tailf:"};

constexpr std::array<const char *, 22> kExpressions{
    "/config/service-port",
    "/config/interface/gpon[chassis-id=1 and slot-id=1 and port-id=1]/onu",
    "/config/interface/gpon/onu[profile-references/line-profile='a']",
    "count(/config/interface/gpon/onu/snmp/real-time)",
    "string(/config/service-port[1]/id)",
    "id",
    "gpon/id",
    "profile-references/line-profile",
    "name",
    "onu-id",
    "..",
    ".",
    "current()/id",
    "//name",
    "1 + 2",
    "true()",
    "not(id)",
    "'text'",
    "count(",
    "/config/nothing",
    "a[",
    "/config/service-port | /config/gpon"};

constexpr std::array<std::uint32_t, 14> kTags{
    base_config,  base_profile, base_gpon,     base_service_port, base_onu,
    base_onu_id,  base_id,      base_gem,      base_gem_id,       base_name,
    base_traffic, base_type_5,  base_ethernet, base_management};

/** A percent sign never begins a directive here: nothing would go with it. */
std::string without_directives(std::string text)
{
    for (std::size_t at = 1; at < text.size(); ++at) {
        if (text[at - 1] == '%' && std::string_view("dusxh*").find(text[at]) != text.npos) {
            text[at] = '%';
        }
    }
    return text;
}

} // namespace

std::string ClientArguments::path()
{
    std::string text = m_bytes.one_in(6) ? "" : m_bytes.pick(kPaths);
    for (std::size_t pieces = m_bytes.one_in(3) ? m_bytes.below(6) : 0; pieces > 0; --pieces) {
        text += m_bytes.pick(kPieces);
    }
    return m_bytes.one_in(8) ? text + any_text() : text;
}

std::string ClientArguments::format()
{
    return without_directives(path());
}

std::string ClientArguments::xpath()
{
    const std::string expression = m_bytes.pick(kExpressions);
    return m_bytes.one_in(8) ? expression + any_text() : expression;
}

std::uint32_t ClientArguments::tag()
{
    return m_bytes.one_in(8) ? m_bytes.word() : m_bytes.pick(kTags);
}

confd_value_t ClientArguments::value()
{
    confd_value_t value{};
    // Any number that the enumeration has room for.
    value.type = static_cast<confd_vtype>(m_bytes.byte() % 64);
    switch (value.type) {
    case C_BUF: {
        m_texts.push_back(m_bytes.one_in(2) ? any_text() : "a");
        auto &text = m_texts.back();
        CONFD_SET_BUF(&value, reinterpret_cast<unsigned char *>(text.data()),
                      static_cast<unsigned int>(text.size()));
        break;
    }
    case C_STR:
        value.val.s = keep(any_text());
        break;
    case C_LIST: {
        const auto size = static_cast<unsigned int>(m_bytes.below(3));
        std::array<confd_value_t, MAXKEYLEN> elements{};
        for (unsigned int i = 0; i < size; ++i) {
            elements.at(i) = this->value();
        }
        m_values.push_back(elements);
        CONFD_SET_LIST(&value, m_values.back().data(), size);
        break;
    }
    case C_XMLTAG:
        CONFD_SET_XMLTAG(&value, tag(), base__ns);
        break;
    default:
        value.val.u32 = m_bytes.one_in(4) ? m_bytes.word() : m_bytes.byte() % 4U;
    }
    return value;
}

const confd_hkeypath_t *ClientArguments::keypath()
{
    m_keypaths.emplace_back();
    confd_hkeypath_t &keypath = m_keypaths.back();
    for (auto &element : keypath.v) {
        std::fill(std::begin(element), std::end(element), confd_value_t{C_NOEXISTS, {}});
    }
    keypath.len = static_cast<int>(m_bytes.below(8));
    for (int i = keypath.len - 1; i >= 0; --i) {
        auto &element = keypath.v[i];
        if (i == keypath.len - 1 && !m_bytes.one_in(8)) {
            CONFD_SET_XMLTAG(&element[0], base_config, base__ns);
        } else if (m_bytes.one_in(2)) {
            CONFD_SET_XMLTAG(&element[0], tag(), base__ns);
        } else {
            const std::size_t keys = 1 + m_bytes.below(MAXKEYLEN);
            std::generate_n(element, keys, [this] { return value(); });
        }
    }
    if (m_bytes.one_in(16)) {
        keypath.len = static_cast<int>(m_bytes.byte()) - 100;
    }
    return &keypath;
}

} // namespace fuzz
