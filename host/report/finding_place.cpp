#include "report/finding_place.h"

#include "report/printable.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <new>

namespace host
{
namespace
{

std::string hex(unsigned char byte)
{
    std::array<char, 3> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%02X", byte));
    return text.data();
}

std::string hash_of(const std::string &text)
{
    constexpr unsigned kKept = 16; // Plenty to tell findings apart.
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    if (EVP_Digest(text.data(), text.size(), digest.data(), &length, EVP_sha256(), nullptr) != 1) {
        throw std::bad_alloc();
    }
    std::string hash;
    for (unsigned i = 0; i < kKept && i < length; ++i) {
        hash += hex(digest[i]);
    }
    return hash;
}

} // namespace

FileLocation place_of(const Finding &finding, const Outcome &outcome)
{
    FileLocation place = finding.evidence.location;
    if (place.file.empty()) {
        place = {outcome.change.empty() ? outcome.running : outcome.change};
    }
    if (place.line == 0) {
        place.line = 1;
        place.column = 0;
    }
    return place;
}

std::string path_from(const std::string &folder, const std::string &file)
{
    const auto path = std::filesystem::path(file).lexically_normal();
    if (path.is_absolute()) {
        const auto relative = path.lexically_relative(folder);
        return relative.empty() || leads_out(relative.string()) ? path.string() : relative.string();
    }
    return path.string();
}

std::string path_in(const std::string &folder, const std::string &file)
{
    return (std::filesystem::path(folder) / file).lexically_normal().string();
}

bool leads_out(std::string_view path)
{
    return path.starts_with('/') || path == ".." || path.starts_with("../");
}

std::string on_one_line(const std::string &text)
{
    std::string line = text;
    std::replace(line.begin(), line.end(), '\n', ' ');
    return printable(line);
}

std::string percent_encoded(char byte)
{
    return '%' + hex(static_cast<unsigned char>(byte));
}

std::string uri_path(std::string_view path)
{
    constexpr std::string_view kPlain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    std::string uri;
    for (const char character : path) {
        if (kPlain.find(character) != std::string_view::npos) {
            uri += character;
        } else {
            uri += percent_encoded(character);
        }
    }
    return uri;
}

std::string Fingerprints::next(const Finding &finding, const std::string &file)
{
    std::string text;
    for (const auto &part : {finding.id, finding.path, finding.text, file}) {
        text += std::to_string(part.size()) + ':' + part; // Where a part ends is part of it.
    }
    const std::string hash = hash_of(text);
    return hash + ':' + std::to_string(++m_counts[hash]);
}

} // namespace host
