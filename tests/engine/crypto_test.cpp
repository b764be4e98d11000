#include "engine/data/crypto.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

TEST(Crypto, GivesBackWhatItEncrypted)
{
    const std::string binary("a\0\xff\x01z", 5);
    for (const auto &text : {std::string(), std::string("x"), std::string(15, 'a'),
                             std::string(16, 'b'), std::string(17, 'c'), std::string(1000, 'd'),
                             std::string("pass word \xc3\xa4"), binary}) {
        const auto stored = engine::encrypt(text);
        EXPECT_EQ(stored.substr(0, 3), "$8$");
        EXPECT_EQ(engine::decrypt(stored), text);
    }
}

TEST(Crypto, NeverStoresATextTheSameWayTwice)
{
    EXPECT_NE(engine::encrypt("secret"), engine::encrypt("secret"));
}

// Made with `openssl enc -aes-128-cfb` under the desk's key: what is stored stays readable.
TEST(Crypto, ReadsWhatAnotherImplementationWrote)
{
    EXPECT_EQ(engine::decrypt("$8$AAECAwQFBgcICQoLDA0OD8FQjoWT6IkTAQ=="), "Secret-25");
}

TEST(Crypto, ReadsNothingElse)
{
    const auto stored = engine::encrypt("four");
    const std::vector<std::string> texts{
        "",
        "four",
        "$0$four",
        "$8$",
        "$8$====",
        "$8$AAECAw==",                             // Shorter than an initial vector.
        "$8$AAECAwQFBgcICQoLDA0OD8FQjoWT6IkT!Q==", // Not base64.
        "$8$ " + stored.substr(3),
        stored.substr(3),                    // Without its mark.
        stored.substr(0, stored.size() - 1), // Not a whole group of four.
        stored + "=",
        stored + "\n",
    };
    for (const auto &text : texts) {
        EXPECT_EQ(engine::decrypt(text), std::nullopt) << text;
    }
}
