/**
 * @file
 * XML made ready for libyang, which does not take all of it.
 */
#pragma once

#include "engine/data/envelope.h"

#include <optional>
#include <string>

namespace engine
{

/**
 * Checks what libyang would ignore, and takes away what it would refuse: comments and processing
 * instructions inside a value, xml:space and xml:lang; also what stands around the data, and nodes
 * of other models. Lines stay where they are.
 * @return Nothing when the text can stay as it is; that costs a few searches.
 * @throws InputError  Malformed XML, attributes that are not understood, another encoding than
 *                     UTF-8, a document type, very many namespaces; see also Envelope.
 */
std::optional<std::string> normalise_xml(const RawText &raw, Envelope &envelope);

} // namespace engine
