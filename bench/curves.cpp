/** Times of the rules and of the same rules as YANG, for gnuplot. */
#include "reports.h"

#include <ostream>

namespace bench
{

void write_curves(const Results &results, std::ostream &out)
{
    int number = 0;
    for (const auto &[rule, sizes] : by_subject(results.of("yang"))) {
        out << "## " << ++number << ' ' << rule << "\n# links, ms as YANG, ms in the plug-in\n";
        for (const auto &[links, result] : sizes) {
            out << links << ' ';
            if (is_noise(result)) {
                out << '?';
            } else {
                out << result["yang_added_ms"];
            }
            out << ' ' << result["plugin_ms"] << '\n';
        }
        out << "\n\n";
    }
}

} // namespace bench
