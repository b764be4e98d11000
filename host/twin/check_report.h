/**
 * @file
 * What came of a check, as the server tells it to its clients.
 */
#pragma once

#include "checker/outcome.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

namespace host::twin
{

/** One thing that a check found: an rpc-error. */
struct Remark {
    bool is_warning = false; /**< One that can be confirmed. */
    std::string tag;         /**< NETCONF's error-tag. */
    std::string id;          /**< Opaque key of a rule, or identifier of a fault. */
    std::string path;        /**< XPath; the prefix is the model's module name. May be empty. */
    std::string text;
    std::string help;            /**< The way to resolve it; may be empty. */
    std::string cause;           /**< What changed, for a rule; may be empty. */
    std::string page;            /**< Of the rule's documentation; may be empty. */
    std::string bad_attribute{}; /**< Empty unless the tag demands it. */
    std::string bad_element{};   /**< The same. */
};

struct CheckReport {
    Result result = Result::kNotChecked;
    bool differs = false;
    std::vector<Remark> remarks;
    std::vector<std::string> confirmed; /**< Rules whose warnings were confirmed. */
};

/** Remarks about faults of an input. */
std::vector<Remark> remarks_of(const engine::Schema &schema,
                               const std::vector<engine::Problem> &problems);
CheckReport report_of(const engine::Schema &schema, const Outcome &outcome);

void to_json(nlohmann::json &json, const CheckReport &report);
void from_json(const nlohmann::json &json, CheckReport &report);

/** A path in braces as XPath; empty when it is none of the model's. */
std::string xpath_of(const engine::Schema &schema, const std::string &path);

} // namespace host::twin
