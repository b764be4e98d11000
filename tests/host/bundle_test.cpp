/** Secrets that are replaced in texts; that bundles give the same reports is tests/bundle's. */
#include "bundle/scrubber.h"
#include "support/card_xml.h"
#include "support/model.h"

#include "engine/data/crypto.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <random>

using namespace test_support;
using testing::HasSubstr;
using testing::Not;

namespace
{

std::string lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

/** Short ones, of few letters, so that many are alike or all that there can be. */
std::vector<std::string> random_secrets(std::mt19937 &random)
{
    const std::string letters = "abAB01-ü";
    std::vector<std::string> secrets;
    for (int i = 0; i < 60; ++i) {
        std::string secret;
        for (auto length = random() % 6; length > 0; --length) {
            const auto at = random() % 7;
            secret += at == 6 ? "ü" : letters.substr(at, 1);
        }
        secrets.push_back((random() % 8 == 0 ? "$0$" : "") + secret);
    }
    for (char digit = '0'; digit <= '9'; ++digit) {
        secrets.emplace_back(1, digit); // Each has to stand for another one.
    }
    return secrets;
}

TEST(SecretMap, KeepsWhatRulesCompare)
{
    for (unsigned seed = 1; seed <= 30; ++seed) {
        std::mt19937 random(seed);
        const auto secrets = random_secrets(random);
        host::SecretMap map;
        for (const auto &secret : secrets) {
            map.add(secret);
        }
        for (const auto &one : secrets) {
            const std::string now = map.replaced(one);
            ASSERT_EQ(now.size(), one.size());
            for (std::size_t i = 0; i < one.size(); ++i) {
                ASSERT_EQ(std::isdigit(static_cast<unsigned char>(now[i])),
                          std::isdigit(static_cast<unsigned char>(one[i])))
                    << one << now;
                ASSERT_EQ(std::isupper(static_cast<unsigned char>(now[i])),
                          std::isupper(static_cast<unsigned char>(one[i])))
                    << one << now;
            }
            for (const auto &other : secrets) {
                ASSERT_EQ(one == other, now == map.replaced(other)) << one << " " << other;
                ASSERT_EQ(lower(one) == lower(other), lower(now) == lower(map.replaced(other)));
            }
        }
    }
}

struct Text {
    const char *what;
    std::string text;
    bool skip_foreign = false;
};

/** The secret stands in them as `Rose&17` is written there, or as a part of another value. */
const std::vector<Text> kTexts{
    {"an ONU's password", onu_5(xml("auth-method/password", "Rose&amp;17"))},
    {"clear text to encrypt",
     named("profile/gpon/tr069-acs-profile", "a", xml("password", "$0$Rose&#38;17"))},
    {"references to characters", onu_5(xml("auth-method/password", "&#82;&#x6f;se&amp;&#0049;7"))},
    {"CDATA in pieces", onu_5(xml("auth-method/password", "R<![CDATA[ose&1]]><!-- Rose -->7"))},
    {"other texts", onu_5(xml("auth-method/password", "Rose&amp;17") +
                          xml("description", "its password is Rose&amp;17!"))},
    {"a key that tells where an entry goes",
     onu_5(xml("auth-method/password", "Rose&amp;17") +
           xml("rg-override-parameters/parameter", xml("name", "Rose&amp;17"),
               "yang:insert='after' yang:key=\"[name='Rose&amp;17']\""))},
    {"what is malformed further on",
     "</gpon>" + xml("password", "Rose&amp;17") + "<description>Rose&amp;17 <"},
    {"JSON", R"({"base:config": {"a": [1, {"password": "Rose&17"}], "description": "Rose&17"}})"},
    {"JSON with escapes",
     R"({"password": "\u0052ose\u002617", "@x": {"yang:key": "R\u006fse&17"}})"},
    {"malformed JSON", R"({"pppoe-password": "Rose&17", "description" "Rose&17)"},
    {"other models", R"({"x:users": [{"hash": "Rose&17"}], "base:password": "Rose&17"})", true},
    {"other models in XML",
     xml("password", "Rose&amp;17") + "<users><hash>Rose&amp;17</hash></users>", true},
};

TEST(Scrubber, LeavesNoSecretAndEveryLine)
{
    for (const Text &given : kTexts) {
        SCOPED_TRACE(given.what);
        const std::string text = given.text.front() == '{'
                                     ? given.text
                                     : config_xml("\n<!-- Rose&17 -->\n" + given.text);
        host::Scrubber scrubber(*schema(), given.skip_foreign);
        scrubber.note(text);
        EXPECT_THAT(scrubber.secrets(), testing::Contains("Rose&17"));
        const std::string now = scrubber.scrubbed(text);
        for (const char *left :
             {"Rose", "ose&17", "ose&#38;17", "&#82;", "&#x6f;", "\\u0052", "\\u006f"}) {
            EXPECT_THAT(now, Not(HasSubstr(left)));
        }
        EXPECT_EQ(now.size(), text.size()) << now;
        EXPECT_EQ(std::count(now.begin(), now.end(), '\n'),
                  std::count(text.begin(), text.end(), '\n'));
        // What is replaced by the same, and no more than that, is a secret again.
        host::Scrubber again(*schema(), given.skip_foreign);
        again.note(now);
        EXPECT_EQ(again.secrets().size(), scrubber.secrets().size());
    }
}

TEST(Scrubber, EncryptsWhatWasEncrypted)
{
    const std::string stored = engine::encrypt("Rose17");
    const std::string text =
        config_xml(named("profile/gpon/tr069-acs-profile", "a", xml("password", stored)) +
                   named("profile/gpon/tr069-acs-profile", "b", xml("password", stored)) +
                   named("profile/gpon/tr069-acs-profile", "c", xml("password", "$0$rose17")));
    host::Scrubber scrubber(*schema(), false);
    scrubber.note(text);
    const auto tree = parse(scrubber.scrubbed(text));
    const std::string xml_text = tree.print(engine::Format::kXml);
    EXPECT_THAT(xml_text, Not(HasSubstr(stored)));
    std::vector<std::string> clear;
    for (std::size_t at = xml_text.find("$8$"); at != std::string::npos;
         at = xml_text.find("$8$", at + 1)) {
        clear.push_back(
            engine::decrypt(xml_text.substr(at, xml_text.find('<', at) - at)).value_or("none"));
    }
    ASSERT_EQ(clear.size(), 3U);
    EXPECT_EQ(clear[0], clear[1]);
    EXPECT_NE(clear[0], clear[2]);
    EXPECT_EQ(lower(clear[0]), clear[2]) << "it differs in case only";
    EXPECT_EQ(clear[0].size(), 6U);
}

} // namespace
