/** Encrypted values. */
#include "confd_maapi.h"

#include "api/guard.h"
#include "engine/data/crypto.h"
#include "engine/data/error.h"
#include "engine/session/framework.h"
#include "engine/session/reads.h"

#include <cstring>

using engine::Error;
using engine::Framework;

namespace
{

void decrypt(std::string_view stored, char *output)
{
    engine::ReadLog::instance().note_crypto_keys();
    if (!Framework::current().crypto_keys_installed) {
        throw Error(CONFD_ERR_PROTOUSAGE, "the crypto keys are not installed");
    }
    const auto clear_text = engine::decrypt(stored);
    if (!clear_text) {
        throw Error(CONFD_ERR_BADTYPE, "the value is not encrypted, or with another key");
    }
    if (clear_text->size() >= stored.size()) {
        throw Error(CONFD_ERR_PROTOUSAGE, "the clear text does not fit into the output");
    }
    std::memcpy(output, clear_text->c_str(), clear_text->size() + 1);
}

} // namespace

extern "C" {

int maapi_install_crypto_keys(int sock)
{
    return api::guarded("maapi_install_crypto_keys", CONFD_ERR, [sock] {
        auto &framework = Framework::current();
        framework.require_socket(sock, engine::SocketKind::kMaapi);
        framework.crypto_keys_installed = true;
        engine::ReadLog::instance().note_installed_keys();
        return CONFD_OK;
    });
}

int confd_decrypt(const char *ciphertext, int len, char *output)
{
    return api::guarded("confd_decrypt", CONFD_ERR, [&] {
        if (ciphertext == nullptr || len < 0) {
            throw Error(CONFD_ERR_PROTOUSAGE, "confd_decrypt: there is no cipher text");
        }
        decrypt({ciphertext, static_cast<std::size_t>(len)}, output);
        return CONFD_OK;
    });
}

} // extern "C"
