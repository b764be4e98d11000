/**
 * @file
 * The sections of the page.
 */
#pragma once

#include "headroom/survey.h"

#include <string>

namespace host
{

/** How full each PON link is. */
std::string links_section(const Survey &survey);
/** How many ONUs of each line profile still fit on each link. */
std::string room_section(const Survey &survey);
/** Which line profiles and ONUs fill each link. */
std::string fill_section(const Survey &survey);
/** What the card limits as a whole. */
std::string card_section(const Survey &survey);
/** What the line profiles ask, with their T-CONTs. */
std::string lines_section(const Survey &survey);

} // namespace host
