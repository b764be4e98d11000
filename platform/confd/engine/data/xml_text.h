/**
 * @file
 * XML made ready for libyang, which does not take all of it.
 */
#pragma once

#include "engine/data/attributes.h"

#include <optional>
#include <string>
#include <string_view>

namespace engine
{

/**
 * Checks what libyang would ignore, and takes away what it would refuse: comments and processing
 * instructions inside a value, xml:space and xml:lang. Lines stay where they are.
 * @param text  The source's text without a byte order mark.
 * @return Nothing when the text can stay as it is; that costs a few searches.
 * @throws InputError  Malformed XML, attributes that are not understood, another encoding than
 *                     UTF-8, a document type, very many namespaces.
 */
std::optional<std::string> normalise_xml(const Source &source, std::string_view text,
                                         Content content);

} // namespace engine
