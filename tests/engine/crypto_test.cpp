#include "engine/data/crypto.h"

#include <gtest/gtest.h>

#include <string>

TEST(Crypto, GivesBackWhatItEncryptedEachTimeInAnotherWay)
{
    for (const auto &text :
         {std::string(), std::string(15, 'a'), std::string(16, 'b'), std::string(17, 'c'),
          std::string(1000, 'd'), std::string("a\0\xff\x01z", 5)}) {
        const auto stored = engine::encrypt(text);
        EXPECT_EQ(stored.substr(0, 3), "$8$");
        EXPECT_NE(engine::encrypt(text), stored);
        EXPECT_EQ(engine::decrypt(stored), text);
    }
}

// Made with `openssl enc -aes-128-cfb` under this key: what is stored stays readable.
TEST(Crypto, ReadsWhatAnotherImplementationWroteAndNothingElse)
{
    const std::string stored = "$8$AAECAwQFBgcICQoLDA0OD8FQjoWT6IkTAQ==";
    EXPECT_EQ(engine::decrypt(stored), "Secret-25");
    for (const auto &text : {
             std::string(),
             std::string("four"),
             std::string("$0$four"),
             std::string("$8$"),
             std::string("$8$===="),
             std::string("$8$AAECAw=="), // Shorter than an initial vector.
             std::string("$8$AAECAwQFBgcICQoLDA0OD8FQjoWT6IkT!Q=="), // Not base64.
             "$8$ " + stored.substr(3),
             stored.substr(3),                    // Without its mark.
             stored.substr(0, stored.size() - 1), // Not a whole group of four.
             stored + "=",
             stored + "\n",
         }) {
        EXPECT_EQ(engine::decrypt(text), std::nullopt) << text;
    }
}
