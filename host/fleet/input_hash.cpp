#include "fleet/input_hash.h"

#include <openssl/evp.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>

namespace host
{
namespace
{

void require(int result)
{
    if (result != 1) {
        throw std::runtime_error("SHA-256 is not available");
    }
}

/** What changes with the contents. */
std::string status_of(const std::string &path)
{
    struct stat status {
    };
    if (stat(path.c_str(), &status) != 0) {
        return {};
    }
    std::ostringstream text;
    text << status.st_dev << ' ' << status.st_ino << ' ' << status.st_size << ' '
         << status.st_mtim.tv_sec << ' ' << status.st_mtim.tv_nsec << ' ' << status.st_ctim.tv_sec
         << ' ' << status.st_ctim.tv_nsec;
    return text.str();
}

} // namespace

void InputHash::Free::operator()(evp_md_ctx_st *context) const
{
    EVP_MD_CTX_free(context);
}

InputHash::InputHash() : m_context(EVP_MD_CTX_new())
{
    require(EVP_DigestInit_ex(m_context.get(), EVP_sha256(), nullptr));
}

void InputHash::add(std::string_view part)
{
    const std::string length = std::to_string(part.size()) + ':';
    require(EVP_DigestUpdate(m_context.get(), length.data(), length.size()));
    require(EVP_DigestUpdate(m_context.get(), part.data(), part.size()));
}

std::string InputHash::text()
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    require(EVP_DigestFinal_ex(m_context.get(), digest.data(), &size));
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text = "sha256:";
    for (unsigned i = 0; i < size; ++i) {
        text += kDigits[digest[i] >> 4U];
        text += kDigits[digest[i] & 0xFU];
    }
    return text;
}

const std::string &FileHash::text()
{
    const std::string status = status_of(m_path);
    if (status != m_status) {
        m_status = status;
        m_hash.clear();
        std::ifstream file(m_path, std::ios::binary);
        std::ostringstream contents;
        if (file && contents << file.rdbuf()) {
            InputHash hash;
            hash.add(contents.view());
            m_hash = hash.text();
        }
    }
    return m_hash;
}

} // namespace host
