#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "sim/platform/device_file.h"
#include "sim/platform/text_escape.h"

namespace sim {

namespace {

int hex_digit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

std::string directory_of(const std::string &path)
{
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

} // namespace

std::string unquote(const std::string &text)
{
    if (text.size() < 2 || text.front() != '"' || text.back() != '"')
        return text;
    std::string out;
    for (size_t i = 1; i + 1 < text.size(); ++i) {
        char c = text[i];
        if (c != '\\' || i + 2 >= text.size()) {
            out += c;
            continue;
        }
        char next = text[++i];
        switch (next) {
        case 'n': out += '\n'; break;
        case 't': out += '\t'; break;
        case 'r': out += '\r'; break;
        case 'x': {
            int high = i + 1 < text.size() - 1 ? hex_digit(text[i + 1]) : -1;
            int low = i + 2 < text.size() - 1 ? hex_digit(text[i + 2]) : -1;
            if (high >= 0 && low >= 0) {
                out += static_cast<char>(high * 16 + low);
                i += 2;
            } else {
                out += 'x';
            }
            break;
        }
        default: out += next; break;
        }
    }
    return out;
}

namespace {

bool plain_character(unsigned char c)
{
    return c >= 0x20 && c < 0x7f && c != '\\';
}

} // namespace

std::string escape(const std::string &text)
{
    if (std::all_of(text.begin(), text.end(), [](char c) { return plain_character(static_cast<unsigned char>(c)); }))
        return text;
    std::string out;
    out.reserve(text.size());
    for (unsigned char c : text) {
        switch (c) {
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        case '\r': out += "\\r"; break;
        default:
            if (c < 0x20 || c >= 0x7f) {
                char hex[8];
                snprintf(hex, sizeof hex, "\\x%02x", c);
                out += hex;
            } else {
                out += static_cast<char>(c);
            }
        }
    }
    return out;
}

bool parse_device_file(const std::string &path, std::string *error,
                       std::vector<std::pair<std::string, std::string>> *nodes,
                       std::map<std::string, std::string> *parameters)
{
    std::ifstream in(path);
    std::error_code ignored;
    if (!in || std::filesystem::is_directory(path, ignored)) {
        *error = "cannot read device file " + path;
        return false;
    }
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty() || line[0] == '#')
            continue;
        size_t equal = line.find('=');
        if (equal == std::string::npos) {
            *error = path + ":" + std::to_string(number) + ": expected name=value";
            return false;
        }
        std::string name = line.substr(0, equal);
        std::string value = unquote(line.substr(equal + 1));
        if (name == "@include") {
            std::string included = value.size() && value[0] == '/' ? value : directory_of(path) + "/" + value;
            if (!parse_device_file(included, error, nodes, parameters))
                return false;
        } else if (!name.empty() && name[0] == '@') {
            (*parameters)[name.substr(1)] = value;
        } else {
            nodes->emplace_back(name, value);
        }
    }
    return true;
}

} // namespace sim
