#include "session.h"

#include "engine/data/keypath.h"
#include "engine/data/path_reader.h"

#include <cstring>
#include <vector>

namespace
{

using test_support::expect_error;
using test_support::kpath_text;

constexpr const char *kConfig = R"(<profile><gpon>
<line-profile><name>basic</name></line-profile><line-profile><name>it's-back\slash</name></line-profile>
<rg-profile><name>home</name><wan-ip-connection><name>internet</name><itf-grouping>
<ports><port>eth1</port><vlan>7</vlan></ports><ports><port>wl0</port></ports>
</itf-grouping></wan-ip-connection></rg-profile></gpon></profile>
<interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>3</port-id>
<onu><onu-id>5</onu-id></onu></gpon></interface><gpon><card>1/1</card></gpon>)";

class Paths : public test_support::Session
{
protected:
    void SetUp() override { start(kConfig); }
};

TEST_F(Paths, AcceptedForms)
{
    const std::pair<const char *, int> cases[] = {
        {"/config", 1},
        {"/base:config/base:interface/", 1},
        {"/config/interface/gpon/{1 1 3}/onu{5}/", 1},
        {"/config/interface/gpon{1 1 03}", 1},
        {"/config/interface/gpon{1 1 4}", 0},
        {"/config/interface/gpon{1 1 4}/onu{5}", 0},
        {"/config/interface/gpon{1 1 4}/onu{5}/snmp", 0},
        {"/config/interface/gpon{1 1 3}/onu{5}/snmp", 1},
        {"/config/interface/gpon{1 1 3}/onu{5}/admin-state", 1}, // By default.
        {"/config/interface/gpon{1 1 3}/onu{5}/snmp/real-time", 0},
        {"/config/interface/gpon{1 1 3}/onu{5}/management", 0},
        {"/config/gpon{1/1}", 1},
        {"/config/gpon{\"1/1\"}/onu-auth-method", 1},
        {"/config/profile/gpon/line-profile{}", 0},
        {"/config/profile/gpon/line-profile{\"\"}", 0},
        {"/config/profile/gpon/line-profile{\"a b\"}", 0},
        {"/config/profile/gpon/line-profile{it's-back\\slash}", 1},
        {"/config/profile/gpon/line-profile{\"it's-back\\\\slash\"}", 1},
        {"/config/profile/gpon/line-profile{\"\\it's-back\\\\slash\"}", 1},
        {"/config/profile/gpon/rg-profile{home}/wan-ip-connection{internet}/itf-grouping/"
         "ports{wl0}",
         1},
    };
    for (const auto &[path, expected] : cases) {
        EXPECT_EQ(maapi_exists(maapi, th, path), expected) << path << ": " << confd_lasterr();
        EXPECT_EQ(cdb_exists(cdb, path), expected) << path << ": " << confd_lasterr();
    }
}

TEST_F(Paths, BadOnesNameThePathAndTheElement)
{
    const std::pair<const char *, const char *> cases[] = {
        {"", "slash"},
        {"/", "no node"},
        {"config", "slash"},
        {"//config", "empty"},
        {"/config//interface", "empty"},
        {"/config/interface/gpon//{1 1 3}", "empty"},
        {"/config/interfaces", "no interfaces below /config"},
        {"/profile", "no profile at the top"},
        {"/other:config", "prefix"},
        {"/config{1}", "config is not a list"},
        {"/config/interface/gpon{1 1}", "gpon has 3 keys, not 2"},
        {"/config/interface/gpon{1 1 3 4}", "gpon has 3 keys, not 4"},
        {"/config/interface/gpon{1  1 3}", "gpon has 3 keys, not 4"},
        {"/config/interface/gpon{1 1 x}", "'x'"},
        {"/config/interface/gpon{1 1 257}", "/config/interface/gpon/port-id"},
        {"/config/interface/gpon{1 1 }", "''"},
        {"/config/interface/gpon{1 1 3", "no closing brace"},
        {"/config/interface/gpon{1 1 3/onu{5}", "brace"},
        {"/config/profile/gpon/line-profile{\"basic", "no closing quote"},
        {"/config/profile/gpon/line-profile{basic}tcont", "after line-profile a slash is missing"},
        {"/config/interface/gpon", "without keys"},
        {"/config/interface/gpon/onu{5}", "keys of gpon"},
        {"/config/profile/gpon/rg-profile{h}/wan-ip-connection{i}/itf-grouping/ports{eth9}",
         "'eth9'"},
        {"/config/profile/gpon/line-profile{100%}", "directive"},
        {"/config/%q", "directive"},
        {"/config/%", "directive"},
        {"/config/%ld", "directive"},
    };
    for (const auto &[path, says] : cases) {
        EXPECT_EQ(maapi_exists(maapi, th, path), CONFD_ERR);
        expect_error(CONFD_ERR_BADPATH, {path, says});
    }
}

TEST_F(Paths, DirectivesOfTextAndNumbers)
{
    const char *gpon = "/config/interface/gpon";
    EXPECT_EQ(maapi_exists(maapi, th, "/config/interface/gpon{%d %u %s}/onu{%u}", 1, 1U, "3", 5U),
              1);
    EXPECT_EQ(maapi_exists(maapi, th, "/config/interface/gpon{%s}/onu{%d}", "1 1 3", 5), 1);
    EXPECT_EQ(maapi_exists(maapi, th, "%s/{1 1 %s}/onu{5}/%s", gpon, "3", "onu-id"), 1);
    EXPECT_EQ(maapi_exists(maapi, th, "/config/gpon{%d/%d}", 1, 1), 1);
    EXPECT_EQ(maapi_exists(maapi, th, "/config/profile/gpon/line-profile{%s}", "100%"), 0);
    EXPECT_EQ(maapi_exists(maapi, th, "/config/profile/gpon/line-profile{%s}", ""), 0);
    EXPECT_EQ(maapi_exists(maapi, th, "%s{1 1 %d}", gpon, -3), CONFD_ERR);
    expect_error(CONFD_ERR_BADPATH, {"'-3'"});
    EXPECT_EQ(maapi_exists(maapi, th, "/config/%s", static_cast<const char *>(nullptr)), CONFD_ERR);
    expect_error(CONFD_ERR_BADPATH, {"null"});
}

TEST_F(Paths, DirectivesOfValues)
{
    std::array<confd_value_t, 3> keys{};
    CONFD_SET_UINT32(&keys[0], 1);
    CONFD_SET_UINT32(&keys[1], 1);
    CONFD_SET_UINT32(&keys[2], 3);
    EXPECT_EQ(maapi_exists(maapi, th, "/config/interface/gpon{1 1 %x}", &keys[2]), 1);
    EXPECT_EQ(maapi_exists(maapi, th, "/config/interface/gpon{%*x}/onu{5}", 3, keys.data()), 1);
    EXPECT_EQ(maapi_exists(maapi, th, "/config/interface/gpon{%*x}", 2, keys.data()), CONFD_ERR);
    expect_error(CONFD_ERR_BADPATH, {"3 keys, not 2"});

    // A text with braces, quotes or blanks is one key; an enumeration takes its name.
    confd_value_t key{};
    key.type = C_STR;
    for (const auto &[name, exists] :
         {std::pair{"it's-back\\slash", 1}, std::pair{"basic}/gem{1", 0}}) {
        key.val.s = name;
        EXPECT_EQ(maapi_exists(maapi, th, "/config/profile/gpon/line-profile{%x}", &key), exists)
            << name;
    }
    CONFD_SET_ENUM_VALUE(&key, 0);
    const char *wan = "/config/profile/gpon/rg-profile{home}/wan-ip-connection{internet}";
    EXPECT_EQ(maapi_exists(maapi, th, "%s/itf-grouping/ports{%x}/vlan", wan, &key), 1);
    EXPECT_EQ(maapi_exists(maapi, th, "/config/interface/gpon{1 1 %x}", &key), CONFD_ERR);
    expect_error(CONFD_ERR_BADPATH, {"enum<0>", "port-id"});
}

TEST_F(Paths, DirectivesOfKeypaths)
{
    confd_hkeypath_t keypath;
    const auto &tree = framework().running();
    const auto path = engine::read_path(tree.schema(), "/config/interface/gpon{1 1 3}/onu{5}/snmp");
    engine::fill_keypath(keypath, engine::find_node(tree.root(), *path));
    ASSERT_EQ(keypath.len, 7);
    EXPECT_EQ(CONFD_GET_XMLTAG(&keypath.v[0][0]), model::tag_of("snmp"));
    EXPECT_EQ(CONFD_GET_UINT32(&keypath.v[3][2]), 3U);
    EXPECT_EQ(keypath.v[3][3].type, C_NOEXISTS);
    EXPECT_EQ(kpath_text(keypath), "/config/interface/gpon{1 1 3}/onu{5}/snmp");
    std::array<char, 8> small{};
    EXPECT_EQ(confd_pp_kpath(small.data(), 4, &keypath), 41);
    EXPECT_STREQ(small.data(), "/co");

    EXPECT_EQ(maapi_exists(maapi, th, "%h", &keypath), 1);
    EXPECT_EQ(maapi_exists(maapi, th, "%h/real-time", &keypath), 0);
    EXPECT_EQ(maapi_exists(maapi, th, "%*h/onu{%d}", 4, &keypath, 5), 1);
    EXPECT_EQ(maapi_exists(maapi, th, "%*h", 8, &keypath), CONFD_ERR);
    expect_error(CONFD_ERR_BADPATH, {"8 elements"});
    EXPECT_EQ(maapi_exists(maapi, th, "/config%h", &keypath), CONFD_ERR);
    expect_error(CONFD_ERR_BADPATH, {"stands where it must not"});
    keypath.v[0][0].val.xmltag.tag = 1;
    EXPECT_EQ(maapi_exists(maapi, th, "%h", &keypath), CONFD_ERR);
    expect_error(CONFD_ERR_BADPATH, {"unknown tag 1"});
    engine::free_keypath(keypath);
}

TEST_F(Paths, PrintedKeypathsCanBeReadAgain)
{
    const auto &tree = framework().running();
    for (const char *path : {"/config/profile/gpon/line-profile{it's-back\\slash}",
                             "/config/profile/gpon/rg-profile{home}/wan-ip-connection{internet}/"
                             "itf-grouping/ports{wl0}"}) {
        const auto *node = engine::find_node(tree.root(), *engine::read_path(tree.schema(), path));
        ASSERT_NE(node, nullptr) << path;
        EXPECT_EQ(engine::path_text(node), path);
        confd_hkeypath_t keypath;
        engine::fill_keypath(keypath, node);
        EXPECT_EQ(kpath_text(keypath), path);
        engine::free_keypath(keypath);
    }
    EXPECT_EQ(engine::braces({"plain", "two words", "", "{", "\"\\"}),
              "{plain \"two words\" \"\" \"{\" \"\\\"\\\\\"}");
}

TEST_F(Paths, SchemaNodesNeedNoKeys)
{
    auto *onu = confd_cs_node_cd(nullptr, "/config/interface/gpon/onu");
    ASSERT_NE(onu, nullptr) << confd_lasterr();
    EXPECT_STREQ(confd_hash2str(onu->tag), "onu");
    EXPECT_EQ(confd_hash2str(1), nullptr);
    EXPECT_EQ(onu->ns, model::kNamespaceTag);
    EXPECT_EQ(onu->info.keys[0], model::tag_of("onu-id"));
    EXPECT_EQ(onu->info.keys[1], 0U);
    for (const char *path :
         {"/config/interface/gpon{1 1 3}/onu", "/config/interface/gpon/{9 x}/onu{}",
          "/base:config/interface/gpon/onu/"}) {
        EXPECT_EQ(confd_cs_node_cd(nullptr, path), onu) << path;
    }
    EXPECT_EQ(confd_cs_node_cd(onu->parent, "onu{%d}", 4), onu);
    EXPECT_EQ(confd_cs_node_cd(onu, "/config"), onu->parent->parent->parent);
    EXPECT_EQ(confd_cs_node_cd(nullptr, "/config/interface/gpon{1 1 3}/omu"), nullptr);
    expect_error(CONFD_ERR_BADPATH, {"omu", "/config/interface/gpon"});
    EXPECT_EQ(confd_cs_node_cd(onu, "snmp/nothing"), nullptr);
    expect_error(CONFD_ERR_BADPATH, {"nothing", "/config/interface/gpon/onu/snmp"});
    EXPECT_EQ(confd_max_object_size(nullptr), CONFD_ERR);
    expect_error(CONFD_ERR_PROTOUSAGE, {"no node"});
}

} // namespace
