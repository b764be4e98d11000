/**
 * @file
 * Events as XML (RFC 6470, RFC 5277).
 */
#pragma once

#include "twin/confirmed_commit.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host::twin
{

/** Wall-clock time, as events carry it. */
using EventTime = std::chrono::system_clock::time_point;

/** Reads a date and time of YANG (RFC 3339); nothing for any other text. */
std::optional<EventTime> event_time_of(const std::string &text);
/** In UTC, to the millisecond. */
std::string text_of(EventTime time);

/** A changed node. */
struct ConfigEdit {
    std::string target;    /**< Instance identifier; its prefixes are names of modules. */
    std::string operation; /**< merge, replace, create, delete or remove. */
};

/**
 * An author without a session is the server itself.
 * @param namespaces  Of the modules in targets, by name.
 */
std::string config_change_body(const Author &author, const std::string &datastore,
                               const std::vector<ConfigEdit> &edits,
                               const std::map<std::string, std::string> &namespaces);
std::string session_start_body(const Author &author);
/** @param reason     closed, killed, dropped, timeout, bad-hello or other.
 *  @param killed_by  Session that ended it, for the reason "killed". */
std::string session_end_body(const Author &author, const std::string &reason,
                             std::optional<std::uint32_t> killed_by = {});
/** @param timeout  For kStart and kExtend. */
std::string confirmed_commit_body(const Author &author, ConfirmEvent event,
                                  std::chrono::seconds timeout);
std::string replay_complete_body();
std::string notification_complete_body();

} // namespace host::twin
