// Line editing for the interactive consoles (corvane-sim, the bus client):
// libedit with history kept in a file and tab completion from a callback.
// On a terminal it edits; on a pipe it reads plain lines, so the consoles
// can also be driven by a script.
//
// While a console runs, Ctrl-C is a key that leaves it as Ctrl-D does: the
// terminal's interrupt character is off, so that the make or shell that
// started the console is not interrupted with it. The terminal's settings
// from before are put back on every way out (the end of the console, exit,
// restore_terminal() from a signal handler).
#ifndef SIM_CONSOLE_LINE_EDITOR_H
#define SIM_CONSOLE_LINE_EDITOR_H

#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// Candidates for the word being completed. `before` is the line up to that
// word, so the callback can tell a command (empty `before`) from an argument.
using Completer = std::function<std::vector<std::string>(const std::string &before, const std::string &word)>;

class LineEditor {
public:
    // `history_path` empty: no history file. `out` receives the prompt.
    LineEditor(std::string prompt, std::string history_path, FILE *out);
    ~LineEditor();
    LineEditor(const LineEditor &) = delete;
    LineEditor &operator=(const LineEditor &) = delete;

    void set_completer(Completer completer);
    // The next line, without its line feed; nullopt at the end of input, on
    // Ctrl-C and after stop().
    std::optional<std::string> read();
    // Text from another thread, in whole lines: printed at once, or, while a
    // line is being typed, above it, with the prompt and the typed text
    // drawn again below.
    void print_above(const std::string &text);
    // Ends the read in progress and every later one as at the end of input.
    // Safe in a signal handler and from another thread.
    static void stop();
    // The terminal as it was before the first console; safe in a signal
    // handler.
    static void restore_terminal();
    bool interactive() const { return interactive_; }
    // Lines entered so far in this session and the ones read from the file.
    std::vector<std::string> history() const;

private:
    std::string prompt_;
    std::string history_path_;
    FILE *out_;
    bool interactive_;
};

// The entries of `words` that start with `word`, in order.
std::vector<std::string> complete_from(const std::vector<std::string> &words, const std::string &word);

// The history file the consoles share: $CORVANE_HISTORY, else
// $HOME/.corvane_history, else none.
std::string default_history_path();

#endif
