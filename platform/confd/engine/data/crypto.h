/**
 * @file
 * Encrypted leaf values: AES-128 in CFB mode, random initial vector first, base64 behind
 * $8$.
 */
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace engine
{

/** @return `$8$` and base64. @throws Error CONFD_ERR_INTERNAL when the system gives no random
 * bytes. */
std::string encrypt(std::string_view clear_text);

/** Nothing when the text is no value that this framework encrypted. */
std::optional<std::string> decrypt(std::string_view stored);

} // namespace engine
