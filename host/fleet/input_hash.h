/**
 * @file
 * A hash of all that a result depends on.
 */
#pragma once

#include <memory>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace host
{

/** SHA-256 of parts, each with its length: what is moved from one part to the next changes it. */
class InputHash
{
public:
    /** @throws std::runtime_error */
    InputHash();
    void add(std::string_view part);
    /** Ends it. @return Such as `sha256:0f1e...`. */
    std::string text();

private:
    struct Free {
        void operator()(evp_md_ctx_st *context) const;
    };

    std::unique_ptr<evp_md_ctx_st, Free> m_context;
};

/** Hashes of files that seldom change: a file is read again when its status tells that it did. */
class FileHash
{
public:
    explicit FileHash(std::string path) : m_path(std::move(path)) {}
    /** Of the contents as they are now; empty: it cannot be read. */
    const std::string &text();

private:
    std::string m_path;
    std::string m_status; /**< For which the hash holds. */
    std::string m_hash;
};

} // namespace host
