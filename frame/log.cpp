#include "frame/log.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/text.h"

namespace {

// Longer than any line the daemon prints; a longer one is merely split.
constexpr size_t kLineBufferBytes = 1024;
// Function names are far shorter; a longer one is cut.
constexpr size_t kPrefixBytes = 128;
// The most a logged text (a value or a node name) takes of a line; a longer
// one is cut and marked.
constexpr size_t kTextBytes = 1024;
constexpr char kCutMarker[] = "...[cut]";
// What a secret value reads as when the service asks for masking.
constexpr char kMask[] = "********";

// Set once at start-up when CORVANE_LOG_SECRETS asks for masking.
SecretName secret_name = nullptr;

// A line put together in one piece and handed to standard output in one
// call: each output call on a line-buffered stream scans its text for a line
// feed, so a piece at a time costs several times as much. A line longer than
// the piece buffer is handed over in parts, as a long printf line is split.
class Line {
public:
    void put(const char *piece, size_t size)
    {
        if (length_ + size > sizeof text_) {
            hand_over();
            if (size > sizeof text_) {
                fwrite_unlocked(piece, 1, size, stdout);
                return;
            }
        }
        memcpy(text_ + length_, piece, size);
        length_ += size;
    }

    template <size_t N>
    void put(const char (&text)[N])
    {
        put(text, N - 1);
    }

    // "[function]-line: ", the prefix of every line; a name too long for
    // it is cut.
    void put_prefix(const char *function, int line)
    {
        char prefix[kPrefixBytes];
        size_t name_length = strnlen(function, sizeof prefix - 16);
        prefix[0] = '[';
        memcpy(prefix + 1, function, name_length);
        size_t length = name_length + 1;
        prefix[length++] = ']';
        prefix[length++] = '-';
        length += put_decimal(prefix + length, line);
        prefix[length++] = ':';
        prefix[length++] = ' ';
        put(prefix, length);
    }

    void hand_over()
    {
        fwrite_unlocked(text_, 1, length_, stdout);
        length_ = 0;
    }

private:
    char text_[kLineBufferBytes];
    size_t length_ = 0;
};

// One argument as it is shown, for a conversion with a width or precision.
class Shown {
public:
    void put(const char *piece, size_t size)
    {
        size = std::min(size, sizeof text_ - 1 - length_);
        memcpy(text_ + length_, piece, size);
        length_ += size;
        text_[length_] = '\0';
    }

    template <size_t N>
    void put(const char (&text)[N])
    {
        put(text, N - 1);
    }

    const char *text() const { return text_; }

private:
    char text_[kTextBytes + sizeof kCutMarker] = {};
    size_t length_ = 0;
};

// Printable bytes, tab and every byte from 0x80 up (UTF-8) go out as they
// stand; the other control bytes would end or rewrite the line (NUL ends
// the text).
constexpr auto kPlainByte = [] {
    std::array<bool, 256> table{};
    for (size_t code = 0; code != table.size(); ++code)
        table[code] = code >= 0x20 ? code != 0x7f : code == '\t';
    return table;
}();

bool plain(char c)
{
    return kPlainByte[static_cast<unsigned char>(c)];
}

// Whether any of the `length` bytes may need an escape: a control byte
// (tab too, which put_text then lets through) or DEL. Eight bytes at a time
// (a word has a byte below n when (x - n*ones) & ~x & highs is not 0).
bool may_need_escape(const char *text, size_t length)
{
    constexpr uint64_t ones = 0x0101010101010101;
    constexpr uint64_t highs = 0x8080808080808080;
    auto flagged = [](uint64_t word) {
        uint64_t del = word ^ (0x7f * ones);
        return (((word - 0x20 * ones) & ~word) | ((del - ones) & ~del)) & highs;
    };
    uint64_t word = 0;
    size_t at = 0;
    for (; at + 8 <= length; at += 8) {
        memcpy(&word, text + at, 8);
        if (flagged(word))
            return true;
    }
    if (at == length)
        return false;
    if (length >= 8) {
        memcpy(&word, text + length - 8, 8);
        return flagged(word) != 0;
    }
    for (; at < length; ++at)
        if (!plain(text[at]))
            return true;
    return false;
}

// The escape of one byte that is not plain: "\n", "\r" or "\xNN".
size_t escape(char c, char (&out)[4])
{
    static const char hex[] = "0123456789abcdef";
    auto byte = static_cast<unsigned char>(c);
    out[0] = '\\';
    if (c == '\n' || c == '\r') {
        out[1] = c == '\n' ? 'n' : 'r';
        return 2;
    }
    out[1] = 'x';
    out[2] = hex[byte >> 4];
    out[3] = hex[byte & 0xf];
    return 4;
}

// A text as one bounded piece of one line: the ordinary text (plain bytes,
// at most kTextBytes) is copied after a fast scan; anything else is
// escaped byte by byte, and cut with a marker where it would pass the bound.
template <typename Out>
void put_text(Out &out, const char *text)
{
    if (!text) {
        out.put("(null)");  // as glibc's printf prints it
        return;
    }
    size_t length = strnlen(text, kTextBytes + 1);
    if (length <= kTextBytes && !may_need_escape(text, length)) {
        out.put(text, length);
        return;
    }
    size_t room = kTextBytes;
    for (const char *rest = text; *rest; ++rest) {
        char piece[4] = {*rest};
        size_t size = plain(*rest) ? 1 : escape(*rest, piece);
        if (size > room) {
            out.put(kCutMarker);
            return;
        }
        out.put(piece, size);
        room -= size;
    }
}

// One conversion of a printf format: '%', flags, width, precision, length
// and the conversion letter.
struct Conversion {
    size_t length;
    char letter;
    int stars;        // '*' widths and precisions, each an int argument
    int longs;        // 'l' count
    char size;        // 'h', 'j', 'z', 't', 'L' or 0
};

Conversion parse_conversion(const char *mark)
{
    Conversion conversion{0, 0, 0, 0, 0};
    const char *at = mark + 1;
    while (*at && strchr("-+ #0'", *at))
        ++at;
    for (; *at == '*' || *at == '.' || (*at >= '0' && *at <= '9'); ++at)
        conversion.stars += *at == '*' ? 1 : 0;
    for (; *at && strchr("hljztL", *at); ++at) {
        conversion.longs += *at == 'l' ? 1 : 0;
        if (*at != 'l')
            conversion.size = *at;
    }
    conversion.letter = *at;
    conversion.length = static_cast<size_t>(at - mark) + (*at ? 1 : 0);
    return conversion;
}

template <typename T>
void skip(va_list *args)
{
    (void)va_arg(*args, T);
}

// Steps over the arguments of a conversion other than "%%".
void skip_arguments(const Conversion &conversion, va_list *args)
{
    for (int star = 0; star < conversion.stars; ++star)
        skip<int>(args);
    if (strchr("spn", conversion.letter))
        return skip<void *>(args);
    if (strchr("aAeEfFgG", conversion.letter))
        return conversion.size == 'L' ? skip<long double>(args) : skip<double>(args);
    if (conversion.longs >= 2 || conversion.size == 'j')
        return skip<long long>(args);
    if (conversion.longs == 1 || conversion.size == 'z' || conversion.size == 't')
        return skip<long>(args);
    skip<int>(args);
}

// One conversion as printf formats it, into `piece`; the text is cut at
// the piece's size.
size_t format_piece(char *piece, size_t size, const char *spec, va_list args)
{
    // `spec` is one conversion cut from a format the compiler checked at
    // the call of log_line
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    int length = vsnprintf(piece, size, spec, args);
#pragma GCC diagnostic pop
    return length < 0 ? 0 : std::min(static_cast<size_t>(length), size - 1);
}

size_t format_piece_of(char *piece, size_t size, const char *spec, ...)
{
    va_list args;
    va_start(args, spec);
    size_t length = format_piece(piece, size, spec, args);
    va_end(args);
    return length;
}

// Whether a line names a secret node among its text arguments; then every
// other text argument of the line is written as the mask.
bool names_a_secret(const char *format, va_list args)
{
    va_list walk;
    va_copy(walk, args);
    bool found = false;
    for (const char *mark = strchr(format, '%'); mark && !found; mark = strchr(mark, '%')) {
        if (mark[1] == 's') {
            const char *text = va_arg(walk, const char *);
            found = text && secret_name(text);
            mark += 2;
            continue;
        }
        Conversion conversion = parse_conversion(mark);
        mark += std::max<size_t>(conversion.length, 1);
        if (conversion.letter != '%' && conversion.letter != 0)
            skip_arguments(conversion, &walk);
    }
    va_end(walk);
    return found;
}

// A text argument: as it stands (escaped and bounded), or the mask.
template <typename Out>
void put_argument(Out &out, const char *text, bool masked)
{
    if (masked && !(text && secret_name(text)))
        out.put(kMask);
    else
        put_text(out, text);
}

// The message: literal runs of the format as they stand, each text argument
// through put_text, every other conversion exactly as printf formats it.
void put_message(Line &out, const char *format, va_list *args, bool masked)
{
    const char *run = format;
    for (const char *mark = strchr(run, '%'); mark; mark = strchr(run, '%')) {
        out.put(run, static_cast<size_t>(mark - run));
        if (mark[1] == 's' || mark[1] == '%') {  // the lines of every handler call
            if (mark[1] == 's')
                put_argument(out, va_arg(*args, const char *), masked);
            else
                out.put("%");
            run = mark + 2;
            continue;
        }
        Conversion conversion = parse_conversion(mark);
        run = mark + conversion.length;
        if (conversion.letter == 0)
            break;
        if (conversion.letter == '%') {
            out.put("%");
            continue;
        }
        char spec[32];
        char piece[kTextBytes + 64];
        if (conversion.length >= sizeof spec) {
            skip_arguments(conversion, args);  // no such format in the daemon
            continue;
        }
        memcpy(spec, mark, conversion.length);
        spec[conversion.length] = '\0';
        size_t length = 0;
        if (conversion.letter == 's') {
            // a width or precision applies to the text as it is shown
            int stars[2] = {};
            for (int star = 0; star < conversion.stars && star < 2; ++star)
                stars[star] = va_arg(*args, int);
            Shown shown;
            put_argument(shown, va_arg(*args, const char *), masked);
            length = conversion.stars == 0 ? format_piece_of(piece, sizeof piece, spec, shown.text())
                     : conversion.stars == 1
                         ? format_piece_of(piece, sizeof piece, spec, stars[0], shown.text())
                         : format_piece_of(piece, sizeof piece, spec, stars[0], stars[1], shown.text());
            out.put(piece, length);
            continue;
        }
        va_list copy;
        va_copy(copy, *args);
        length = format_piece(piece, sizeof piece, spec, copy);
        va_end(copy);
        skip_arguments(conversion, args);
        if (conversion.letter == 'c')
            put_argument(out, piece, masked);
        else
            out.put(piece, length);
    }
    out.put(run, strlen(run));
}

} // namespace

void log_open(SecretName secret)
{
    static char line_buffer[kLineBufferBytes];
    (void)setvbuf(stdout, line_buffer, _IOLBF, sizeof line_buffer);
    const char *word = getenv("CORVANE_LOG_SECRETS");
    bool clear_text = !word || !*word || strcmp(word, "clear") == 0;
    secret_name = clear_text ? nullptr : secret;
}

void log_line(const char *function, int line, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    bool masked = secret_name && names_a_secret(format, args);
    Line out;
    flockfile(stdout);
    out.put_prefix(function, line);
    put_message(out, format, &args, masked);
    out.hand_over();
    funlockfile(stdout);
    va_end(args);
}
