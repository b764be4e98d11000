/**
 * @file
 * Small files packed into one: a tar archive, compressed with Zstandard.
 */
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace host
{

/** Texts by the names under which they are packed. */
using PackedFiles = std::map<std::string, std::string>;

/** The same files always give the same archive. @throws std::runtime_error */
std::string pack(const PackedFiles &files);

/** What an archive from elsewhere may hold. */
struct UnpackLimits {
    std::size_t max_bytes = std::size_t{512} << 20U; /**< Unpacked, all together. */
    std::size_t max_files = 10000;
};

/**
 * Unpacks into memory; nothing is written.
 * @throws engine::InputError  It is no such archive, is damaged, exceeds a limit, or has an entry
 *                             that is no plain file with a plain name, or that is there twice.
 */
PackedFiles unpack(const std::string &name, std::string_view archive,
                   const UnpackLimits &limits = {});

} // namespace host
