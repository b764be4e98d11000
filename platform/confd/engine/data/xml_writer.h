/**
 * @file
 * XML written again without what libyang refuses. For xml_text.cpp only.
 */
#pragma once

#include "engine/data/envelope.h"

#include <string>

namespace engine
{

/** Looking up a prefix takes libyang as many steps as there are namespaces. */
inline constexpr std::size_t kMaxNamespaces = 100;

/** See normalise_xml. @throws InputError */
std::string write_xml(const RawText &raw, Envelope &envelope);

} // namespace engine
