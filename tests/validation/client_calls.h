/**
 * Stands between the plug-in and the libraries that it calls: records the calls in their order, and
 * gives answers that no configuration brings about.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/** What passed between the plug-in and the libraries. */
struct ClientCall {
    std::string text;
    /** Counts the calls that can be made to fail from 1; 0 for others, and for trace lines. */
    std::uint64_t failing_call = 0;
};

/** One for the process; a test that changes it restores the defaults with `client() = {}`. */
struct ClientDouble {
    /** Where calls are recorded; null: nowhere. */
    std::vector<ClientCall> *record = nullptr;
    /** Every XPath expression evaluates to this text, though the call answers an error. */
    std::optional<std::string> xpath_text;
    /** Every leaf that is read as a text has this one. */
    std::optional<std::string> leaf_text;
    /** What every value and every keypath is printed as. */
    std::optional<std::string> printed;
    /** Nothing is printed. */
    bool printing_fails = false;
    /** The first port of every list of Ethernet ports. */
    std::optional<std::uint8_t> ethernet_port;
    /** Value of list keys that are enumerations. */
    std::optional<int> port_value;
    /** Ports come as plain numbers: keys that are enumerations, entries of leaf-lists. */
    bool mistyped_ports = false;
    /** The schema knows the name of no tag. */
    bool nameless_tags = false;
    /** A query's chunk claims more results, and more items of each, than it holds. */
    int results_too_many = 0;
    int items_too_many = 0;
    /** A chunk of list entries claims so many more. */
    int objects_too_many = 0;
    /** Whether sessions of the committed configuration can be opened. */
    bool sessions_start = true;
    /** What a session that cannot be opened answers. */
    int no_session = -1;
    /** Trace lines until memory runs out in one; 0: it does not. */
    int lines_until_bad_alloc = 0;
    /** The middleware has no trace category to give. */
    bool no_category = false;
    /** A fault report is kept and thrown as an exception: the process lives on. */
    bool throw_faults = false;
    std::string fault;
    /** Memory that the plug-in has to free: a leaf-list's array, an XPath text. */
    void *lent = nullptr;
    /** The monotonic clock shows this and goes on by `clock_step` with each look; none: the real.
     */
    std::optional<std::chrono::nanoseconds> clock;
    std::chrono::nanoseconds clock_step{0};
};
ClientDouble &client();
