// What corvane-web shows of the nodes: the binding table's pairs of legacy
// and native nodes per sensor, which values are kept from the page, and
// which writes the page may make.
#ifndef WEB_NODES_H
#define WEB_NODES_H

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

struct NodePair {
    std::string legacy;
    std::string native;   // empty: the row mirrors no native node
    std::string handler;  // empty: no handler (filled by the start-up only)
};

// The rows of one sensor (1..4, names holding "cam%d"), or the global rows (0).
std::vector<NodePair> node_pairs(int sensor);
// Every legacy name of the binding, mail and user tables, for the form.
std::vector<std::string> legacy_names();

// Passwords, community strings and keys, and the legacy nodes mirroring them:
// the nodes of the binding rows marked secret.
bool is_secret(const std::string &name);
// A value for the page: {"text": ...} as UTF-8, with "escaped": true when
// the bytes are not UTF-8 and are shown escaped (\xNN), or "hidden": true.
nlohmann::json shown_value(const std::string &name, const std::string &value);

constexpr size_t kMaxWriteBytes = 8192;  // the request carrying it stays below 16 KiB
// Why the page may not write this (empty: it may, exactly as given).
std::string refused_write(const std::string &name, const std::string &value);

#endif
