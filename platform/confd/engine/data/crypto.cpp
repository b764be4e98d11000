#include "engine/data/crypto.h"

#include "confd_lib.h"
#include "engine/data/error.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <array>
#include <memory>
#include <vector>

namespace engine
{
namespace
{

using Bytes = std::vector<unsigned char>;
using Context = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

/**
 * On a card the key is the device's own secret. This one only serves your machine, where nothing is
 * secret: it lets configurations with encrypted values be written, kept and read back.
 */
constexpr std::array<unsigned char, 16> kDeskKey{0x67, 0x70, 0x6f, 0x6e, 0x2d, 0x63, 0x61, 0x72,
                                                 0x64, 0x2d, 0x64, 0x65, 0x73, 0x6b, 0x2d, 0x31};
constexpr std::size_t kVectorSize = 16;
constexpr std::string_view kPrefix = "$8$";

enum class Direction { kDecrypt = 0, kEncrypt = 1 };

/** CFB turns as many bytes as it gets, so that text and cipher text are equally long. */
Bytes run_cipher(Direction direction, const unsigned char *vector, const unsigned char *input,
                 std::size_t size)
{
    const Context context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    Bytes output(size + kVectorSize); // Room for a last block that CFB does not need.
    int written = 0;
    const bool ok = context &&
                    EVP_CipherInit_ex(context.get(), EVP_aes_128_cfb128(), nullptr, kDeskKey.data(),
                                      vector, static_cast<int>(direction)) == 1 &&
                    EVP_CipherUpdate(context.get(), output.data(), &written, input,
                                     static_cast<int>(size)) == 1;
    if (!ok || written != static_cast<int>(size)) {
        throw Error(CONFD_ERR_INTERNAL, "AES-128-CFB is not available");
    }
    output.resize(size);
    return output;
}

std::string to_base64(const Bytes &bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0'); // EVP adds a NUL.
    const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char *>(text.data()), bytes.data(),
                                     static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(size));
    return text;
}

std::optional<Bytes> from_base64(const std::string &text)
{
    Bytes bytes(text.size() / 4 * 3 + 3);
    const int size =
        EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char *>(text.data()),
                        static_cast<int>(text.size()));
    if (size <= 0) {
        return std::nullopt;
    }
    const auto last = text.find_last_not_of('=');
    const auto padding = text.size() - 1 - last;
    if (last == std::string::npos || padding > 2) {
        return std::nullopt;
    }
    bytes.resize(static_cast<std::size_t>(size) - padding);
    // EVP overlooks blanks and stray bits: only what is written the one right way is ours.
    return to_base64(bytes) == text ? std::optional(bytes) : std::nullopt;
}

} // namespace

std::string encrypt(std::string_view clear_text)
{
    Bytes stored(kVectorSize);
    if (RAND_bytes(stored.data(), static_cast<int>(kVectorSize)) != 1) {
        throw Error(CONFD_ERR_INTERNAL, "the system gives no random bytes");
    }
    const auto cipher_text =
        run_cipher(Direction::kEncrypt, stored.data(),
                   reinterpret_cast<const unsigned char *>(clear_text.data()), clear_text.size());
    stored.insert(stored.end(), cipher_text.begin(), cipher_text.end());
    return std::string(kPrefix) + to_base64(stored);
}

std::optional<std::string> decrypt(std::string_view stored)
{
    if (stored.substr(0, kPrefix.size()) != kPrefix) {
        return std::nullopt;
    }
    const auto bytes = from_base64(std::string(stored.substr(kPrefix.size())));
    if (!bytes || bytes->size() < kVectorSize) {
        return std::nullopt;
    }
    const auto clear_text = run_cipher(Direction::kDecrypt, bytes->data(),
                                       bytes->data() + kVectorSize, bytes->size() - kVectorSize);
    return std::string(clear_text.begin(), clear_text.end());
}

} // namespace engine
