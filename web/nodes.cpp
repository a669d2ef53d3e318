#include "web/nodes.h"

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
    return secret_node(name.c_str());
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
