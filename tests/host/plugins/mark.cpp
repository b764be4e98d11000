/** A library that shows that it was loaded: it writes the file that MARK_FILE names. */
#include <cstdlib>
#include <fstream>

namespace
{

const bool marked = std::ofstream(std::getenv("MARK_FILE")).put('x').good();

} // namespace
