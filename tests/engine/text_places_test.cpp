#include "engine/data/text_places.h"

#include "engine/data/attributes.h"
#include "engine/data/path.h"
#include "engine/edit/edit.h"
#include "support/card_xml.h"
#include "support/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

using namespace test_support;
using engine::Format;
using engine::Schema;
using engine::TextPlace;
using engine::TextPlaces;

namespace engine
{

bool operator==(const TextPlace &a, const TextPlace &b)
{
    return a.line == b.line && a.column == b.column;
}

std::ostream &operator<<(std::ostream &out, const TextPlace &place)
{
    return out << place.line << ':' << place.column;
}

} // namespace engine

namespace
{

/** Writes a configuration as nobody would, and notes where its nodes begin. */
class Scribbler
{
public:
    Scribbler(Format format, unsigned seed) : m_is_xml(format == Format::kXml), m_random(seed) {}

    void write(const lyd_node *root)
    {
        if (m_is_xml) {
            put(choose(
                {"", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n", "<!-- <config/> -->"}));
            m_prefix = choose({"", "b:"});
            const std::string netconf = choose({"", "n:config"});
            put(netconf.empty() ? ""
                                : "<" + netconf + " xmlns:n='" + engine::kNetconfNamespace + "'>");
            element(root, " xmlns" + std::string(m_prefix.empty() ? "" : ":b") +
                              "=\"urn:olt:gpon:base\" xmlns:g='a>b/>'");
            put(netconf.empty() ? "" : "</" + netconf + ">");
        } else {
            put("{");
            member(root, {root}, "base:");
            put("}");
        }
    }

    std::string text;
    /** Nodes that were left out have the place of the one above. */
    std::map<const lyd_node *, TextPlace> places;

private:
    bool one_in(unsigned count) { return m_random() % count == 0; }
    std::string choose(const std::vector<std::string> &texts)
    {
        return texts[m_random() % texts.size()];
    }

    void put(const std::string &more)
    {
        for (const char c : more) {
            m_place.column += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1U : 0U;
            if (c == '\n') {
                m_place = {m_place.line + 1, 1};
            }
        }
        text += more;
    }

    void put_noise()
    {
        put(choose({"", " ", "\n", "\r\n\t", "  "}));
        if (m_is_xml && one_in(4)) {
            put(choose({"<!-- <onu-id>1</onu-id> \" > -->", "<!--ü\n日本-->", "<?p <id>1</id>?>"}));
        }
    }

    static bool is_key(const lyd_node *node) { return lysc_is_key(node->schema); }

    /** Children in any order, keys as well; some are left out. */
    std::vector<const lyd_node *> children_of(const lyd_node *node)
    {
        std::vector<const lyd_node *> children;
        for (const auto *child = lyd_child(node); child != nullptr; child = child->next) {
            if (is_key(child) || !one_in(8)) {
                children.push_back(child);
            } else {
                leave_out(child, places.at(node));
            }
        }
        std::shuffle(children.begin(), children.end(), m_random);
        // Among themselves keys have an order.
        const auto *key = lyd_child(node);
        for (auto &child : children) {
            if (is_key(child)) {
                child = std::exchange(key, key->next);
            }
        }
        return children;
    }

    void leave_out(const lyd_node *node, TextPlace above)
    {
        places[node] = above;
        for (const auto *child = lyd_child(node); child != nullptr; child = child->next) {
            leave_out(child, above);
        }
    }

    void element(const lyd_node *node, const std::string &attributes)
    {
        const std::string name = m_prefix + node->schema->name;
        put_noise();
        places[node] = m_place;
        put("<" + name + (one_in(3) ? "\n" : "") + attributes + choose({"", " xmlns:e='>\"é'"}) +
            ">");
        if ((node->schema->nodetype & LYD_NODE_TERM) != 0) {
            put(xml_value(node));
        } else {
            for (const auto *child : children_of(node)) {
                element(child, "");
            }
            put_noise();
        }
        put("</" + name + ">");
    }

    std::string xml_value(const lyd_node *node)
    {
        const std::string value = lyd_get_value(node);
        const bool is_number =
            !value.empty() && value.find_first_not_of("0123456789") == std::string::npos;
        if (Schema::of(node)->type_storage.vtype == C_UINT8 && is_number && one_in(3)) {
            return choose({" " + value + " ", "0" + value});
        }
        return value.empty() || one_in(2)
                   ? value
                   : choose({"<![CDATA[" + value + "]]>",
                             "&#" + std::to_string(static_cast<int>(value.front())) + ";" +
                                 value.substr(1),
                             value.substr(0, 1) + "<!-- > -->" + value.substr(1)});
    }

    /** Entries of a list are one member. */
    void member(const lyd_node *above_or_first, const std::vector<const lyd_node *> &nodes,
                const std::string &prefix)
    {
        const auto *schema = above_or_first->schema;
        put_noise();
        const TextPlace place = m_place;
        put("\"" + prefix + json_text(schema->name) + "\"" + choose({":", " :\n"}));
        if ((schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) == 0) {
            value(nodes.front(), place);
            return;
        }
        put("[");
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            put(i > 0 ? "," : "");
            put_noise();
            value(nodes[i], m_place);
        }
        put_noise();
        put("]");
    }

    void value(const lyd_node *node, TextPlace place)
    {
        places[node] = place;
        if ((node->schema->nodetype & LYD_NODE_TERM) != 0) {
            put(json_value(node));
            return;
        }
        std::map<const lysc_node *, std::vector<const lyd_node *>> members;
        for (const auto *child : children_of(node)) {
            members[child->schema].push_back(child);
        }
        put("{");
        const char *separator = "";
        for (const auto &[schema, nodes] : members) {
            put(separator);
            member(nodes.front(), nodes, choose({"", "base:"}));
            separator = ",";
        }
        put_noise();
        put("}");
    }

    std::string json_value(const lyd_node *node)
    {
        const std::string value = lyd_get_value(node);
        switch (Schema::of(node)->type_storage.vtype) {
        case C_BOOL:
        case C_UINT8:
        case C_UINT16:
        case C_UINT32:
            return value;
        case C_XMLTAG:
            return choose({"[null]", "[ null\n]"});
        default:
            return std::string(1, '"').append(json_text(value)).append(1, '"');
        }
    }

    std::string json_text(const std::string &plain)
    {
        const auto at = plain.find_first_of("aeo");
        if (at == std::string::npos || one_in(2)) {
            return plain;
        }
        const char *escape = plain[at] == 'a'   ? "\\u0061"
                             : plain[at] == 'e' ? "\\u0065"
                                                : "\\u006F";
        return plain.substr(0, at) + escape + plain.substr(at + 1);
    }

    const bool m_is_xml;
    std::mt19937 m_random;
    std::string m_prefix;
    TextPlace m_place;
};

engine::Datastore sample()
{
    std::string inside =
        xml("profile/gpon/service-profile",
            xml("name", "s") +
                xml("vlan-mapping",
                    xml("name", "m") + xml("uni", xml("ethernet", "1") + xml("ethernet", "3"))));
    std::string links;
    for (const char *number : {"1", "2", "12"}) {
        inside += xml("service-port", xml("id", number) + xml("description", "größe 日本 a>b"));
        std::string onus;
        for (const char *onu : {"1", "11", "2"}) {
            onus += xml("onu", xml("onu-id", onu) + xml("snmp/real-time") +
                                   xml("pots", xml("port", "1")) + xml("pots", xml("port", "2")) +
                                   xml("auth-method",
                                       xml("serial-number", "ABCD000000" + std::string(number))));
        }
        links += xml("gpon", xml("chassis-id", "1") + xml("slot-id", "1") + xml("port-id", number) +
                                 xml("upstream-fec", "true") + onus);
    }
    return parse_config(inside + xml("interface", links));
}

template <typename Visit>
void for_each(const lyd_node *siblings, const Visit &visit)
{
    for (; siblings != nullptr; siblings = siblings->next) {
        visit(siblings);
        for_each(lyd_child(siblings), visit);
    }
}

/** Unlike a path, of a leaf-list's entry as well. */
std::string name_of(const lyd_node *node)
{
    const bool is_entry = node->schema->nodetype == LYS_LEAFLIST;
    return engine::path_text(node) + (is_entry ? lyd_get_value(node) : "");
}

TEST(TextPlaces, AreWhereNodesWereWritten)
{
    const auto configuration = sample();
    for (unsigned seed = 0; seed < 200; ++seed) {
        for (const Format format : {Format::kXml, Format::kJson}) {
            Scribbler scribbler(format, seed);
            scribbler.write(configuration.root());
            const engine::Source source{"test", scribbler.text};
            const TextPlaces places(*schema(), source);
            std::map<std::string, TextPlace> by_name;
            // Leaf-list entries that were left out are as close as those that were not.
            for (const auto &[node, place] : scribbler.places) {
                by_name[name_of(node)] = place;
                if (node->schema->nodetype != LYS_LEAFLIST) {
                    ASSERT_EQ(places.of(node), place) << name_of(node) << '\n' << scribbler.text;
                    ASSERT_EQ(places.of(engine::path_text(node)), place) << scribbler.text;
                }
            }
            if (format == Format::kXml && scribbler.text.find("n:config") != std::string::npos) {
                continue; // No configuration, but what stands in an edit.
            }
            const auto parsed = parse(scribbler.text);
            for_each(parsed.root(), [&](const lyd_node *node) {
                EXPECT_EQ(places.of_written(node), by_name.at(name_of(node)))
                    << name_of(node) << '\n'
                    << scribbler.text;
            });
        }
    }
}

} // namespace
