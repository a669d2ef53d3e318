#include "web/nodes.h"

#include <algorithm>
#include <set>

#include "bindings/binding.h"
#include "sim/driver/routines.h"
#include "sim/platform/sim.h"

namespace {

std::string expand(const char *pattern, int number)
{
    std::string text = pattern;
    size_t at = text.find("%d");
    if (at != std::string::npos)
        text.replace(at, 2, std::to_string(number));
    return text;
}

bool per_sensor(const NodeBinding &row)
{
    return std::string(row.legacy_name).find("cam%d") != std::string::npos;
}

bool secret_word_in(const std::string &name)
{
    static const char *const words[] = {"pwd", "password", "passwd", "community", "key_pass", "private", "secret"};
    return std::any_of(std::begin(words), std::end(words),
                       [&](const char *word) { return name.find(word) != std::string::npos; });
}

template <typename Table> void add_secret_rows(const Table &table, int count, std::set<std::string> *secrets)
{
    for (const NodeBinding &row : table) {
        if (!row.native_name || !secret_word_in(row.native_name))
            continue;
        for (int number = 1; number <= count; ++number)
            secrets->insert(expand(row.legacy_name, number));
    }
}

const std::set<std::string> &secret_legacy_names()
{
    static const std::set<std::string> names = [] {
        std::set<std::string> secrets;
        add_secret_rows(binding_table, 4, &secrets);
        add_secret_rows(smtp_table, kMailSlots, &secrets);
        add_secret_rows(user_table, kUserSlots, &secrets);
        return secrets;
    }();
    return names;
}

bool valid_utf8(const std::string &text)
{
    try {
        (void)nlohmann::json(text).dump();
        return true;
    } catch (const nlohmann::json::type_error &) {
        return false;
    }
}

} // namespace

std::vector<NodePair> node_pairs(int sensor)
{
    std::vector<NodePair> pairs;
    for (const NodeBinding &row : binding_table) {
        if (per_sensor(row) != (sensor > 0))
            continue;
        NodePair pair;
        pair.legacy = expand(row.legacy_name, sensor);
        if (row.native_name)
            pair.native = expand(row.native_name, sensor);
        if (row.handler)
            pair.handler = name_of_routine(reinterpret_cast<const void *>(row.handler));
        pairs.push_back(pair);
    }
    return pairs;
}

std::vector<std::string> legacy_names()
{
    std::set<std::string> names;
    for (const NodeBinding &row : binding_table)
        for (int number = 1; number <= (per_sensor(row) ? 4 : 1); ++number)
            names.insert(expand(row.legacy_name, number));
    for (const NodeBinding &row : smtp_table)
        for (int number = 1; number <= kMailSlots; ++number)
            names.insert(expand(row.legacy_name, number));
    for (const NodeBinding &row : user_table)
        for (int number = 1; number <= kUserSlots; ++number)
            names.insert(expand(row.legacy_name, number));
    return {names.begin(), names.end()};
}

bool is_secret(const std::string &name)
{
    return secret_word_in(name) || secret_legacy_names().count(name) > 0;
}

nlohmann::json shown_value(const std::string &name, const std::string &value)
{
    if (is_secret(name))
        return {{"text", "(hidden)"}, {"hidden", true}};
    if (valid_utf8(value))
        return {{"text", value}};
    return {{"text", sim::escape(value)}, {"escaped", true}};
}

std::string refused_write(const std::string &name, const std::string &value)
{
    if (name.empty())
        return "no node named";
    if (name.find('\0') != std::string::npos || value.find('\0') != std::string::npos)
        return "a NUL byte cannot be written: bus names and values are C strings";
    if (name.size() > 1024)
        return "node name too long (" + std::to_string(name.size()) + " bytes; at most 1024)";
    if (value.size() > kMaxWriteBytes)
        return "value too long (" + std::to_string(value.size()) + " bytes; at most " +
               std::to_string(kMaxWriteBytes) + ")";
    return "";
}
