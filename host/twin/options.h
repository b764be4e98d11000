/**
 * @file
 * The server's command line.
 */
#pragma once

#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdint>
#include <string>

namespace host::twin
{

struct TwinOptions {
    std::string running;
    std::string card;
    std::string plugin;
    std::string state;
    bool ephemeral = false;
    std::string address = "127.0.0.1";
    std::uint16_t port = 8830;
    bool no_ssh = false;
    std::string unix_socket;
    std::string keys;
    std::string host_key;
    std::string tls_certificate;
    std::string tls_key;
    std::string tls_authorities;
    std::uint16_t tls_port = 6513;
    bool writable_running = false;
    int timeout_s = 60;
    std::size_t max_message_mib = 64;
    double latency_ms = 0;
    double call_latency_us = 0;
    std::string fail;
    double time_scale = 1;
    bool verbose = false;
};

/** Describes the command line. */
void add_options(CLI::App &app, TwinOptions &options);

} // namespace host::twin
