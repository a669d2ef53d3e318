#include "sim/console/line_editor.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <mutex>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
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

// The terminal as it was before the first console, for every way out.
struct termios saved_terminal;
std::atomic<bool> terminal_saved{false};
// stop(): every read ends as at the end of input. The wake pipe ends a
// wait for a key, for stop() and for text of other threads.
std::atomic<bool> stopping{false};
int wake_pipe[2] = {-1, -1};
// Text of other threads while a line is being typed (print_above).
std::mutex screen;
bool editing = false;
std::string pending;
#ifdef CORVANE_HAVE_LIBEDIT
FILE *screen_out = nullptr;
size_t prompt_width = 0;
#endif

void wake()
{
    if (wake_pipe[1] >= 0) {
        ssize_t ignored = write(wake_pipe[1], "", 1);
        (void)ignored;
    }
}

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

// Ctrl-C at the prompt: the end of the console, as Ctrl-D.
int leave_on_interrupt(int, int)
{
    rl_done = 1;
    return 0;
}

// A key libedit never gets from the terminal (Ctrl-], unbound in its emacs
// map): wait_for_key returns it when other threads have printed, and its
// function, called with libedit's view of the line up to date, shows the
// text above the line and draws the line again.
constexpr int kRedrawKey = 0x1d;

int show_pending(int, int)
{
    std::string text;
    {
        std::lock_guard<std::mutex> lock(screen);
        text.swap(pending);
    }
    if (text.empty())
        return 0;
    // Back to the first row of the prompt, and clear from there.
    winsize size{};
    size_t rows = 0;
    if (ioctl(fileno(screen_out), TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        rows = (prompt_width + static_cast<size_t>(rl_point)) / size.ws_col;
    fputs("\r", screen_out);
    if (rows > 0)
        fprintf(screen_out, "\x1b[%zuA", rows);
    fprintf(screen_out, "\x1b[J%s", text.c_str());
    fflush(screen_out);
    rl_forced_update_display();
    return 0;
}

// libedit's key reader: a byte from the terminal, the redraw key when
// other threads printed, EOF after stop().
int wait_for_key(FILE *in)
{
    for (;;) {
        if (stopping)
            return EOF;
        pollfd fds[2] = {{fileno(in), POLLIN, 0}, {wake_pipe[0], POLLIN, 0}};
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            return EOF;
        }
        if (fds[1].revents & POLLIN) {
            char drained[64];
            while (read(wake_pipe[0], drained, sizeof drained) > 0) {
            }
            if (stopping)
                return EOF;
            std::lock_guard<std::mutex> lock(screen);
            if (!pending.empty())
                return kRedrawKey;
        }
        if (fds[0].revents & (POLLIN | POLLHUP | POLLERR)) {
            unsigned char key;
            ssize_t got = read(fileno(in), &key, 1);
            if (got == 1)
                return key;
            if (got < 0 && errno == EINTR)
                continue;
            return EOF;
        }
    }
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
    if (!terminal_saved && tcgetattr(STDIN_FILENO, &saved_terminal) == 0) {
        terminal_saved = true;
        atexit(restore_terminal);
    }
    if (wake_pipe[0] < 0 && pipe2(wake_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        wake_pipe[0] = wake_pipe[1] = -1;
    screen_out = out_;
    prompt_width = prompt_.size();
    // The daemon's own handlers keep SIGINT, SIGTERM and SIGQUIT.
    rl_catch_signals = 0;
    rl_readline_name = "corvane";
    rl_instream = stdin;
    rl_outstream = out_;
    static char breaks[] = " \t";
    rl_completer_word_break_characters = breaks;
    rl_attempted_completion_function = attempt_completion;
    rl_getc_function = wait_for_key;  // read by rl_initialize
    rl_initialize();
    rl_add_defun("corvane-leave", leave_on_interrupt, 3);          // Ctrl-C
    rl_add_defun("corvane-show-pending", show_pending, kRedrawKey);
    // Ctrl-C reaches libedit as a key; libedit carries the change into
    // its editing and its cooked mode.
    if (terminal_saved) {
        struct termios quiet = saved_terminal;
        quiet.c_cc[VINTR] = _POSIX_VDISABLE;
        tcsetattr(STDIN_FILENO, TCSADRAIN, &quiet);
    }
    using_history();
    stifle_history(static_cast<int>(kHistoryLines));
    for (const std::string &line : session_history)
        add_history(line.c_str());
#endif
}

LineEditor::~LineEditor()
{
    active_completer = nullptr;
    if (interactive_)
        restore_terminal();
}

void LineEditor::stop()
{
    stopping = true;
    wake();
}

void LineEditor::restore_terminal()
{
    if (terminal_saved)
        tcsetattr(STDIN_FILENO, TCSADRAIN, &saved_terminal);
}

void LineEditor::print_above(const std::string &text)
{
    std::lock_guard<std::mutex> lock(screen);
    if (!editing) {
        fputs(text.c_str(), out_);
        fflush(out_);
        return;
    }
    pending += text;
    wake();
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
        if (stopping)
            return std::nullopt;
        {
            std::lock_guard<std::mutex> lock(screen);
            editing = true;
        }
        rl_done = 0;
        char *raw = readline(prompt.c_str());
        {
            std::lock_guard<std::mutex> lock(screen);
            editing = false;
            fputs(pending.c_str(), screen_out);
            fflush(screen_out);
            pending.clear();
        }
        if (!raw) {
            // Ctrl-D, Ctrl-C or stop(): the shell's prompt on a line of its own
            fputs("\n", screen_out);
            fflush(screen_out);
            return std::nullopt;
        }
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
