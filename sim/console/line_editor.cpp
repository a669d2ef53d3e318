#include "sim/console/line_editor.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <unistd.h>

#ifdef CORVANE_HAVE_LIBEDIT
#include <editline/readline.h>
#endif

namespace {

constexpr size_t kHistoryLines = 1000;
#ifdef CORVANE_HAVE_LIBEDIT
constexpr bool kLineEditing = true;
#else
constexpr bool kLineEditing = false;
#endif

// libedit's readline interface is process-wide, and so is its completer.
Completer active_completer;
std::vector<std::string> candidates;
std::vector<std::string> session_history;

#ifdef CORVANE_HAVE_LIBEDIT
char *next_candidate(const char *, int state)
{
    static size_t index = 0;
    if (state == 0)
        index = 0;
    return index < candidates.size() ? strdup(candidates[index++].c_str()) : nullptr;
}

char **attempt_completion(const char *text, int start, int)
{
    rl_attempted_completion_over = 1;  // never fall back to file names
    candidates.clear();
    if (active_completer)
        candidates = active_completer(std::string(rl_line_buffer, static_cast<size_t>(start)), text);
    if (candidates.empty())
        return nullptr;
    return rl_completion_matches(text, next_candidate);
}
#endif

} // namespace

LineEditor::LineEditor(std::string prompt, std::string history_path, FILE *out)
    : prompt_(std::move(prompt)), history_path_(std::move(history_path)), out_(out),
      interactive_(kLineEditing && isatty(STDIN_FILENO) && isatty(fileno(out)))
{
    session_history.clear();
    if (!history_path_.empty()) {
        std::ifstream in(history_path_);
        std::string line;
        while (std::getline(in, line))
            session_history.push_back(line);
        if (session_history.size() > kHistoryLines) {
            session_history.erase(session_history.begin(), session_history.end() - kHistoryLines);
            std::ofstream rewritten(history_path_, std::ios::trunc);
            for (const std::string &kept : session_history)
                rewritten << kept << '\n';
        }
    }
#ifdef CORVANE_HAVE_LIBEDIT
    if (!interactive_)
        return;
    // The daemon's own handlers keep SIGINT, SIGTERM and SIGQUIT.
    rl_catch_signals = 0;
    rl_readline_name = "corvane";
    rl_instream = stdin;
    rl_outstream = out_;
    static char breaks[] = " \t";
    rl_completer_word_break_characters = breaks;
    rl_attempted_completion_function = attempt_completion;
    rl_initialize();
    using_history();
    stifle_history(static_cast<int>(kHistoryLines));
    for (const std::string &line : session_history)
        add_history(line.c_str());
#endif
}

LineEditor::~LineEditor()
{
    active_completer = nullptr;
}

void LineEditor::set_completer(Completer completer)
{
    active_completer = std::move(completer);
}

namespace {

// A line from libedit on a terminal, else from standard input.
std::optional<std::string> read_raw(bool interactive, const std::string &prompt)
{
#ifdef CORVANE_HAVE_LIBEDIT
    if (interactive) {
        char *raw = readline(prompt.c_str());
        if (!raw)
            return std::nullopt;
        std::string line = raw;
        free(raw);
        return line;
    }
#else
    (void)interactive;
    (void)prompt;
#endif
    std::string line;
    if (!std::getline(std::cin, line))
        return std::nullopt;
    return line;
}

} // namespace

std::optional<std::string> LineEditor::read()
{
    std::optional<std::string> line = read_raw(interactive_, prompt_);
    if (!line || line->find_first_not_of(" \t") == std::string::npos)
        return line;
    if (session_history.empty() || session_history.back() != *line) {
        session_history.push_back(*line);
#ifdef CORVANE_HAVE_LIBEDIT
        if (interactive_)
            add_history(line->c_str());
#endif
        if (!history_path_.empty()) {
            std::ofstream file(history_path_, std::ios::app);
            file << *line << '\n';
        }
    }
    return line;
}

std::vector<std::string> LineEditor::history() const
{
    return session_history;
}

std::vector<std::string> complete_from(const std::vector<std::string> &words, const std::string &word)
{
    std::vector<std::string> found;
    for (const std::string &candidate : words)
        if (candidate.compare(0, word.size(), word) == 0)
            found.push_back(candidate);
    return found;
}

std::string default_history_path()
{
    if (const char *path = getenv("CORVANE_HISTORY"))
        return path;
    if (const char *home = getenv("HOME"))
        return std::string(home) + "/.corvane_history";
    return "";
}
