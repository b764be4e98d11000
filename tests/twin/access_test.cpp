/** Authorized keys and roles. */
#include "twin/access.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

using namespace host::twin;
using testing::HasSubstr;

namespace
{

const std::string kKey = "AAAAC3NzaC1lZDI1NTE5AAAAIAABAgMEBQYHCAkKCwwNDg8QERITFBUWFxgZGhscHR4f";
const std::string kOtherKey =
    "AAAAC3NzaC1lZDI1NTE5AAAAIP/+/fz7+vn49/b19PPy8fDv7u3s6+rp6Ofm5eTj4uHg";

TEST(AuthorizedKeys, TellWhoEnters)
{
    const auto keys = AuthorizedKeys::parse(
        "# people\n\n  role=\"admin\",name=\"eve\" ssh-ed25519 " + kKey +
            " eve@home, with a comment\r\nname=\"a.b\",role=\"viewer\"\tssh-ed25519 " + kOtherKey,
        "keys");
    EXPECT_EQ(keys.size(), 2U);
    const auto eve = keys.find("ssh-ed25519", kKey, "eve");
    ASSERT_TRUE(eve);
    EXPECT_EQ(eve->name, "eve");
    EXPECT_EQ(eve->role, Role::kAdmin);
    EXPECT_EQ(keys.find("a.b")->role, Role::kViewer);
    EXPECT_FALSE(keys.find("ssh-ed25519", kKey, "a.b")) << "another's name";
    EXPECT_FALSE(keys.find("ssh-rsa", kKey, "eve")) << "another type";
    EXPECT_FALSE(keys.find("ssh-ed25519", kKey.substr(4), "eve")) << "another key";
    EXPECT_FALSE(keys.find("bob"));
    EXPECT_FALSE(AuthorizedKeys::parse("", "keys").find("ssh-ed25519", "", "")) << "no key at all";
}

TEST(AuthorizedKeys, AreRefusedByLine)
{
    const std::string eve = "name=\"eve\",role=\"viewer\" ssh-ed25519 " + kKey + "\n";
    const struct {
        std::string text;
        const char *says;
    } cases[] = {
        {"ssh-ed25519 " + kKey, "keys:1: \"ssh-ed25519\" is no option"},
        {"\nname=\"eve\" ssh-ed25519 " + kKey, "keys:2: role is missing"},
        {"role=\"admin\" ssh-ed25519 " + kKey, "keys:1: name is missing"},
        {"name=\"eve\",role=\"root\" ssh-ed25519 " + kKey, "role=\"root\" is not possible"},
        {"name=\"eve\",name=\"bob\",role=\"admin\" ssh-ed25519 " + kKey, "name=\"bob\""},
        {"name=\"\x1b[2J\",role=\"admin\" ssh-ed25519 " + kKey, "is not possible"},
        {"name=\"eve\",role=\"admin\",from=\"::1\" ssh-ed25519 " + kKey, "from=\"::1\""},
        {"name=\"eve,role=admin ssh-ed25519 " + kKey, "\"name\" is no option"},
        {"name=\"eve\",role=\"admin\"", "no public key"},
        {"name=\"eve\",role=\"admin\", ssh-ed25519 " + kKey, "is no option"},
        {"name=\"eve\",role=\"admin\" ssh-ed25519 " + kKey.substr(1), "no public key"},
        {"name=\"eve\",role=\"admin\" ssh-rsa " + kKey, "no public key"},
        {eve + eve, "keys:2: the key stands in line 1 already"},
        {eve + "name=\"eve\",role=\"admin\" ssh-ed25519 " + kOtherKey,
         "keys:2: eve has the role viewer"}};
    for (const auto &one : cases) {
        try {
            AuthorizedKeys::parse(one.text, "keys");
            ADD_FAILURE() << one.text;
        } catch (const AccessError &error) {
            EXPECT_THAT(error.what(), HasSubstr(one.says)) << one.text;
        }
    }
}

TEST(AuthorizedKeys, AreNotForOthersToWrite)
{
    namespace fs = std::filesystem;
    const auto file = fs::path(testing::TempDir()) / "authorized_keys";
    std::ofstream(file) << "name=\"eve\",role=\"viewer\" ssh-ed25519 " << kKey;
    fs::permissions(file, fs::perms::owner_read | fs::perms::others_read);
    EXPECT_TRUE(AuthorizedKeys::read(file).find("eve"));
    fs::permissions(file, fs::perms::group_write, fs::perm_options::add);
    EXPECT_THROW(AuthorizedKeys::read(file), AccessError);
    fs::remove(file);
    EXPECT_THROW(AuthorizedKeys::read(file), AccessError);
}

TEST(Role, MayDoWhatItsRightsTell)
{
    const struct {
        const char *rpc;
        const char *roles; /**< That may. */
    } cases[] = {{"get-config", "viewer operator admin"},
                 {"validate", "viewer operator admin"},
                 {"close-session", "viewer operator admin"},
                 {"edit-config", "operator admin"},
                 {"commit", "operator admin"},
                 {"lock", "operator admin"},
                 {"an-rpc-of-tomorrow", "operator admin"},
                 {"kill-session", "admin"}};
    for (const auto &one : cases) {
        std::string roles;
        for (const char *name : {"viewer", "operator", "admin"}) {
            if (may(role_of(name).value(), right_for(one.rpc))) {
                roles += roles.empty() ? "" : " ";
                roles += name;
            }
        }
        EXPECT_EQ(roles, one.roles) << one.rpc;
    }
    EXPECT_FALSE(may(Role::kOperator, Right::kSeeSecrets));
    EXPECT_TRUE(may(Role::kAdmin, Right::kSeeSecrets));
}

} // namespace
