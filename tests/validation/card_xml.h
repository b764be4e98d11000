/** Pieces of small configurations, for tests. */
#pragma once

#include <string>

namespace card_xml
{

inline std::string element(const std::string &name, const std::string &inside)
{
    return "<" + name + ">" + inside + "</" + name + ">";
}

inline std::string profiles(const std::string &inside)
{
    return element("profile", element("gpon", inside));
}

/** A profile, or another entry with a name for its key. */
inline std::string named(const std::string &list, const std::string &name,
                         const std::string &inside = "")
{
    return element(list, element("name", name) + inside);
}

inline std::string onu(int id, const std::string &inside = "")
{
    return element("onu", element("onu-id", std::to_string(id)) + inside);
}

/** The PON link 1/1/port. */
inline std::string gpon(int port, const std::string &inside = "")
{
    return element("gpon", "<chassis-id>1</chassis-id><slot-id>1</slot-id>" +
                               element("port-id", std::to_string(port)) + inside);
}

/** That link alone. */
inline std::string link(int port, const std::string &inside = "")
{
    return element("interface", gpon(port, inside));
}

} // namespace card_xml
