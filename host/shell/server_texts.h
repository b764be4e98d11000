/**
 * @file
 * What a server's replies and events say.
 */
#pragma once

#include "report/style.h"
#include "shell/netconf_client.h"

#include <cstdint>
#include <string>
#include <vector>

namespace host::shell
{

/** A commit that the server tells of. */
struct ServerCommit {
    CommitEntry entry;
    std::uint32_t base = 0; /**< Number of the commit before it. */
};

/** The reply to <get-commits>, the newest first. */
std::vector<ServerCommit> commits_in(const std::string &reply);

/** What matters of an event. */
struct ServerEvent {
    bool is_change = false;   /**< Of what is running. */
    bool is_too_late = false; /**< A commit was not confirmed in time. */
    std::uint32_t session = 0;
    std::string user; /**< Empty: the server itself. */
};
ServerEvent read_event(const std::string &xml);

/** In a line. */
std::string words_of(const std::vector<ServerError> &errors);

/** What came of <commit> and <validate>. */
Verdict verdict_of(const std::vector<ServerError> &errors, const Style &style);

/** The rules that objected, and where they are described. */
std::string explanation_of(const std::vector<ServerError> &errors, const Style &style);

/** The same, with what is no rule's, as members of the report of a check. */
nlohmann::ordered_json json_of(const std::vector<ServerError> &errors);

/** A configuration as the server tells it, without the secrets that are not shown: `***` in their
 *  place is no value of those that are stored encrypted. */
std::string without_masked(const std::string &xml);

} // namespace host::shell
