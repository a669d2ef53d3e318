// The interactive console of corvane-bus: client commands typed at a
// prompt, and every write other processes make (the daemon's answers)
// printed as it happens. Line input is a parameter, so a line editor can
// take the place of plain standard input.
#ifndef TOOLS_BUS_CONSOLE_H
#define TOOLS_BUS_CONSOLE_H

#include <functional>
#include <string>
#include <vector>

#include "redisbus/client.h"

// Reads one line after showing the prompt; false at the end of input.
using LineReader = std::function<bool(const char *prompt, std::string *line)>;
// Prints what another thread has to say, in whole lines.
using Printer = std::function<void(const std::string &text)>;

bool read_standard_input(const char *prompt, std::string *line);
// The console's command words, for completion.
std::vector<std::string> console_words();

// Runs until "quit" or the end of input; returns an exit status. The
// writes of other processes go to `print_write` (a line editor's, which
// keeps them off the line being typed), else straight to standard output.
int run_console(corvane::bus::Client &client, const LineReader &read_line, const Printer &print_write = nullptr);

#endif
