/**
 * @file
 * Text for a page of a browser.
 */
#pragma once

#include <string>
#include <string_view>

namespace host
{

/** Text of a page, fit for printing: nothing in it is markup, nor ends an attribute. */
std::string escaped(std::string_view text);

/** Puts markup into a page in place of the mark. @throws std::out_of_range  It has no such mark. */
void fill_in(std::string &page, std::string_view mark, std::string_view markup);

} // namespace host
