#include "engine/data/closest_name.h"

#include <algorithm>
#include <numeric>

namespace engine
{
namespace
{

using Row = std::vector<std::size_t>;

/** Of nothing else a name can be meant, and the table below grows with the product. */
constexpr std::size_t kLongest = 64;

/** Letters to insert, delete, replace or swap with their neighbour. */
std::size_t distance(std::string_view one, std::string_view other)
{
    std::vector<Row> rows(one.size() + 1, Row(other.size() + 1));
    std::iota(rows[0].begin(), rows[0].end(), 0U);
    for (std::size_t i = 1; i <= one.size(); ++i) {
        rows[i][0] = i;
        for (std::size_t j = 1; j <= other.size(); ++j) {
            const std::size_t replaced = rows[i - 1][j - 1] + (one[i - 1] == other[j - 1] ? 0 : 1);
            rows[i][j] = std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, replaced});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1]) {
                rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
            }
        }
    }
    return rows.back().back();
}

} // namespace

std::string closest_name(std::string_view written, const std::vector<std::string> &known)
{
    std::string closest;
    if (written.size() > kLongest) {
        return closest;
    }
    std::size_t best = std::max<std::size_t>(written.size() / 3, 1) + 1;
    for (const auto &name : known) {
        const auto apart = name.size() > kLongest ? best : distance(written, name);
        if (apart < best && apart < name.size()) {
            best = apart;
            closest = name;
        }
    }
    return closest;
}

std::string did_you_mean(std::string_view written, const std::vector<std::string> &known)
{
    const auto meant = closest_name(written, known);
    return meant.empty() ? "" : "did you mean " + meant + "?";
}

} // namespace engine
