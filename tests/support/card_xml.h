/** Pieces of the card's configuration as XML. */
#pragma once

#include <string>

namespace test_support
{

/** Nested elements: xml("a/b", "1") is <a><b>1</b></a>. Attributes go to the innermost. */
inline std::string xml(const std::string &path, const std::string &inside = "",
                       const std::string &attributes = "")
{
    const auto slash = path.find('/');
    const std::string name = path.substr(0, slash);
    if (slash != std::string::npos) {
        return "<" + name + ">" + xml(path.substr(slash + 1), inside, attributes) + "</" + name +
               ">";
    }
    return "<" + name + " " + attributes + ">" + inside + "</" + name + ">";
}

inline const std::string kCreate = "nc:operation='create'";
inline const std::string kReplace = "nc:operation='replace'";
inline const std::string kDelete = "nc:operation='delete'";
inline const std::string kRemove = "nc:operation='remove'";

/** A profile, or another entry with a name for its key: named("profile/gpon/rg-profile", "home").
 */
inline std::string named(const std::string &path, const std::string &name,
                         const std::string &inside = "")
{
    return xml(path, xml("name", name) + inside);
}

/** A service port as an edit may name it: without the mandatory nodes. */
inline std::string port_edit(int id, const std::string &inside, const std::string &attributes = "")
{
    return xml("service-port", xml("id", std::to_string(id)) + inside, attributes);
}

/** A service port, and what stands behind its mandatory nodes. */
inline std::string port(int id, const std::string &more = "", const std::string &attributes = "")
{
    return port_edit(
        id,
        xml("gpon", xml("id", "1/1/1") + xml("onu", xml("id", "1") + xml("gem/gem-id", "1"))) +
            more,
        attributes);
}

/** A PON link, to stand in `interface`. */
inline std::string link(int number, const std::string &inside = "")
{
    return xml("gpon", xml("chassis-id", "1") + xml("slot-id", "1") +
                           xml("port-id", std::to_string(number)) + inside);
}

inline std::string onu(int id, const std::string &inside = "", const std::string &attributes = "")
{
    return xml("onu", xml("onu-id", std::to_string(id)) + inside, attributes);
}

/** The whole path to ONU 5 of PON link 3. */
inline std::string onu_5(const std::string &inside)
{
    return xml("interface", link(3, onu(5, inside)));
}

/** The traffic of a bandwidth profile. */
inline std::string traffic(const std::string &inside)
{
    return xml("profile/gpon/bandwidth-profile", xml("name", "b") + xml("traffic", inside));
}

/** A VLAN mapping of a service profile. */
inline std::string mapping(const std::string &inside)
{
    return xml("profile/gpon/service-profile",
               xml("name", "s") + xml("vlan-mapping", xml("name", "m") + inside));
}

inline std::string management()
{
    return xml("management", xml("address", "10.0.0.5/24") + xml("default-gateway", "10.0.0.1"));
}

} // namespace test_support
