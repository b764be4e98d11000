#include "fleet/result_line.h"

#include "report/report_json.h"
#include "report/report_json_reader.h"

#include <utility>

namespace host
{

std::string result_line(const std::string &name, const std::string &inputs, const Outcome &outcome)
{
    nlohmann::ordered_json line{{"name", name}, {"inputs", inputs}};
    line.update(json_report(outcome, false));
    std::string text = print_json_line(line, false);
    text.pop_back();
    return text;
}

std::optional<ResultLine> parse_result_line(std::string_view line)
{
    const auto json = nlohmann::json::parse(line, nullptr, false);
    auto outcome = read_json_report(json);
    if (!outcome || !json.value("name", nlohmann::json()).is_string() ||
        !json.value("inputs", nlohmann::json()).is_string()) {
        return std::nullopt;
    }
    return ResultLine{json["name"], json["inputs"], std::move(*outcome)};
}

} // namespace host
